// Which backup streams may reach a system that does what they say: Windows would make hard links
// and symbolic links of some, at places that only the archive has chosen.
#ifndef MOLDEX_PLATFORM_BACKUP_FILTER_H_
#define MOLDEX_PLATFORM_BACKUP_FILTER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/backup_stream.h"

namespace moldex {

// Judges a backup stream that arrives in pieces of any size, and gives it out as far as it was
// judged: never a part of a head or of a name. Memory: one piece.
class CBackupFilter : private IBackupSink {
 public:
  // The bytes that follow those given out before, valid until the next call. Empty when the stream
  // holds anything but a file's bytes, extended attributes, security, named streams and sparse
  // blocks, or names a stream otherwise than ":name" or ":name:$DATA"; nothing is given out then.
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
