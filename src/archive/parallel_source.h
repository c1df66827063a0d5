// The entries of an archive, read ahead and decompressed by several threads. It gives the same
// entries, pieces and failures in the same order as CArchiveReader, which it uses.
//
// The first thread reads ahead: headers into a queue, and the blocks of entries that will be wanted
// into jobs (decode_job.h). Workers decompress and check. A failure waits until its place is
// reached; nothing after it is read. An interruption is noticed at once. The data in flight are
// bounded.
#ifndef MOLDEX_ARCHIVE_PARALLEL_SOURCE_H_
#define MOLDEX_ARCHIVE_PARALLEL_SOURCE_H_

#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/archive_reader.h"
#include "archive/decode_job.h"
#include "archive/entry_kinds.h"
#include "archive/entry_source.h"
#include "archive/normal_compress.h"
#include "parallel/ordered_work.h"
#include "report/progress.h"

namespace moldex {

class CParallelSource : public IEntrySource {
 public:
  struct Plan {
    unsigned workers;
    // Whether NextPiece gives the data. Otherwise it only proves them, and gives nothing.
    bool wants_bytes;
    // Whether the archive is a regular file. Only then may the caller pass over an entry that is
    // wanted, and go back to the start.
    bool is_regular;
    // An entry that is longer than a stream is proved stream by stream (long_entry_proof.h), unless
    // its bytes are wanted.
    std::uint64_t stream_bytes = kLongestStream;
    // Called for each entry in turn, ahead of the caller: whether its data may be asked for.
    std::function<bool(const CDirEntry&)> wants;
  };

  // `reader` has read no entry. It outlives this object, and nobody else reads on.
  CParallelSource(CArchiveReader& reader, CProgress& progress, Plan plan);

  CDirEntry* NextEntry() override;
  DataPiece NextPiece() override;
  void CheckEnd() override;
  // From now on the reader does everything: this walk is for headers.
  void Rewind() override;
  const FileIdentity& identity() const override { return reader_.identity(); }

 private:
  // An entry that was read ahead.
  struct Waiting {
    EntryHeader header;
    std::string name;
    std::vector<std::uint8_t> user_data;
    bool needs_data;   // according to the archive
    bool has_results;  // its data are wanted, and a job has them
    std::size_t size_bytes() const { return sizeof *this + name.size() + user_data.size(); }
  };
  // The reason why nothing more is read now.
  enum class Stop {
    kNone,
    kEnd,      // of the archive
    kSurplus,  // the last entry has surplus data. The caller passes over it, or ends
    kLong,     // the last entry is proved when the caller asks for its data
    kEntry,    // failure_ comes in place of the next entry
    kData      // the data of the last entry cannot be read. The caller passes over it, or ends
  };

  // Reading ahead.
  void ReadAhead();
  bool HasSpace();
  void ReadChunk();
  void ReadEntry();
  void ReadBlock();
  void EndEntry();
  void SubmitChunk();
  bool IsLong(const CDirEntry& entry) const;

  // Taking.
  const CDecodedPiece::Part& NextPart();
  void LeaveEntry();
  void DropJobs();
  CDirEntry* TakeEntry();
  void ProveLong();
  void BeginLong();

  CArchiveReader& reader_;
  CProgress& progress_;
  const Plan plan_;
  const std::size_t most_waiting_bytes_;
  bool reads_alone_ = false;  // the reader does everything

  std::deque<Waiting> waiting_;
  std::size_t waiting_bytes_ = 0;
  Stop stop_ = Stop::kNone;
  std::exception_ptr failure_;
  const CDirEntry* long_entry_ = nullptr;  // the reader's, with Stop::kLong
  bool in_entry_ = false;                  // the last entry has more blocks to read
  std::unique_ptr<CBlockChunk> chunk_;     // being filled
  CDecodeJob* open_job_ = nullptr;         // it gets the next chunk, too

  CSourceEntry entry_;
  bool has_results_ = false;  // the entry that the caller has; its end was not taken
  std::exception_ptr checksum_failure_;
  CDecodedPiece* piece_ = nullptr;
  std::size_t next_part_ = 0;

  DecodePools pools_;
  COrderedWork<CDecodedPiece> work_;  // ends before what its jobs use
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_PARALLEL_SOURCE_H_
