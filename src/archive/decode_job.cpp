#include "archive/decode_job.h"

#include <algorithm>
#include <utility>

#include "report/deferred_failure.h"

namespace moldex {
namespace {

constexpr std::size_t kNameSpace = 1024;  // for more than the longest name

}  // namespace

void CBlockChunk::Clear() {
  bytes_.clear();
  items_.clear();
  entries_ = 0;
}

CBlockChunk::Item& CBlockChunk::Add(Item::Kind kind, std::span<const std::uint8_t> bytes) {
  if (bytes_.capacity() == 0) bytes_.reserve(kFullBytes + kLargestPayload + kNameSpace);
  Item& item = items_.emplace_back();
  item.kind = kind;
  item.begin = bytes_.size();
  item.length = bytes.size();
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return item;
}

void CBlockChunk::AddEntry(const DataAnnounced& announced) {
  const auto* name = reinterpret_cast<const std::uint8_t*>(announced.name.data());
  Item& item = Add(Item::kEntry, {name, announced.name.size()});
  item.announced = announced;
  ++entries_;
}

void CBlockChunk::AddBlock(const DataBlock& block) {
  Item& item = Add(Item::kBlock, block.payload);
  item.more_follow = block.more_follow;
  item.checksum = block.checksum;
}

void CBlockChunk::AddFailure(std::exception_ptr failure) {
  Add(Item::kFailure, {}).failure = std::move(failure);
}

DataAnnounced CBlockChunk::EntryOf(const Item& item) const {
  DataAnnounced announced = item.announced;
  announced.name = {reinterpret_cast<const char*>(bytes_.data()) + item.begin, item.length};
  return announced;
}

DataBlock CBlockChunk::BlockOf(const Item& item) const {
  return {std::span(bytes_).subspan(item.begin, item.length), item.more_follow, item.checksum};
}

void CDecodedPiece::Clear() {
  decoded_bytes_ = 0;
  parts_.clear();
}

void CDecodedPiece::AddData(const DataPiece& data, bool is_wanted) {
  const std::size_t begin = std::exchange(decoded_bytes_, decoded_bytes_ + data.bytes.size());
  if (!is_wanted || data.bytes.empty()) return;
  if (!bytes_) bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(kMostBytes);
  std::copy(data.bytes.begin(), data.bytes.end(), bytes_.get() + begin);
  // Data that follow data belong to the same entry. They are added to that part.
  const bool goes_on = !parts_.empty() && parts_.back().kind == Part::kData;
  DataPiece& part = goes_on ? parts_.back().data : parts_.emplace_back().data;
  part = {
      {goes_on ? part.bytes.data() : bytes_.get() + begin, part.bytes.size() + data.bytes.size()},
      data.is_backup_stream};
}

void CDecodedPiece::AddEnd(const UnpackedBytes& unpacked, std::exception_ptr failure) {
  parts_.push_back({Part::kEnd, {}, unpacked, std::move(failure)});
}

void CDecodedPiece::AddFailure(std::exception_ptr failure) {
  parts_.push_back({Part::kFailure, {}, {}, std::move(failure)});
}

std::size_t CDecodedPiece::size_bytes() const {
  return (bytes_ ? kMostBytes : 0) + parts_.capacity() * sizeof(Part);
}

CDecodeJob::~CDecodeJob() {
  ReturnChunk();
  for (Waiting& waiting : chunks_)
    pools_.chunks.Return(std::move(waiting.chunk));
  if (data_) pools_.data.Return(std::move(data_));
}

void CDecodeJob::AddChunk(std::unique_ptr<CBlockChunk> chunk, bool is_last) {
  chunks_.push_back({std::move(chunk), is_last});
  ++waiting_chunks_;
}

void CDecodeJob::TakeInput() {
  if (chunk_) return;
  chunk_ = std::move(chunks_.front().chunk);
  is_last_ = chunks_.front().is_last;
  chunks_.pop_front();
  --waiting_chunks_;
  next_item_ = 0;
}

void CDecodeJob::ReturnChunk() {
  if (chunk_) pools_.chunks.Return(std::move(chunk_));
}

bool CDecodeJob::MakePiece(CDecodedPiece& piece) {
  piece.Clear();
  if (!data_) data_ = pools_.data.Borrow();
  for (; next_item_ < chunk_->items().size(); ++next_item_) {
    if (!Process(chunk_->items()[next_item_], piece)) return true;
  }
  ReturnChunk();
  if (is_last_) pools_.data.Return(std::move(data_));
  return !is_last_;
}

// Returns false when the piece is full and the item has more to give.
bool CDecodeJob::Process(const CBlockChunk::Item& item, CDecodedPiece& piece) {
  if (item.kind == CBlockChunk::Item::kEntry) {
    data_->Begin(chunk_->EntryOf(item));
    has_failed_ = false;
    return true;
  }
  if (has_failed_) return true;
  try {
    if (item.kind == CBlockChunk::Item::kFailure) std::rethrow_exception(item.failure);
    return DecodeBlock(item, piece);
  } catch (...) {
    has_failed_ = true;
    in_block_ = false;
    piece.AddFailure(std::current_exception());
    return true;
  }
}

bool CDecodeJob::DecodeBlock(const CBlockChunk::Item& item, CDecodedPiece& piece) {
  if (!std::exchange(in_block_, true)) data_->AddBlock(chunk_->BlockOf(item));
  while (!data_->WantsBlock() && !data_->IsAtEnd()) {
    if (piece.IsFull()) return false;
    piece.AddData(data_->NextPiece(), wants_bytes_);
  }
  in_block_ = false;
  if (data_->IsAtEnd()) EndEntry(piece);
  return true;
}

void CDecodeJob::EndEntry(CDecodedPiece& piece) {
  data_->CheckLength();
  std::exception_ptr failure;
  try {
    data_->CheckChecksum();
  } catch (const CDeferredFailure&) {
    failure = std::current_exception();
  }
  piece.AddEnd(data_->Unpacked(), std::move(failure));
}

}  // namespace moldex
