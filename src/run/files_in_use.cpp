#include "run/files_in_use.h"

#include "platform/file_services.h"
#include "report/system_error.h"

namespace moldex {

void CFilesInUse::Add(const std::string& path) {
  const CSystemErrorGuard guard;  // that there is no such file is no failure
  const auto status = QueryStatus(path);
  if (status) Add(status->identity);
}

}  // namespace moldex
