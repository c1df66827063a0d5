// Any bytes as a tar archive. Checksums are corrected, so that damage gets beyond them.
#include <cstring>
#include <numeric>
#include <vector>

#include "base/path_rules.h"
#include "fuzz/memory_file_posix.h"
#include "fuzz/target.h"
#include "oldformat/old_archive.h"
#include "report/except.h"

namespace {

std::vector<std::uint8_t> WithChecksums(std::vector<std::uint8_t> bytes) {
  constexpr std::size_t kBlock = 512, kChecksum = 148;
  for (std::size_t at = 0; at + kBlock <= bytes.size(); at += kBlock) {
    std::uint8_t* block = &bytes[at];
    if (block[kChecksum] != '0') continue;
    std::memset(block + kChecksum, ' ', 8);
    std::size_t sum = std::accumulate(block, block + kBlock, std::size_t{0});
    for (std::size_t digit = 6; digit-- > 0; sum /= 8)
      block[kChecksum + digit] = static_cast<std::uint8_t>('0' + sum % 8);
  }
  return bytes;
}

// The number of entries before the end or before something that cannot be read.
unsigned ReadThrough(moldex::COldArchive& archive, moldex::CLogMan& log, bool with_data) {
  unsigned count = 0;
  try {
    for (; const moldex::CDirEntry* entry = archive.NextEntry(); ++count) {
      moldex::fuzz::Require(!entry->GetName().starts_with('/'));
      moldex::fuzz::Require(moldex::IsRelative(entry->GetName()));
      entry->Print(log);
      while (with_data && !archive.NextPiece().bytes.empty())
        continue;
    }
  } catch (const moldex::CExcept&) {  // damage ends the archive
  }
  return count;
}

}  // namespace

void moldex::fuzz::TryInput(ByteSpan input) {
  const moldex::fuzz::MemoryFile file(WithChecksums({input.begin(), input.end()}));
  moldex::CRunContext& context = moldex::CRunContext::GetInstance();
  for (const bool flat : {false, true}) {
    context.options().flat = flat;
    try {
      moldex::COldArchive archive(context, file.Path());
      const unsigned count = ReadThrough(archive, context.log(), false);
      archive.Rewind();
      moldex::fuzz::Require(ReadThrough(archive, context.log(), true) <= count);
    } catch (const moldex::CExcept&) {  // no archive
    }
  }
  moldex::CRunContext::Destroy();
}
