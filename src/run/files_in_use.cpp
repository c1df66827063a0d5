#include "run/files_in_use.h"

#include <algorithm>

#include "platform/file_services.h"
#include "report/system_error.h"

namespace moldex {

void CFilesInUse::Add(const std::string& path) {
  const CSystemErrorGuard guard;  // a missing file is no failure
  const auto status = QueryStatus(path);
  if (status) Add(status->identity);
  const PathRules rules = SystemPathRules();
  for (std::size_t from = 0; from <= path.size();) {
    const std::size_t end = std::min(FirstSeparator(rules, path, from), path.size());
    const auto link = QueryLinkStatus(path.substr(0, end));
    if (link && link->kind == FileKind::kSymbolicLink) Add(link->identity);
    from = end + 1;
  }
}

}  // namespace moldex
