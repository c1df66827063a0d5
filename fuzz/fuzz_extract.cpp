// Entries of any names and kinds, extracted twice into a folder that holds links, a FIFO and closed
// places already. Nothing beside it changes, and success means that everything is there.
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "fuzz/made_archive.h"
#include "fuzz/private_folder_posix.h"
#include "platform/path_rules.h"

namespace moldex::fuzz {
namespace {

namespace fs = std::filesystem;

void Plant(const PrivateFolder& folder) {
  for (const char* name : {"out", "linked", "outside", "out/c"})
    fs::create_directory(name);
  folder.Write("beside", "untouched");
  folder.Write("outside/kept", "kept");
  folder.Write("out/r", "read-only");
  fs::permissions("out/r", fs::perms::owner_read);
  fs::permissions("out/c", fs::perms::owner_read | fs::perms::owner_exec);
  fs::create_hard_link("outside/kept", "out/h");
  fs::create_symlink("../beside", "out/f");
  fs::create_symlink("../linked", "out/l");
  fs::create_symlink("../none", "out/g");
  Require(mkfifo("out/p", 0600) == 0);
}

// The target, what a link in it leads to already, and what an absolute name stands for.
bool MayChange(const std::string& name) {
  return name.starts_with("out/") || name.starts_with("linked/") || name.substr(1, 1) == ":";
}

// As far as the permissions of the directories let anybody see.
void RequireAll(const std::vector<MadeEntry>& entries) {
  for (const MadeEntry& entry : entries) {
    const auto path = TargetName(PathRules::kPosix, "out", entry.name.c_str());
    struct stat status {};
    const bool is_there = lstat(path.c_str(), &status) == 0;
    Require(is_there || errno == EACCES);
    Require(!is_there || entry.kind != 'd' || S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode));
  }
}

}  // namespace

// A byte of options, then the entries.
void TryInput(ByteSpan input) {
  if (input.empty()) return;
  const auto entries = EntriesOf(input.subspan(1));
  const PrivateFolder folder;
  folder.Write("a.qel", ArchiveOf(entries, input[0] % 2 != 0));
  Plant(folder);
  std::vector<std::string> words = {"-xvf", "a.qel", "-R", "out"};
  for (const auto& [bit, word] : {std::pair{2, "-flat"}, {4, "-lower"}, {8, "-h"}})
    if ((input[0] & bit) != 0) words.emplace_back(word);
  const std::string before = folder.Picture(MayChange);
  const int status = folder.Run(words);
  if (status == 0 && (input[0] & 6) == 0) RequireAll(entries);
  Require(status != 0 || folder.Run({"-df", "a.qel"}) == 0);
  folder.Run(words);
  Require(folder.Picture(MayChange) == before);
}

}  // namespace moldex::fuzz
