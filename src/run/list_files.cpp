#include "run/list_files.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>

#include "base/ascii.h"
#include "platform/buffered_reader.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Far more than two names of the greatest length need. A longer line is no list.
constexpr std::size_t kLongestLine = 64 * 1024;

[[noreturn]] void FailFormat(const std::string& file) {
  throw CExcept("MOLDEX: wrong format in file " + file, kErrorListFormat, true);
}

// Whether the line does not grow by this character. Nothing is kept of leading blanks, of comments,
// and of blanks after the longest line, so these may go on for ever.
bool IsIgnored(std::string_view line, char c) {
  const bool is_blank = kBlanks.find(c) != std::string_view::npos;
  if (line.empty()) return is_blank;
  return line[0] == '#' || (is_blank && line.size() == kLongestLine);
}

// Reads one line, without its line end and its leading blanks. False at the end of the file.
bool ReadLine(CBufferedReader& reader, const std::string& file, std::string* line) {
  line->clear();
  for (bool any = false;; any = true) {
    const auto piece = reader.Peek(1);
    if (reader.Failed()) throw CReadExcept(file);
    if (piece.empty()) return any;
    const char c = static_cast<char>(piece[0]);
    reader.Take(1);
    if (c == '\n') return true;
    if (c == '\0') FailFormat(file);
    if (IsIgnored(*line, c)) continue;
    if (line->size() == kLongestLine) FailFormat(file);
    line->push_back(c);
  }
}

// Calls `take` for every line that holds an entry, without the blanks around it.
void ForEachLine(const std::string& file, const std::function<void(std::string_view)>& take) {
  CFileHandle handle;
  if (!handle.Open(file, kOpenExisting)) throw COpenExcept(file);
  CBufferedReader reader(handle);
  const auto start = reader.Peek(kByteOrderMark.size());
  if (std::equal(start.begin(), start.end(), kByteOrderMark.begin(), kByteOrderMark.end(),
                 [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); })) {
    reader.Take(kByteOrderMark.size());
  }
  std::string line;
  while (ReadLine(reader, file, &line)) {
    const std::string_view text = Trimmed(line);
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
    const std::string old_normalised = NormalisedName(rules, old_name);
    const std::string new_normalised = NormalisedName(rules, new_name);
    if (old_normalised.empty() || new_normalised.empty()) FailFormat(file);
    renamed[old_normalised] = new_normalised;
  });
  return renamed;
}

}  // namespace moldex
