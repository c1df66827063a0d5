// Archives that fuzzed bytes describe: always whole, with right lengths and checksums, so that
// extraction gets to what the entries are and not only to how they are written.
#ifndef MOLDEX_FUZZ_MADE_ARCHIVE_H_
#define MOLDEX_FUZZ_MADE_ARCHIVE_H_

#include <string>
#include <vector>

#include "fuzz/target.h"

namespace moldex::fuzz {

struct MadeEntry {
  char kind = 'f';  // file, directory, symbolic link or shortcut: f, d, l, s
  std::uint32_t permissions = 0;
  std::string name;
  std::string content;  // of a link, its target
};

// Each entry is a byte for kind and permissions, one for the length of the name, the name, one for
// the length of the content, the content. What is missing at the end counts as nothing.
std::vector<MadeEntry> EntriesOf(ByteSpan input);

std::string ArchiveOf(const std::vector<MadeEntry>& entries, bool long_names);

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_MADE_ARCHIVE_H_
