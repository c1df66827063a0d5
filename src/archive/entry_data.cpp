#include "archive/entry_data.h"

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <span>

#include "archive/archive_reader.h"
#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "base/bytes.h"
#include "cscompr/cscompr.h"
#include "extraction/output_place.h"
#include "platform/backup_stream.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/progress.h"
#include "run/run_context.h"

namespace moldex {
namespace {

constexpr std::size_t kOutputBytes = 65536;
using OutputBuffer = std::array<std::uint8_t, kOutputBytes>;

// One buffer serves the whole run.
OutputBuffer& SharedBuffer() {
  static const auto buffer = std::make_unique<OutputBuffer>();
  return *buffer;
}

// What an entry's data are: the bytes of the file, or a backup stream of it.
enum class DataKind { kUndecided, kFile, kBackupStream };

// A backup stream is compressed piece by piece, each a stream of its own of at most this length; a
// file is one stream, or one for each gigabyte.
constexpr std::uint64_t kLongestBackupPiece = 65536;

class CDataRestorer {
 public:
  CDataRestorer(CDirEntry& entry, bool to_disk)
      : entry_(entry), to_disk_(to_disk), buffer_(SharedBuffer()) {
    // Only an archive in long-name mode can hold backup streams.
    if (!to_disk || !CRunContext::GetInstance().long_names()) kind_ = DataKind::kFile;
  }

  // An entry's data are one compressed stream or several; a stream ends where a block ends.
  void TakeBlock(std::span<const std::uint8_t> payload) {
    if (IsCutOffEndMark(payload)) return;
    in_data_ = true;
    if (kind_ == DataKind::kUndecided && size() > kLongestBackupPiece) DecideByStream(payload);
    do {
      payload = payload.subspan(Decompress(payload));
    } while (last_code_ == kCsOutputFull);
  }

  void CheckEnd(std::uint32_t stored_checksum) {
    if (last_code_ != kCsEndOfStream) throw CDecompExcept(entry_.GetName(), last_code_);
    if (done_bytes_ != size()) FailLength();
    if (kind_ == DataKind::kBackupStream && !entry_.file().EndBackup()) FailLength();
    if (checksum_ != stored_checksum) {
      throw CExcept("MOLDEX: checksum error in " + entry_.GetName(), kErrorChecksum, false);
    }
  }

 private:
  std::uint64_t size() const { return entry_.header().size_bytes(); }

  // A stream ends with a zero byte that says nothing. Where the blocks are cut right before it, the
  // stream is complete already when it arrives. It cannot be taken for the next stream, whose first
  // block holds its header at least.
  bool IsCutOffEndMark(std::span<const std::uint8_t> payload) const {
    return in_data_ && last_code_ == kCsEndOfStream && payload.size() == 1 && payload[0] == 0;
  }

  // Of an entry longer than a piece, the first stream's own header tells.
  void DecideByStream(std::span<const std::uint8_t> payload) {
    if (payload.size() < sizeof(std::uint32_t)) return;  // the library refuses it
    const bool short_stream = GetU32(payload.data()) <= kLongestBackupPiece;
    kind_ = short_stream ? DataKind::kBackupStream : DataKind::kFile;
  }

  // One call of the library. Returns how much of the payload it took.
  std::size_t Decompress(std::span<const std::uint8_t> payload) {
    const std::int32_t option = last_code_ == kCsEndOfStream ? kCsFirstCall : 0;
    const auto room = std::span(buffer_).subspan(held_bytes_);
    std::int32_t taken = 0;
    std::int32_t given = 0;
    last_code_ = CsDecompr(payload.data(), static_cast<std::int32_t>(payload.size()), room.data(),
                           static_cast<std::int32_t>(room.size()), option, &taken, &given);
    if (last_code_ == kCsNoMemory) throw std::bad_alloc();
    const bool stuck = last_code_ == kCsOutputFull && taken == 0 && given == 0;
    if (last_code_ <= 0 || stuck) throw CDecompExcept(entry_.GetName(), last_code_);
    TakeOutput(room.first(static_cast<std::size_t>(given)));
    return static_cast<std::size_t>(taken);
  }

  void TakeOutput(std::span<const std::uint8_t> bytes) {
    ThrowIfInterrupted();  // a small archive may hold much
    CRunContext::GetInstance().progress().Update();
    if (bytes.size() > size() - done_bytes_) FailLength();
    done_bytes_ += bytes.size();
    checksum_ = UpdateChecksum(checksum_, bytes);
    if (kind_ != DataKind::kUndecided) {
      Deliver(bytes);
      return;
    }
    // A short entry is held back until it is whole, and judged by what it says.
    held_bytes_ += bytes.size();
    if (done_bytes_ < size()) return;
    const auto whole = std::span<const std::uint8_t>(buffer_).first(held_bytes_);
    kind_ = IsBackupStream(whole) ? DataKind::kBackupStream : DataKind::kFile;
    held_bytes_ = 0;
    Deliver(whole);
  }

  void Deliver(std::span<const std::uint8_t> bytes) {
    if (!to_disk_ || bytes.empty()) return;
    const bool written = kind_ == DataKind::kBackupStream ? RestoreBackup(bytes)
                                                          : entry_.file().WriteAll(bytes).ok();
    if (!written) throw CWriteExcept(OutputPath(entry_.GetName()));
  }

  bool RestoreBackup(std::span<const std::uint8_t> bytes) {
    const auto piece = entry_.file().BackupWrite(bytes);
    if (piece == BackupPiece::kRefused) {
      throw CExcept("MOLDEX: error decompressing " + entry_.GetName() +
                        "; its backup stream would do more than restore a file",
                    kErrorBadLength, false);
    }
    return piece.ok();
  }

  [[noreturn]] void FailLength() const {
    throw CExcept("MOLDEX: error decompressing " + entry_.GetName() +
                      "; its length is not the one in the archive",
                  kErrorBadLength, false);
  }

  CDirEntry& entry_;
  bool to_disk_;
  OutputBuffer& buffer_;
  DataKind kind_ = DataKind::kUndecided;
  std::size_t held_bytes_ = 0;
  std::int32_t last_code_ = kCsEndOfStream;  // so that the first block begins a stream
  bool in_data_ = false;                     // a block has been taken
  std::uint64_t done_bytes_ = 0;
  std::uint32_t checksum_ = 0;
};

}  // namespace

void RestoreData(CArchiveReader& archive, CDirEntry& entry, bool to_disk) {
  CDataRestorer restorer(entry, to_disk);
  DataBlock block;
  do {
    block = archive.GetEntryData();
    restorer.TakeBlock(block.payload);
  } while (block.more_follow);
  restorer.CheckEnd(block.checksum);
}

}  // namespace moldex
