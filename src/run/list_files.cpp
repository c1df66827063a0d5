#include "run/list_files.h"

#include <functional>
#include <string_view>

#include "platform/buffered_reader.h"
#include "platform/file_services.h"
#include "report/except.h"
#include "run/text.h"

namespace moldex {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Far more than two names of the longest kind; a line beyond it is no list.
constexpr std::size_t kLongestLine = 64 * 1024;

[[noreturn]] void FailFormat(const std::string& file) {
  throw CExcept("MOLDEX: wrong format in file " + file, kErrorListFormat, true);
}

// One line, without its line end; false at the end of the file.
bool ReadLine(CBufferedReader& reader, const std::string& file, std::string* line) {
  line->clear();
  for (;;) {
    const auto piece = reader.Peek(1);
    if (reader.Failed()) throw CReadExcept(file);
    if (piece.empty()) return !line->empty();
    const char c = static_cast<char>(piece[0]);
    reader.Take(1);
    if (c == '\n') return true;
    if (line->size() == kLongestLine) FailFormat(file);
    line->push_back(c);
  }
}

// Calls `take` for every line that says something, without the blanks around it.
void ForEachLine(const std::string& file, const std::function<void(std::string_view)>& take) {
  CFileHandle handle;
  if (!handle.Open(file, kOpenExisting)) throw COpenExcept(file);
  CBufferedReader reader(handle);
  std::string line;
  for (bool first = true; ReadLine(reader, file, &line); first = false) {
    if (line.find('\0') != std::string::npos) FailFormat(file);
    std::string_view text = line;
    if (first && text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    text = Trimmed(text);
    if (!text.empty() && text[0] != '#') take(text);
  }
}

}  // namespace

bool NameOrder::operator()(const std::string& left, const std::string& right) const {
  const PathRules rules = SystemPathRules();
  return rules.fold != nullptr ? rules.fold(left) < rules.fold(right) : left < right;
}

std::vector<std::string> ReadNameFile(const std::string& file) {
  std::vector<std::string> names;
  ForEachLine(
      file, [&](std::string_view line) { names.push_back(WithSlashes(SystemPathRules(), line)); });
  return names;
}

RenameMap ReadRenameFile(const std::string& file) {
  RenameMap renamed;
  ForEachLine(file, [&](std::string_view line) {
    const PathRules rules = SystemPathRules();
    std::size_t separator = FirstOf(rules, line, "|");
    if (separator == std::string_view::npos) separator = line.find_first_of(kBlanks);
    if (separator == std::string_view::npos) FailFormat(file);
    const std::string_view old_name = Trimmed(line.substr(0, separator));
    const std::string_view new_name = Trimmed(line.substr(separator + 1));
    if (old_name.empty() || new_name.empty()) FailFormat(file);
    renamed[NormalisedName(rules, old_name)] = NormalisedName(rules, new_name);
  });
  return renamed;
}

}  // namespace moldex
