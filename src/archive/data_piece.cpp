#include "archive/data_piece.h"

#include "base/bytes.h"

namespace moldex {
namespace {

// Enough for a large file to be handed over in few pieces. The memory of all pieces is bounded, so
// larger ones would mean fewer.
constexpr std::size_t kCapacity = 192 * 1024;

// Data that compress well fill a piece slowly. It is handed over after this much input, so that the
// archive, the progress and a request to end the run do not wait for it.
constexpr std::size_t kMostReadBytes = 256 * 1024;

}  // namespace

void CDataPiece::Clear() {
  if (bytes_ == nullptr) bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(kCapacity);
  used_ = 0;
  read_bytes_ = 0;
  parts_.clear();
}

bool CDataPiece::HasSpace() const {
  return kCapacity - used_ >= BlockSpace::extent + kChecksumBytes;
}

bool CDataPiece::IsFull() const { return !HasSpace() || read_bytes_ >= kMostReadBytes; }

std::size_t CDataPiece::size_bytes() const {
  return bytes_ == nullptr ? 0 : kCapacity + parts_.capacity() * sizeof(Part);
}

void CDataPiece::AddBlock(std::size_t payload_bytes, bool is_last) {
  const auto block = Space();
  block[0] = is_last ? 'E' : 'D';
  block[1] = is_last ? 'D' : 'A';
  PutU32(&block[kTypeBytes], static_cast<std::uint32_t>(payload_bytes));
  Commit(kBlockHeaderBytes + payload_bytes);
}

void CDataPiece::AddChecksum(std::uint32_t checksum) {
  PutU32(bytes_.get() + used_, checksum);
  Commit(kChecksumBytes);
}

void CDataPiece::CountRead(std::size_t count) {
  read_bytes_ += count;
  parts_.back().read_bytes += count;
}

}  // namespace moldex
