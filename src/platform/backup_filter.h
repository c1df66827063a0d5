// Decides which backup streams may reach a system that carries out what they say. Windows would
// turn others into hard links and symbolic links, at places that the archive alone has chosen.
#ifndef MOLDEX_PLATFORM_BACKUP_FILTER_H_
#define MOLDEX_PLATFORM_BACKUP_FILTER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/backup_stream.h"

namespace moldex {

// Checks a backup stream that arrives in pieces of any size. It hands on the part that was checked,
// and heads and names only as a whole. It holds one piece in memory.
class CBackupFilter : private IBackupSink {
 public:
  // Returns the bytes that follow those returned before, valid until the next call. Empty,
  // then and in every later call, when the stream holds anything but a file's bytes,
  // extended attributes, security, named streams and sparse blocks, or when a stream's name is
  // neither ":name" nor ":name:$DATA".
  std::optional<std::span<const std::uint8_t>> Feed(std::span<const std::uint8_t> bytes);

  // Whether everything fed so far is whole streams.
  bool AtStreamEnd() const { return parser_.AtStreamEnd(); }

 private:
  bool OnStream(const StreamHead& head) override;
  bool OnName(std::span<const std::uint8_t> part) override;
  bool OnData(std::span<const std::uint8_t> /*bytes*/) override { return true; }
  bool OnPosition(std::uint64_t /*position*/) override { return true; }
  bool OnExtendedAttributes(std::span<const std::uint8_t> /*bytes*/) override { return true; }

  CBackupStreamParser parser_;
  std::vector<std::uint8_t> bytes_;  // the last piece, after what the one before it left unjudged
  std::size_t given_out_ = 0;        // of them
  std::vector<std::uint8_t> name_;
  std::size_t name_bytes_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BACKUP_FILTER_H_
