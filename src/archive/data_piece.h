// A piece of what stands after the headers of entries in an archive: data blocks and checksums.
//
// A worker fills pieces, and the thread that writes the archive takes them in the order of the
// entries. A piece may hold the data of many small entries, or a part of those of a large one.
#ifndef MOLDEX_ARCHIVE_DATA_PIECE_H_
#define MOLDEX_ARCHIVE_DATA_PIECE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "archive/archive_format.h"

namespace moldex {

class CDataPiece {
 public:
  // What a piece holds of one entry. It begins where the part before it ends.
  struct Part {
    std::size_t end = 0;           // in the piece
    std::uint64_t read_bytes = 0;  // of the entry's file, while this part was made
    bool ends_entry = false;
    // With the end of an entry whose size was not known before: the size for its header.
    std::optional<std::uint64_t> size_bytes;
  };

  // Empties the piece and keeps its memory.
  void Clear();
  // Whether another block, and a checksum, still fit.
  bool HasSpace() const;
  // Whether to begin another piece: it has no space for another block, or making it took a while.
  bool IsFull() const;
  // The memory that it holds.
  std::size_t size_bytes() const;

  // The next part begins, perhaps with the middle of an entry.
  void BeginPart() { parts_.push_back({used_, 0, false, std::nullopt}); }

  // Space for the header and the largest payload of a block. Only for a piece that has it.
  using BlockSpace = std::span<std::uint8_t, kBlockHeaderBytes + kLargestPayload>;
  BlockSpace Space() { return BlockSpace(bytes_.get() + used_, BlockSpace::extent); }
  // Makes a block of the payload that was written into Space after the header, and adds it to the
  // last part. `is_last` ends the data of its entry.
  void AddBlock(std::size_t payload_bytes, bool is_last);
  // The checksum that ends an entry's data. Always fits.
  void AddChecksum(std::uint32_t checksum);
  // So many bytes of the last part's file were read.
  void CountRead(std::size_t count);
  // The last part ends its entry.
  void EndEntry() { parts_.back().ends_entry = true; }
  void SetEntrySize(std::uint64_t bytes) { parts_.back().size_bytes = bytes; }

  const std::vector<Part>& parts() const { return parts_; }
  std::span<const std::uint8_t> Bytes(std::size_t begin, std::size_t end) const {
    return {bytes_.get() + begin, end - begin};
  }

 private:
  void Commit(std::size_t count) { parts_.back().end = used_ += count; }

  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t used_ = 0;
  std::size_t read_bytes_ = 0;
  std::vector<Part> parts_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_DATA_PIECE_H_
