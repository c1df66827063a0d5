#include "run/archive_list.h"

#include <algorithm>
#include <string_view>

#include "base/ascii.h"
#include "platform/directory.h"
#include "platform/file_services.h"
#include "report/system_error.h"

namespace moldex {
namespace {

std::vector<std::string> Split(std::string_view value) {
  const std::string_view separators = value.find(',') != std::string_view::npos ? "," : kBlanks;
  std::vector<std::string> names;
  while (!value.empty()) {
    const std::size_t end = std::min(value.find_first_of(separators), value.size());
    const std::string_view name = Trimmed(value.substr(0, end));
    if (!name.empty()) names.emplace_back(name);
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return names;
}

std::vector<std::string> Expand(const std::string& name, bool ignore_case) {
  PathRules rules = SystemPathRules();
  if (ignore_case && rules.fold == nullptr) rules.fold = UpperAscii;
  const std::string_view last = LastComponent(rules, name);
  const std::string directory = name.substr(0, name.size() - last.size());
  std::vector<std::string> matches;
  (void)VisitDirectory(directory, [&](const char* entry) {
    if (MatchesPattern(rules, last, entry)) matches.push_back(directory + entry);
  });
  if (matches.empty()) return {name};
  std::sort(matches.begin(), matches.end());
  return matches;
}

}  // namespace

bool NamesNoArchive(const char* value) { return Split(value).empty(); }

std::vector<std::string> ExpandArchiveList(const std::string& value, bool ignore_case) {
  if (TestExistence(value) == Existence::kExists) return {value};
  const std::vector<std::string> names = Split(value);
  if (names.empty()) return {value};
  std::vector<std::string> archives;
  for (const std::string& name : names) {
    const bool literal = TestExistence(name) == Existence::kExists;
    if (!literal && (ignore_case || HasWildcard(name))) {
      const auto matches = Expand(name, ignore_case);
      archives.insert(archives.end(), matches.begin(), matches.end());
    } else {
      archives.push_back(name);
    }
  }
  return archives;
}

std::uint64_t TotalBytes(const std::vector<std::string>& archives) {
  const CSystemErrorGuard guard;
  std::uint64_t total = 0;
  for (const std::string& name : archives) {
    const auto status = QueryStatus(name);
    if (!status) continue;
    if (status->kind != FileKind::kRegular) return 0;
    total += status->size_bytes;
  }
  return total;
}

}  // namespace moldex
