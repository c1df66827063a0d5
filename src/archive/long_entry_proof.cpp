#include "archive/long_entry_proof.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "archive/archive_format.h"
#include "archive/checksum.h"
#include "archive/entry_data.h"
#include "base/bytes.h"
#include "cscompr/stream_header.h"
#include "parallel/ordered_work.h"
#include "platform/buffered_reader.h"
#include "platform/file_handle.h"
#include "platform/interrupt.h"
#include "report/deferred_failure.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// The first thread can show progress and notice an interruption after so many bytes.
constexpr std::uint64_t kPieceBytes = std::uint64_t{2} * 1024 * 1024;
// A job holds little until it runs. The pieces of one stream may wait while another is proved.
constexpr std::size_t kJobsPerWorker = 2;
constexpr std::size_t kWaitingBytes = std::size_t{1024} * 1024;

// Memory does not grow with the archive. An entry of more streams is read in order.
constexpr std::size_t kMostStreams = 16384;

// The place of a compressed stream in the archive.
struct Stream {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  std::uint64_t size_bytes = 0;  // of the data, as its header says
};

bool OpenArchive(CFileHandle& file, const LongEntry& entry) {
  if (!file.Open(entry.archive_name, kOpenExisting)) return false;
  const auto status = file.Status();
  return status && status->identity == entry.identity;
}

bool IsPossible(const EntryType& type, std::uint32_t payload_length) {
  return IsBlockType(type) && payload_length > 0 && payload_length <= kLargestPayload;
}

// Steps over the blocks of the entry.
class CStreamFinder {
 public:
  explicit CStreamFinder(const LongEntry& entry) : entry_(entry), left_(entry.size_bytes) {}

  // Returns false if the blocks and the streams are not as expected.
  bool Find();
  const std::vector<Stream>& streams() const { return streams_; }
  // Of the entry, as it is stored.
  std::uint32_t checksum() const { return checksum_; }

 private:
  bool MoveBy(std::uint64_t distance);
  bool ReadBlock();
  bool ReadEnd();

  const LongEntry& entry_;
  CFileHandle file_;
  std::optional<CBufferedReader> reader_;
  std::vector<Stream> streams_;
  std::uint64_t left_;  // bytes of the entry that follow the last stream
  std::uint32_t checksum_ = 0;
  bool is_last_ = false;
};

bool CStreamFinder::Find() {
  if (!OpenArchive(file_, entry_)) return false;
  reader_.emplace(file_);
  if (!MoveBy(entry_.position)) return false;
  while (!is_last_) {
    if (!ReadBlock()) return false;
  }
  return left_ == 0 && ReadEnd();
}

bool CStreamFinder::MoveBy(std::uint64_t distance) {
  const auto skipped = reader_->Skip(distance);
  return skipped && *skipped == SkipResult::kMoved;
}

// A block whose payload merely looks like the next stream's header does no harm: the stream before
// it is incomplete then, and is not proved.
bool CStreamFinder::ReadBlock() {
  const std::uint64_t position = reader_->Position();
  const auto header = reader_->Take(kBlockHeaderBytes);
  if (header.size() < kBlockHeaderBytes) return false;
  const EntryType type = TypeAt(header);
  const std::uint32_t payload_length = GetU32(&header[kTypeBytes]);
  if (!IsPossible(type, payload_length)) return false;
  const auto start = reader_->Peek(cscompr::kStreamHeaderBytes);
  const std::uint64_t expected = std::min(entry_.stream_bytes, left_);
  if (expected > 0 && payload_length >= start.size() &&
      start.size() == cscompr::kStreamHeaderBytes) {
    const auto stream = cscompr::ReadStreamHeader(start.data());
    if (stream && stream->original_length == expected) {
      if (streams_.size() == kMostStreams) return false;
      streams_.push_back({position, 0, expected});
      left_ -= expected;
    }
  }
  if (streams_.empty() || !MoveBy(payload_length)) return false;
  streams_.back().end = reader_->Position();
  is_last_ = IsLastBlock(type);
  return true;
}

// No block may follow the last one.
bool CStreamFinder::ReadEnd() {
  const auto checksum = reader_->Take(kChecksumBytes);
  if (checksum.size() < kChecksumBytes) return false;
  checksum_ = GetU32(checksum.data());
  const auto type = reader_->Peek(kTypeBytes);
  return !reader_->Failed() && !(type.size() == kTypeBytes && IsBlockType(TypeAt(type)));
}

struct ProofPiece {
  std::uint64_t position = 0;  // in the archive
  bool has_failed = false;
  // When the stream is complete.
  UnpackedBytes unpacked;
  std::uint32_t checksum = 0;
  std::size_t size_bytes() const { return sizeof *this; }
};

// Decompresses one stream. Reads without a CBufferedReader, because a worker must not be the one
// that notices an interruption.
class CStreamProof : public IJob<ProofPiece> {
 public:
  CStreamProof(const LongEntry& entry, const Stream& stream)
      : entry_(entry), stream_(stream), position_(stream.begin) {}

  bool MakePiece(ProofPiece& piece) override;

 private:
  // Large, so it exists only while the job runs.
  struct Work {
    CFileHandle file;
    CEntryData data;
    std::array<std::uint8_t, kLargestPayload> payload;
  };

  bool Begin();
  bool Decompress();
  bool ReadBlock();
  bool IsComplete() const { return work_->data.IsAtEnd(); }

  const LongEntry& entry_;
  const Stream stream_;
  std::uint64_t position_;
  std::unique_ptr<Work> work_;
};

// A failure of the system is not the first thread's: reading in order meets it again.
bool CStreamProof::MakePiece(ProofPiece& piece) {
  const CSystemErrorGuard guard;
  piece = {};
  try {
    piece.has_failed = !((work_ || Begin()) && Decompress());
    if (!piece.has_failed && IsComplete()) {
      work_->data.CheckLength();
      piece.unpacked = work_->data.Unpacked();
      piece.checksum = work_->data.checksum();
    }
  } catch (const CDeferredFailure&) {
    piece.has_failed = true;
  }
  piece.position = position_;
  const bool more = !piece.has_failed && !IsComplete();
  if (!more) work_.reset();
  return more;
}

bool CStreamProof::Begin() {
  work_ = std::make_unique<Work>();
  if (!OpenArchive(work_->file, entry_)) return false;
  constexpr std::uint64_t kLongestStep = 0x7FFFFFFF;
  for (std::uint64_t left = position_; left > 0;) {
    const std::uint64_t step = std::min(left, kLongestStep);
    if (!work_->file.Skip(static_cast<std::int32_t>(step), 0)) return false;
    left -= step;
  }
  work_->data.Begin({{}, stream_.size_bytes, false});
  return true;
}

// A piece of the stream.
bool CStreamProof::Decompress() {
  CEntryData& data = work_->data;
  const std::uint64_t start = position_;
  std::uint64_t made = 0;
  while (!data.IsAtEnd() && made + (position_ - start) < kPieceBytes) {
    if (!data.WantsBlock()) {
      made += data.NextPiece().bytes.size();
    } else if (!ReadBlock()) {
      return false;
    }
  }
  return true;
}

bool CStreamProof::ReadBlock() {
  std::array<std::uint8_t, kBlockHeaderBytes> header{};
  if (!work_->file.ReadAll(header)) return false;
  const std::uint32_t length = GetU32(&header[kTypeBytes]);
  position_ += header.size() + length;
  if (!IsPossible(TypeAt(header), length) || position_ > stream_.end) return false;
  const auto payload = std::span(work_->payload).first(length);
  if (!work_->file.ReadAll(payload)) return false;
  work_->data.AddBlock({payload, position_ < stream_.end, 0});
  return true;
}

// Takes the results of the streams in their order.
class CLongEntryProof {
 public:
  CLongEntryProof(const LongEntry& entry, const std::vector<Stream>& streams, unsigned workers)
      : entry_(entry),
        streams_(streams),
        work_(workers, {workers * kJobsPerWorker, kWaitingBytes}) {}

  bool Run(CProgress& progress);
  const UnpackedBytes& unpacked() const { return unpacked_; }
  std::uint32_t checksum() const { return checksum_; }

 private:
  void SubmitStreams();

  const LongEntry& entry_;
  const std::vector<Stream>& streams_;
  std::size_t submitted_ = 0;
  UnpackedBytes unpacked_;
  std::uint32_t checksum_ = 0;
  COrderedWork<ProofPiece> work_;
};

void CLongEntryProof::SubmitStreams() {
  for (; submitted_ < streams_.size() && work_.HasSpace(); ++submitted_)
    work_.Submit(std::make_unique<CStreamProof>(entry_, streams_[submitted_]));
}

bool CLongEntryProof::Run(CProgress& progress) {
  using State = COrderedWork<ProofPiece>::State;
  for (const Stream& stream : streams_) {
    SubmitStreams();
    ProofPiece last;
    for (ProofPiece* piece = nullptr; work_.Next(piece) == State::kPiece; last = *piece) {
      ThrowIfInterrupted();
      progress.AdvanceTo(piece->position);
      if (piece->has_failed) return false;
    }
    work_.Drop();
    unpacked_.from += last.unpacked.from;
    unpacked_.to += last.unpacked.to;
    checksum_ = CombineChecksums(checksum_, last.checksum, stream.size_bytes);
  }
  return true;
}

}  // namespace

std::optional<UnpackedBytes> ProveLongEntry(const LongEntry& entry, unsigned workers,
                                            CProgress& progress) {
  const CSystemErrorGuard guard;
  CStreamFinder finder(entry);
  if (!finder.Find()) return {};
  CLongEntryProof proof(entry, finder.streams(), workers);
  if (!proof.Run(progress) || proof.checksum() != finder.checksum()) return {};
  return proof.unpacked();
}

}  // namespace moldex
