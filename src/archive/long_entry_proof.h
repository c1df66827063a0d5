// Proves the data of an entry of several gigabytes with several threads.
//
// Such data are one compressed stream for each gigabyte. The lengths of the blocks and the streams'
// headers tell where the streams begin, and each stream can be decompressed by itself.
#ifndef MOLDEX_ARCHIVE_LONG_ENTRY_PROOF_H_
#define MOLDEX_ARCHIVE_LONG_ENTRY_PROOF_H_

#include <cstdint>
#include <optional>
#include <string>

#include "platform/file_status.h"
#include "report/progress.h"

namespace moldex {

struct LongEntry {
  std::string archive_name;
  FileIdentity identity;       // of the archive, a regular file
  std::uint64_t position = 0;  // of the first block in the archive
  std::uint64_t size_bytes = 0;
  std::uint64_t stream_bytes = 0;  // the length of every stream but the last
};

// Returns the bytes of the entry if its data are complete and right, and nothing follows that does
// not belong to them. Otherwise empty: something is wrong, or these are not the streams that were
// expected. Reading them in their order tells which. Opens the archive anew, leaves the remembered
// system error, and moves `progress` on. Throws CInterruptExcept and std::bad_alloc.
std::optional<UnpackedBytes> ProveLongEntry(const LongEntry& entry, unsigned workers,
                                            CProgress& progress);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_LONG_ENTRY_PROOF_H_
