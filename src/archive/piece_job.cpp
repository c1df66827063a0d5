#include "archive/piece_job.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "archive/checksum.h"
#include "archive/dir_entry.h"
#include "archive/normal_compress.h"
#include "cscompr/lzh/piece_coder.h"
#include "cscompr/lzh/piece_joiner.h"
#include "report/deferred_failure.h"
#include "report/except.h"

namespace moldex {
namespace {

constexpr std::uint32_t kPieceBytes = 128 * 1024;
static_assert(kPieceBytes % cscompr::kLzhStepBytes == 0);
static_assert(kPieceBytes <= cscompr::kMostLzhPieceBytes);
// A single encoder gets input of kLargestPayload bytes at a time, and a block ends where its output
// for that ends. This is that input in steps.
constexpr std::uint32_t kStepsOfInput = kLargestPayload / cscompr::kLzhStepBytes;
static_assert(kLargestPayload % cscompr::kLzhStepBytes == 0);

// The level of a stream for which none is asked.
constexpr int kLevel = 2;

}  // namespace

// A stream and what its pieces pass on from one to the next.
struct PieceStream {
  PieceStream(CDirEntry& its_entry, std::uint32_t length, bool ends,
              std::shared_ptr<std::uint32_t> sum)
      : entry(its_entry), stream{kLevel, length}, ends_entry(ends), checksum(std::move(sum)) {
    joiner.Start(stream);
  }

  CDirEntry& entry;
  const cscompr::LzhStream stream;
  const bool ends_entry;
  const std::shared_ptr<std::uint32_t> checksum;  // of the entry, so far
  cscompr::LzhPieceJoiner joiner;
  std::atomic<std::uint32_t> token_begin = 0;  // where the piece joined last ends its tokens
  std::array<std::uint8_t, cscompr::kLzhHistoryBytes> history{};
};

PieceMemory::PieceMemory()
    : bytes(std::make_unique_for_overwrite<std::uint8_t[]>(cscompr::LzhCodedRoom(kPieceBytes))),
      tokens(
          std::make_unique_for_overwrite<cscompr::LzhToken[]>(cscompr::LzhTokenRoom(kPieceBytes))) {
  static_assert(cscompr::kLzhHistoryBytes + kPieceBytes <= cscompr::LzhCodedRoom(kPieceBytes));
  piece.room = {tokens.get(), cscompr::LzhTokenRoom(kPieceBytes)};
  coded.room = {bytes.get(), cscompr::LzhCodedRoom(kPieceBytes)};
}

class CPieceJob : public IJob<CDataPiece> {
 public:
  CPieceJob(CPieceLine& line, std::shared_ptr<PieceStream> stream, std::uint32_t begin,
            std::uint32_t length)
      : line_(line),
        stream_(std::move(stream)),
        begin_(begin),
        length_(length),
        index_(line.next_index_++) {}

  // Whether it is the piece's turn.
  bool HasInput() const override;
  // Goes through one stage, or gives data blocks.
  bool MakePiece(CDataPiece& piece) override;
  bool MadePiece() const override { return made_piece_; }

 private:
  enum class Stage { kRead, kMatch, kJoin, kCode, kAppend, kGive, kDone };

  void Read();
  void Match();
  void Join();
  void Append();
  void Give(CDataPiece& piece);
  void GiveBlock(CDataPiece& piece);
  bool EndsStream() const { return begin_ + length_ == stream_->stream.length; }
  bool EndsEntry() const { return EndsStream() && stream_->ends_entry; }
  cscompr::LzhPieceInput Input() const;

  CPieceLine& line_;
  const std::shared_ptr<PieceStream> stream_;
  const std::uint32_t begin_;
  const std::uint32_t length_;
  const std::uint64_t index_;
  Stage stage_ = Stage::kRead;
  bool made_piece_ = false;
  std::unique_ptr<PieceMemory> memory_;
  std::span<const std::uint8_t> data_;  // the piece's part of the stream
  std::uint32_t step_ = 0;              // of the input, whose output is given next
  std::size_t given_bytes_ = 0;
};

bool CPieceJob::HasInput() const {
  switch (stage_) {
    case Stage::kRead:
      return line_.to_read_ == index_ && line_.pieces_with_memory_ < line_.most_pieces_;
    case Stage::kJoin:
      return line_.to_join_ == index_;
    case Stage::kAppend:
      return line_.to_append_ == index_;
    default:
      return true;
  }
}

bool CPieceJob::MakePiece(CDataPiece& piece) {
  switch (stage_) {
    case Stage::kRead:
      Read();
      break;
    case Stage::kMatch:
      Match();
      break;
    case Stage::kJoin:
      Join();
      break;
    case Stage::kCode:
      cscompr::CodePiece(memory_->piece, memory_->coded);
      break;
    case Stage::kAppend:
      Append();
      break;
    default:
      made_piece_ = true;
      Give(piece);
      return stage_ != Stage::kDone;
  }
  stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
  return true;
}

cscompr::LzhPieceInput CPieceJob::Input() const {
  constexpr std::size_t kHistory = cscompr::kLzhHistoryBytes;
  const std::size_t history = begin_ > 0 ? kHistory : 0;
  const std::uint8_t* const bytes = memory_->bytes.get() + kHistory;
  return {stream_->stream,
          begin_,
          {bytes - history, history},
          {bytes, length_},
          stream_->token_begin.load(std::memory_order_relaxed)};
}

// The history is what the piece before has read. The file may have changed since then.
void CPieceJob::Read() {
  ++line_.pieces_with_memory_;
  memory_ = line_.memory_.Borrow();
  auto& history = stream_->history;
  std::uint8_t* const bytes = memory_->bytes.get() + history.size();
  if (begin_ > 0) std::copy(history.begin(), history.end(), memory_->bytes.get());
  CDirEntry& entry = stream_->entry;
  if (!entry.file().ReadAll({bytes, length_})) FailLater<CReadExcept>(entry.GetName());
  *stream_->checksum = UpdateChecksum(*stream_->checksum, {bytes, length_});
  if (!EndsStream()) std::copy_n(bytes + length_ - history.size(), history.size(), history.begin());
  if (EndsEntry()) (void)entry.file().Close();
  line_.to_read_ = index_ + 1;
}

void CPieceJob::Match() {
  auto matcher = line_.matchers_.Borrow();
  matcher->Match(Input(), memory_->piece);
  line_.matchers_.Return(std::move(matcher));
}

void CPieceJob::Join() {
  auto matcher = line_.matchers_.Borrow();
  stream_->joiner.Join(Input(), *matcher, memory_->piece);
  stream_->token_begin.store(stream_->joiner.TokenBegin(), std::memory_order_relaxed);
  line_.matchers_.Return(std::move(matcher));
  line_.to_join_ = index_ + 1;
}

void CPieceJob::Append() {
  data_ = stream_->joiner.Append(memory_->coded);
  line_.to_append_ = index_ + 1;
}

// As many blocks as fit into the piece.
void CPieceJob::Give(CDataPiece& piece) {
  piece.Clear();
  piece.BeginPart();
  if (given_bytes_ == 0 && step_ == 0) piece.CountRead(length_);
  while (step_ < memory_->coded.step_count && piece.HasSpace())
    GiveBlock(piece);
  if (step_ < memory_->coded.step_count) return;
  if (EndsEntry()) {
    piece.AddChecksum(*stream_->checksum);
    piece.EndEntry();
  }
  line_.memory_.Return(std::move(memory_));
  --line_.pieces_with_memory_;
  stage_ = Stage::kDone;
}

// The next block of what the encoder would have delivered for one piece of its input, if anything.
void CPieceJob::GiveBlock(CDataPiece& piece) {
  const auto& coded = memory_->coded;
  const std::uint32_t last_step = std::min(step_ + kStepsOfInput, coded.step_count) - 1;
  const std::size_t end = coded.bytes_after_step[last_step];
  const auto payload = data_.subspan(given_bytes_, std::min(end - given_bytes_, kLargestPayload));
  given_bytes_ += payload.size();
  if (given_bytes_ == end) step_ = last_step + 1;
  if (payload.empty()) return;
  const bool is_last = EndsEntry() && step_ == coded.step_count;
  std::memcpy(piece.Space().data() + kBlockHeaderBytes, payload.data(), payload.size());
  piece.AddBlock(payload.size(), is_last);
}

CPieceCutter::CPieceCutter(CPieceLine& line, CDirEntry& entry)
    : line_(line),
      entry_(entry),
      checksum_(std::make_shared<std::uint32_t>(0)),
      left_(entry.header().size_bytes()) {}

std::unique_ptr<IJob<CDataPiece>> CPieceCutter::Next() {
  if (stream_ == nullptr || begin_ == stream_->stream.length) {
    if (left_ == 0) return nullptr;
    const auto length = static_cast<std::uint32_t>(std::min(left_, kLongestStream));
    left_ -= length;
    begin_ = 0;
    stream_ = std::make_shared<PieceStream>(entry_, length, left_ == 0, checksum_);
  }
  const std::uint32_t length = std::min(kPieceBytes, stream_->stream.length - begin_);
  return std::make_unique<CPieceJob>(line_, stream_, std::exchange(begin_, begin_ + length),
                                     length);
}

}  // namespace moldex
