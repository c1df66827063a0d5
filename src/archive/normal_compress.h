// Compresses the bytes of a file as they are read.
//
// A file is one compressed stream for each gigabyte of it. The output of a stream is cut into
// blocks where the encoder's output space is full; only the very last block of the entry is "ED".
//
// Readers of a long-name archive take a short file whose bytes happen to be a backup stream for
// one. Such a file is stored as a backup stream that holds nothing but it.
#ifndef MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_
#define MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_

#include <optional>
#include <span>

#include "archive/compress_strategy.h"
#include "archive/data_blocks.h"

namespace moldex {

// The length of a compressed stream, unless it is the entry's last.
inline constexpr std::uint64_t kLongestStream = 0x40000000;

class CNormalCompress : public ICompressStrategy {
 public:
  // `long_names` is the mode of the archive.
  CNormalCompress(CompressionBuffers& buffers, bool long_names)
      : buffers_(buffers), long_names_(long_names) {}

  // In long-name mode reads a short file whole.
  void SetEntry(CDirEntry* entry) override;
  // Fails with CReadExcept when the file holds less than its header says, and with CCompExcept.
  bool Compress(CDataPiece& piece) override;

 private:
  void BeginEntryAsBackupStream(std::size_t file_bytes);
  void BeginStream();
  std::span<const std::uint8_t> NextInput();
  std::span<const std::uint8_t> ReadInput(std::size_t length);

  CompressionBuffers& buffers_;
  bool long_names_;
  CDirEntry* entry_ = nullptr;
  std::uint64_t longest_stream_ = 0;
  std::uint64_t left_ = 0;         // of the entry, after the current stream
  std::uint64_t stream_left_ = 0;  // of the current stream's input
  std::optional<CStreamWriter> stream_;
  std::span<const std::uint8_t> ready_;  // was read ahead of its turn
  std::span<const std::uint8_t> input_;  // what the encoder has not taken yet
  std::size_t read_bytes_ = 0;           // that no piece has counted yet
  std::uint32_t checksum_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_NORMAL_COMPRESS_H_
