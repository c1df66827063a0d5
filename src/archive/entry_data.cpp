#include "archive/entry_data.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "archive/checksum.h"
#include "archive/container.h"
#include "archive/dir_entry.h"
#include "cscompr/cscompr.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::size_t kOutputBytes = 65536;
using OutputBuffer = std::array<std::uint8_t, kOutputBytes>;

// One buffer serves the whole run.
OutputBuffer& SharedBuffer() {
  static const auto buffer = std::make_unique<OutputBuffer>();
  return *buffer;
}

class CDataRestorer {
 public:
  CDataRestorer(CDirEntry& entry, bool to_disk)
      : entry_(entry), to_disk_(to_disk), buffer_(SharedBuffer()) {}

  // An entry's data are one compressed stream or several; a stream ends where a block ends.
  void TakeBlock(std::span<const std::uint8_t> payload) {
    do {
      payload = payload.subspan(Decompress(payload));
    } while (last_code_ == kCsOutputFull);
  }

  void CheckEnd(std::uint32_t stored_checksum) const {
    if (last_code_ != kCsEndOfStream) throw CDecompExcept(entry_.GetName(), last_code_);
    if (done_bytes_ != entry_.header().size_bytes()) FailLength();
    if (checksum_ != stored_checksum) {
      throw CExcept("MOLDEX: checksum error in " + entry_.GetName(), kErrorChecksum, false);
    }
  }

 private:
  // One call of the library. Returns how much of the payload it took.
  std::size_t Decompress(std::span<const std::uint8_t> payload) {
    const std::int32_t option = last_code_ == kCsEndOfStream ? kCsFirstCall : 0;
    std::int32_t taken = 0;
    std::int32_t given = 0;
    last_code_ =
        CsDecompr(payload.data(), static_cast<std::int32_t>(payload.size()), buffer_.data(),
                  static_cast<std::int32_t>(buffer_.size()), option, &taken, &given);
    const bool stuck = last_code_ == kCsOutputFull && taken == 0 && given == 0;
    if (last_code_ <= 0 || stuck) throw CDecompExcept(entry_.GetName(), last_code_);
    TakeOutput(std::span<const std::uint8_t>(buffer_).first(static_cast<std::size_t>(given)));
    return static_cast<std::size_t>(taken);
  }

  void TakeOutput(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > entry_.header().size_bytes() - done_bytes_) FailLength();
    done_bytes_ += bytes.size();
    checksum_ = UpdateChecksum(checksum_, bytes);
    if (!to_disk_ || bytes.empty()) return;
    const Transfer transfer = entry_.file().Write(bytes);
    if (!transfer.ok || transfer.bytes != bytes.size()) throw CWriteExcept(entry_.GetName());
  }

  [[noreturn]] void FailLength() const {
    throw CExcept("MOLDEX: length error in " + entry_.GetName(), kErrorBadLength, false);
  }

  CDirEntry& entry_;
  bool to_disk_;
  OutputBuffer& buffer_;
  std::int32_t last_code_ = kCsEndOfStream;  // so that the first block begins a stream
  std::uint64_t done_bytes_ = 0;
  std::uint32_t checksum_ = 0;
};

}  // namespace

void RestoreData(CContainer& archive, CDirEntry& entry, bool to_disk) {
  CDataRestorer restorer(entry, to_disk);
  DataBlock block;
  do {
    block = archive.GetEntryData();
    restorer.TakeBlock(block.payload);
  } while (block.more_follow);
  restorer.CheckEnd(block.checksum);
}

}  // namespace moldex
