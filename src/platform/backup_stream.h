// The layout of a Windows backup stream: what BackupRead delivers for a file and BackupWrite takes.
//
// A backup stream is a chain of streams, each after a header of 20 bytes (WIN32_STREAM_ID):
// id (4 bytes), attributes (4), size of what follows (8), length of the name (4); then the name in
// UTF-16, then `size` bytes. Little-endian.
#ifndef MOLDEX_PLATFORM_BACKUP_STREAM_H_
#define MOLDEX_PLATFORM_BACKUP_STREAM_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace moldex {

inline constexpr std::size_t kStreamIdBytes = 20;

enum StreamId : std::uint32_t {
  kStreamData = 1,         // the file's bytes
  kStreamExtended = 2,     // extended attributes
  kStreamSecurity = 3,     // a security descriptor
  kStreamAlternate = 4,    // a named stream
  kStreamSparseBlock = 9,  // a position (8 bytes) and the bytes there
};

inline constexpr std::uint32_t kLastStreamId = 10;

struct StreamHead {
  std::uint32_t id = kStreamData;
  std::uint32_t attributes = 0;
  std::uint64_t size_bytes = 0;
  std::uint32_t name_bytes = 0;
};

void EncodeStreamHead(const StreamHead& head, std::span<std::uint8_t, kStreamIdBytes> to);
StreamHead DecodeStreamHead(std::span<const std::uint8_t, kStreamIdBytes> from);

// Whether the bytes are a chain of streams that ends exactly where they end.
bool IsBackupStream(std::span<const std::uint8_t> bytes);

// The longest stream of extended attributes that is written and read; a longer one is passed over.
inline constexpr std::size_t kLongestExtended = 65536;

struct ExtendedAttribute {
  std::string name;
  std::vector<std::uint8_t> value;
};

// The contents of an extended attribute stream: FILE_FULL_EA_INFORMATION records, each at a
// multiple of 4 bytes. Attributes that are too long for a record, or for what is left of a stream,
// are left out.
std::vector<std::uint8_t> EncodeExtendedAttributes(const std::vector<ExtendedAttribute>& list);

// One attribute where it stands in such a stream.
struct ExtendedAttributeView {
  std::string_view name;
  std::span<const std::uint8_t> value;
};

// Takes the first record off the contents of a stream. Empty when no whole record is left. A record
// that overlaps the next one is the last, so that no byte is read twice.
std::optional<ExtendedAttributeView> TakeExtendedAttribute(std::span<const std::uint8_t>* records);

// Receives the parts that a parser finds in a backup stream. A false answer stops the parser.
class IBackupSink {
 public:
  virtual ~IBackupSink() = default;
  // A stream begins; its name follows, in parts.
  virtual bool OnStream(const StreamHead& /*head*/) { return true; }
  virtual bool OnName(std::span<const std::uint8_t> /*part*/) { return true; }
  // The next bytes of the file, from its start or from the last position on.
  virtual bool OnData(std::span<const std::uint8_t> bytes) = 0;
  // The position that the next data belong to.
  virtual bool OnPosition(std::uint64_t position) = 0;
  // A whole extended attribute stream.
  virtual bool OnExtendedAttributes(std::span<const std::uint8_t> bytes) = 0;
};

// Takes a backup stream apart that arrives in pieces of any size. Streams without a place in the
// sink are passed over.
class CBackupStreamParser {
 public:
  // False when the sink refused something.
  bool Feed(std::span<const std::uint8_t> bytes, IBackupSink& sink);

  // Whether everything fed so far is whole streams.
  bool AtStreamEnd() const { return head_bytes_.empty() && name_left_ == 0 && stream_left_ == 0; }

  // The number of bytes at the end that belong to a head, or to a head and a name, that is not
  // complete yet.
  std::size_t UnjudgedBytes() const;

 private:
  std::size_t TakePart(std::span<const std::uint8_t> bytes, IBackupSink& sink);
  std::size_t TakeHead(std::span<const std::uint8_t> bytes, IBackupSink& sink);
  std::size_t Collect(std::span<const std::uint8_t> bytes, std::size_t whole);
  bool IsPosition() const;

  std::vector<std::uint8_t> head_bytes_;  // of a head that has not arrived whole
  StreamHead head_;
  std::uint64_t name_left_ = 0;
  std::uint64_t stream_left_ = 0;
  std::vector<std::uint8_t> collected_;
  bool position_known_ = false;
  bool refused_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BACKUP_STREAM_H_
