// Any text as the value of -f: a list of archives and patterns, some of which exist.
#include <algorithm>
#include <filesystem>

#include "fuzz/made_archive.h"
#include "fuzz/private_folder_posix.h"
#include "run/archive_list.h"

namespace moldex::fuzz {
namespace {

// Whether a part of the value would lead out of the folder, and so to devices of this machine.
bool LeadsOut(const std::string& value) {
  if (value.find("..") != std::string::npos) return true;
  for (std::size_t at = value.find('/'); at != std::string::npos; at = value.find('/', at + 1)) {
    if (at == 0 || std::string_view(", \t\n\r\v\f").find(value[at - 1]) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

bool IsThere(const std::string& name) {
  std::error_code ignored;
  return std::filesystem::exists(name, ignored);
}

void TryValue(const std::string& value, bool ignore_case) {
  const std::vector<std::string> archives = ExpandArchiveList(value, ignore_case);
  Require(!archives.empty());
  Require(!IsThere(value) || archives.size() == 1);
  for (const std::string& name : archives)
    Require(IsThere(name) || value.find(name) != std::string::npos);
}

}  // namespace

// A byte of options, then the value.
void TryInput(ByteSpan input) {
  if (input.empty() || input.size() > 4096) return;
  const std::string value(std::string(input.begin() + 1, input.end()).c_str());
  if (LeadsOut(value)) return;
  const PrivateFolder folder;
  std::filesystem::create_directory("d");
  for (const char* name : {"a.qel", "B.QEL", "x y.qel", "d/e.qel", ".h"})
    folder.Write(name, ArchiveOf({{'f', 0644, name, "content"}}, name[0] == 'B'));
  folder.Write("none", "not an archive");
  const bool ignore_case = (input[0] & 1) != 0;
  TryValue(value, ignore_case);
  const auto nothing = [](const std::string& name) { return name.starts_with("out"); };
  const std::string before = folder.Picture(nothing);
  const int status = folder.Run({ignore_case ? "-tgf" : "-tf", value});
  if (value.ends_with(".qel") && IsThere(value)) Require(status == 0);
  folder.Run({"-xf", value, "-R", "out"});
  Require(folder.Picture(nothing) == before);
}

}  // namespace moldex::fuzz
