// Makes archives that fuzzed bytes describe. They are always whole, with correct lengths and
// checksums, so that extraction gets beyond the checks of the format.
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
  std::string content;  // the target of a link
};

// Each entry is a byte for kind and permissions, a byte for the length of the name, the name, a
// byte for the length of the content, and the content. Bytes that are missing at the end read as
// zeros.
std::vector<MadeEntry> EntriesOf(ByteSpan input);

std::string ArchiveOf(const std::vector<MadeEntry>& entries, bool long_names);

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_MADE_ARCHIVE_H_
