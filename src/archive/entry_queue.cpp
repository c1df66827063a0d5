#include "archive/entry_queue.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include "archive/workers.h"
#include "base/path_rules.h"
#include "platform/file_services.h"
#include "platform/interrupt.h"
#include "report/deferred_failure.h"
#include "report/exit_status.h"
#include "report/hints.h"
#include "report/system_error.h"

namespace moldex {
namespace {

// Files that may be open ahead of their turn. Most systems allow a process more.
constexpr std::size_t kMostOpenFiles = 256;

// A batch of small files is handed to a worker when they have this many bytes. The time that it
// takes to hand it over is nothing against the time to compress it. The user data of entries count
// as well, because they stay in memory.
constexpr std::uint64_t kBatchBytes = 256 * 1024;

// From this size on several workers compress a file. Below it, enough other files are under way.
constexpr std::uint64_t kLargeFileBytes = 1024 * 1024;

// Results that wait for their turn. While one worker compresses a file of just under
// kLargeFileBytes, each of the others may finish as many bytes of small files.
constexpr std::size_t WaitingBytesFor(unsigned workers) {
  return std::max(workers - 1, 1U) * kLargeFileBytes;
}

std::size_t JobsFor(unsigned workers) { return std::max<std::size_t>(8, 2 * workers + 2); }

std::size_t BatchEntriesFor(unsigned workers) {
  return workers > 1 ? kMostOpenFiles / JobsFor(workers) : 1;
}

}  // namespace

CEntryQueue::CEntryQueue(CRunContext& context, CArchiveWriter& archive, CompressionMethod method,
                         unsigned workers)
    : context_(context),
      archive_(archive),
      method_(std::move(method)),
      in_pieces_(workers > 1 && method_.stores_bytes),
      pieces_(workers + 1),
      batch_entries_(BatchEntriesFor(workers)),
      work_(workers, {JobsFor(workers), WaitingBytesFor(workers)}) {}

void CEntryQueue::Add(PreparedEntry entry) {
  if (IsEmpty()) status_ = ExitStatus();
  if (IsForPieces(*entry.entry)) {
    AddInPieces(std::move(entry));
    return;
  }
  batch_bytes_ += entry.entry->user_data().size();
  if (entry.entry->HasDataToStore()) {
    batch_bytes_ += entry.entry->header().size_bytes();
  } else {
    (void)entry.entry->file().Close();
  }
  batch_.push_back(std::move(entry));
  if (batch_.size() < batch_entries_ && batch_bytes_ < kBatchBytes) return;
  SubmitBatch();
  MakeSpace();
}

bool CEntryQueue::IsForPieces(const CDirEntry& entry) const {
  return in_pieces_ && entry.HasDataToStore() && entry.header().size_bytes() >= kLargeFileBytes;
}

// While results are taken, the file is cut further, however large it is.
void CEntryQueue::AddInPieces(PreparedEntry entry) {
  if (!batch_.empty()) SubmitBatch();
  CPieceCutter cutter(pieces_, *entry.entry);
  entries_.push_back(std::move(entry));
  while (auto job = cutter.Next()) {
    MakeSpace();
    work_.Submit(std::move(job));
  }
  MakeSpace();
}

void CEntryQueue::MakeSpace() {
  while (!work_.HasSpace() || (!work_.IsEmpty() && work_.IsReady()))
    TakePiece();
}

void CEntryQueue::SubmitBatch() {
  is_broken_ = true;  // unless all of this succeeds: memory may run out
  std::vector<CDirEntry*> entries;
  entries.reserve(batch_.size());
  for (PreparedEntry& entry : batch_) {
    entries.push_back(entry.entry.get());
    entries_.push_back(std::move(entry));
  }
  batch_.clear();
  batch_bytes_ = 0;
  work_.Submit(std::make_unique<CCompressJob>(std::move(entries), pool_, method_.maker));
  is_broken_ = false;
}

void CEntryQueue::Finish() {
  if (!batch_.empty()) SubmitBatch();
  while (!work_.IsEmpty())
    TakePiece();
}

void CEntryQueue::CatchUp() {
  if (is_broken_ || IsEmpty()) return;
  const CSystemErrorGuard guard;
  const int status = ExitStatus();
  SetExitStatus(status_);
  Finish();
  SetExitStatus(status);
}

bool CEntryQueue::FreeResources() {
  const int why = LastSystemError().errno_value;
  const bool is_shortage = why == EMFILE || why == ENFILE || why == ENOMEM;
  if (!is_shortage || IsEmpty()) return false;
  batch_entries_ = std::max<std::size_t>(batch_entries_ / 2, 1);
  Finish();
  return true;
}

// The first part of the next entry may be long in coming, so the entry is announced before.
void CEntryQueue::TakePiece() {
  is_broken_ = true;  // unless all of this succeeds
  Announce();
  CDataPiece* piece = nullptr;
  switch (Next(piece)) {
    case Work::State::kPiece:
      WriteParts(*piece);
      break;
    case Work::State::kEnd:
      work_.Drop();
      break;
    case Work::State::kNeedsInput:  // no job here is fed
      throw std::logic_error("a job lacks input");
  }
  is_broken_ = false;
}

// A failure while the run is to end is most likely a consequence of that.
CEntryQueue::Work::State CEntryQueue::Next(CDataPiece*& piece) {
  try {
    const auto state = work_.Next(piece);
    ThrowIfInterrupted();
    return state;
  } catch (const CDeferredFailure& failure) {
    ThrowIfInterrupted();
    failure.Raise();
    throw;
  }
}

// Tells the user about the next entry, once.
void CEntryQueue::Announce() {
  if (entries_.empty() || std::exchange(is_announced_, true)) return;
  const PreparedEntry& next = entries_.front();
  if (HasParentComponent(SystemPathRules(), next.name)) {
    KeepHint("names with \"..\" in them were stored; extraction refuses them unless -P is given");
  }
  context_.progress().SetCurrentName(next.entry->GetName());
  if (context_.options().verbose) context_.log().PrintMessage("a " + next.name);
}

void CEntryQueue::WriteParts(const CDataPiece& piece) {
  std::size_t begin = 0;
  for (const CDataPiece::Part& part : piece.parts()) {
    if (!has_header_) WriteHeader();
    context_.progress().Advance(part.read_bytes);
    archive_.Write(piece.Bytes(begin, part.end));
    if (part.size_bytes)
      archive_.PatchEntrySize(header_position_, static_cast<std::uint32_t>(*part.size_bytes));
    if (part.ends_entry) EndEntry();
    begin = part.end;
  }
}

void CEntryQueue::WriteHeader() {
  Announce();
  const PreparedEntry& next = entries_.front();
  header_position_ = archive_.Position();
  archive_.WriteEntry(next.entry->header(), next.utf8_name, next.entry->user_data());
  has_header_ = true;
}

void CEntryQueue::EndEntry() {
  archive_.EndEntry();
  if (context_.options().statistics) context_.statistics().CountFile();
  entries_.pop_front();
  is_announced_ = has_header_ = false;
}

}  // namespace moldex
