// Reads a file front to back through one buffer, with cheap skips. It cannot go back. The readers
// of .QEL archives, tar archives and list files use it.
#ifndef MOLDEX_PLATFORM_BUFFERED_READER_H_
#define MOLDEX_PLATFORM_BUFFERED_READER_H_

#include <cstdint>
#include <span>
#include <vector>

#include "platform/file_handle.h"
#include "report/progress.h"

namespace moldex {

// The outcome of a skip that did not fail.
enum class SkipResult { kMoved, kBeyondEnd };

class CBufferedReader {
 public:
  // The largest piece that Take can give, in bytes.
  static constexpr std::size_t kCapacity = 128 * 1024;

  // `file` stands at its start. It stays the caller's and must outlive the reader; nobody else
  // moves its position. `progress`, if any, learns how far the file was read.
  explicit CBufferedReader(CFileHandle& file, CProgress* progress = nullptr);

  // Consumes and returns the next `count` bytes (at most kCapacity). Returns fewer at the end of
  // the file and after a failed read; Failed tells which. The bytes are valid until the next call.
  // Throws CInterruptExcept.
  std::span<const std::uint8_t> Take(std::size_t count);

  // The same without consuming them.
  std::span<const std::uint8_t> Peek(std::size_t count);

  // Moves forward. Returns kBeyondEnd when the file ends before that place. The position is
  // undefined then, and after a failure. Throws CInterruptExcept.
  Result<SkipResult> Skip(std::uint64_t distance);

  // Whether a read failed. Its error was remembered then.
  bool Failed() const { return failed_; }
  // The position in the file of the next byte.
  std::uint64_t Position() const { return position_ - Held(); }

 private:
  std::size_t Held() const { return end_ - begin_; }
  void Fill(std::size_t wanted);
  void ReadInto(std::span<std::uint8_t> space);
  Result<SkipResult> SkipByReading(std::uint64_t distance);

  CFileHandle& file_;
  CProgress* progress_;
  std::vector<std::uint8_t> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t read_ahead_;
  bool seekable_ = false;
  std::uint64_t position_ = 0;  // of the file, that is, of end_
  std::uint64_t known_size_ = 0;
  bool failed_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BUFFERED_READER_H_
