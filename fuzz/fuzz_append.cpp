// Any bytes as an archive that others are appended to: its old bytes stay at its beginning, and
// after a failure it is unchanged.
#include <filesystem>

#include "fuzz/made_archive.h"
#include "fuzz/private_folder_posix.h"

namespace moldex::fuzz {
namespace {

constexpr char kTarget[] = "t.qel";

void TryRun(const PrivateFolder& folder, std::vector<std::string> words, bool may_keep_part) {
  const std::string before = folder.Read(kTarget);
  const int status = folder.Run(std::move(words));
  const std::string after = folder.Read(kTarget);
  Require(after.starts_with(before));
  Require(status == 0 || may_keep_part || after == before);
  if (status == 0) Require(after.size() > before.size());
}

}  // namespace

// A byte of options, then the archive.
void TryInput(ByteSpan input) {
  if (input.empty()) return;
  const PrivateFolder folder;
  const std::string archive(input.begin() + 1, input.end());
  folder.Write(kTarget, archive);
  folder.Write("new", "content");
  folder.Write("s.qel", ArchiveOf({{'f', 0644, "name", "content"}, {'d', 0755, "d", ""}}, false));
  std::filesystem::create_directory("d");
  std::vector<std::string> words = {"-af", kTarget, "new", "d"};
  if ((input[0] & 1) != 0) words.emplace_back("missing");
  if ((input[0] & 2) != 0) words.emplace_back("-i");
  TryRun(folder, words, (input[0] & 2) != 0);
  TryRun(folder, {"-mf", "s.qel t.qel"}, false);
  folder.Write("m.qel", archive);
  folder.Run({"-mf", "m.qel s.qel"});
  Require(folder.Read("m.qel") == archive);
  TryRun(folder, {"-af", kTarget, kTarget, "new"}, false);
}

}  // namespace moldex::fuzz
