// Decompresses the data of entries on a worker, and checks them. CParallelSource reads the blocks
// on the first thread, makes such jobs of them, and takes the results.
#ifndef MOLDEX_ARCHIVE_DECODE_JOB_H_
#define MOLDEX_ARCHIVE_DECODE_JOB_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <span>
#include <vector>

#include "archive/archive_format.h"
#include "archive/entry_data.h"
#include "parallel/object_pool.h"
#include "parallel/ordered_work.h"

namespace moldex {

// Copies of blocks of one entry after another, as they come out of an archive.
class CBlockChunk {
 public:
  // A chunk takes no more blocks once it holds so much, or so many entries. Blocks count with what
  // is noted of each, because an archive may consist of tiny ones.
  static constexpr std::size_t kFullBytes = 128 * 1024;
  static constexpr std::size_t kFullEntries = 256;

  struct Item {
    enum Kind { kEntry, kBlock, kFailure };
    Kind kind = kBlock;
    std::size_t begin = 0;  // of the name or the payload
    std::size_t length = 0;
    DataAnnounced announced;     // of an entry, without its name
    bool more_follow = false;    // after a block
    std::uint32_t checksum = 0;  // with the last block
    std::exception_ptr failure;
  };

  void Clear();
  // The blocks of an entry follow.
  void AddEntry(const DataAnnounced& announced);
  void AddBlock(const DataBlock& block);
  // Another block should follow, but reading it failed.
  void AddFailure(std::exception_ptr failure);

  bool IsEmpty() const { return items_.empty(); }
  bool IsFull() const {
    return bytes_.size() + items_.size() * sizeof(Item) >= kFullBytes || entries_ >= kFullEntries;
  }

  const std::vector<Item>& items() const { return items_; }
  DataAnnounced EntryOf(const Item& item) const;
  DataBlock BlockOf(const Item& item) const;

 private:
  Item& Add(Item::Kind kind, std::span<const std::uint8_t> bytes);

  std::vector<std::uint8_t> bytes_;
  std::vector<Item> items_;
  std::size_t entries_ = 0;
};

// What has become of a bounded amount of data: parts of one entry after another.
class CDecodedPiece {
 public:
  struct Part {
    enum Kind {
      kData,    // some bytes of the entry
      kEnd,     // the entry is complete; `failure` if its checksum is wrong
      kFailure  // the entry ends here, by `failure`
    };
    Kind kind = kData;
    DataPiece data;
    UnpackedBytes unpacked;  // of the complete entry
    std::exception_ptr failure;
  };

  // Forgets the parts and keeps their memory.
  void Clear();
  // Counts the bytes, and keeps a copy of them if they are wanted.
  void AddData(const DataPiece& data, bool is_wanted);
  void AddEnd(const UnpackedBytes& unpacked, std::exception_ptr failure);
  void AddFailure(std::exception_ptr failure);

  // Whether there may be no space for another piece of CEntryData.
  bool IsFull() const { return decoded_bytes_ > kMostBytes - CEntryData::kLargestPiece; }
  const std::vector<Part>& parts() const { return parts_; }
  std::size_t size_bytes() const;

 private:
  static constexpr std::size_t kMostBytes = 256 * 1024;

  std::unique_ptr<std::uint8_t[]> bytes_;  // made when first used
  std::size_t decoded_bytes_ = 0;
  std::vector<Part> parts_;
};

// Objects that jobs use and that serve again.
struct DecodePools {
  CObjectPool<CBlockChunk> chunks;
  CObjectPool<CEntryData> data;
};

// Decodes chunks that come one after another. An entry that does not fit its chunk goes on in the
// next one of the same job; no entry goes on in another job. Failures become parts of a piece.
class CDecodeJob : public IJob<CDecodedPiece> {
 public:
  // `pools` outlive the job. `wants_bytes`: the data themselves, rather than their proof.
  CDecodeJob(DecodePools& pools, bool wants_bytes) : pools_(pools), wants_bytes_(wants_bytes) {}
  ~CDecodeJob() override;

  // For the first thread: before the job is submitted, and later from COrderedWork::Feed. None
  // follows a chunk that `is_last`.
  void AddChunk(std::unique_ptr<CBlockChunk> chunk, bool is_last);
  // Whether fewer than four chunks wait. Two would keep the worker busy. With four the first thread
  // gets past the end of a long entry, and other workers have the entries after it to do.
  bool IsHungry() const { return waiting_chunks_.load(std::memory_order_relaxed) < 4; }

  bool HasInput() const override { return chunk_ || !chunks_.empty(); }
  void TakeInput() override;
  bool MakePiece(CDecodedPiece& piece) override;

 private:
  struct Waiting {
    std::unique_ptr<CBlockChunk> chunk;
    bool is_last;
  };

  bool Process(const CBlockChunk::Item& item, CDecodedPiece& piece);
  bool DecodeBlock(const CBlockChunk::Item& item, CDecodedPiece& piece);
  void EndEntry(CDecodedPiece& piece);
  void ReturnChunk();

  DecodePools& pools_;
  const bool wants_bytes_;
  std::deque<Waiting> chunks_;  // guarded by COrderedWork
  std::atomic<std::size_t> waiting_chunks_ = 0;
  // Of the worker.
  std::unique_ptr<CBlockChunk> chunk_;
  bool is_last_ = false;
  std::size_t next_item_ = 0;
  bool in_block_ = false;    // the next item is a block that has given some of its bytes
  bool has_failed_ = false;  // the entry has, and the rest of it is passed over
  std::unique_ptr<CEntryData> data_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_DECODE_JOB_H_
