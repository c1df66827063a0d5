// Entries of any names and kinds, extracted twice into a folder that already holds links, a FIFO
// and directories without permissions. Nothing outside it changes, and after success every entry
// exists.
#include <sys/stat.h>

#include <cerrno>

#include "base/path_rules.h"
#include "fuzz/made_archive.h"
#include "fuzz/private_folder_posix.h"

namespace moldex::fuzz {
namespace {

// The target, the place that a link in it already leads to, and the place that an absolute name
// stands for.
bool MayChange(const std::string& name) {
  return name.starts_with("out/") || name.starts_with("linked/") || name.substr(1, 1) == ":";
}

// Checks that every entry exists, as far as the permissions of directories allow that, and except
// for entries written through a link that a later entry may have replaced.
void RequireAll(const std::vector<MadeEntry>& entries) {
  for (const MadeEntry& entry : entries) {
    const std::string name = NormalisedName(PathRules::kPosix, entry.name.c_str());
    if (name.empty() || name.starts_with("l/")) continue;
    struct stat status {};
    const std::string path = TargetName(PathRules::kPosix, "out", name);
    Require(lstat(path.c_str(), &status) == 0 || errno == EACCES);
  }
}

}  // namespace

// A byte of options, then the entries.
void TryInput(ByteSpan input) {
  if (input.empty()) return;
  const auto entries = EntriesOf(input.subspan(1));
  const PrivateFolder folder;
  folder.Write("a.qel", ArchiveOf(entries, input[0] % 2 != 0));
  folder.PlantTarget("out");
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
