#include "support/qel_bytes.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace moldex::test {
namespace {

constexpr std::size_t kStreamHeaderBytes = 8;
constexpr int kRawWindow = -14;  // RFC 1951 without a wrapper, 16 KB window

// The fields of four bytes that follow an entry's type, in their order.
constexpr std::uint32_t QelEntry::*kFields[] = {
    &QelEntry::mode,     &QelEntry::size_low,  &QelEntry::zero_word, &QelEntry::size_high,
    &QelEntry::time_low, &QelEntry::time_high, &QelEntry::reserved};

void Require(bool condition, const std::string& complaint) {
  if (!condition) throw std::runtime_error("malformed archive: " + complaint);
}

const Bytef* ZBytes(std::string_view text) { return reinterpret_cast<const Bytef*>(text.data()); }

void AppendU16(std::string& bytes, std::size_t value) {
  bytes.push_back(static_cast<char>(value & 0xFF));
  bytes.push_back(static_cast<char>(value >> 8 & 0xFF));
}

void AppendU32(std::string& bytes, std::size_t value) {
  AppendU16(bytes, value & 0xFFFF);
  AppendU16(bytes, value >> 16 & 0xFFFF);
}

// The bytes of an archive, taken one field after the other.
class Cursor {
 public:
  explicit Cursor(std::string_view bytes) : bytes_(bytes) {}
  std::size_t Position() const { return position_; }
  bool AtEnd() const { return position_ == bytes_.size(); }
  bool NextIs(std::string_view text) const { return bytes_.substr(position_, text.size()) == text; }
  std::string_view Take(std::size_t count) {
    Require(count <= bytes_.size() - position_, "cut at " + std::to_string(bytes_.size()));
    position_ += count;
    return bytes_.substr(position_ - count, count);
  }

 private:
  std::string_view bytes_;
  std::size_t position_ = 0;
};

void TakeBlocks(Cursor& cursor, QelEntry& entry) {
  while (entry.blocks.empty() || entry.blocks.back().type == "DA") {
    QelBlock block;
    block.offset = cursor.Position();
    const std::string_view header = cursor.Take(kBlockHeaderBytes);
    block.type = header.substr(0, 2);
    Require(block.type == "DA" || block.type == "ED", "block type in " + entry.name);
    const std::uint32_t length = U32At(header, kPayloadLengthAt);
    Require(length > 0 && length <= kMaxPayload, "payload length in " + entry.name);
    block.payload = cursor.Take(length);
    entry.blocks.push_back(std::move(block));
  }
  entry.checksum_offset = cursor.Position();
  entry.checksum = U32At(cursor.Take(4), 0);
}

QelEntry TakeEntry(Cursor& cursor) {
  QelEntry entry;
  entry.offset = cursor.Position();
  const std::string_view header = cursor.Take(kEntryHeaderBytes);
  entry.type = header.substr(0, 2);
  Require(entry.type == "RG" || entry.type == "DR" || entry.type == "SC" || entry.type == "LK",
          "entry type at " + std::to_string(entry.offset));
  std::size_t at = kModeAt;
  for (std::uint32_t QelEntry::*field : kFields) {
    entry.*field = U32At(header, at);
    at += 4;
  }
  const std::uint32_t name_length = U16At(header, kNameLengthAt);
  Require(name_length > 0, "name without its closing zero");
  entry.name = cursor.Take(name_length);
  Require(entry.name.find('\0') == name_length - 1, "zero bytes in the name");
  entry.name.pop_back();
  entry.user_data = cursor.Take(U16At(header, kUserDataLengthAt));
  if (cursor.NextIs("DA") || cursor.NextIs("ED")) TakeBlocks(cursor, entry);
  const bool has_size = entry.size_low != 0 || entry.size_high != 0;
  if (entry.type == "RG") Require(has_size == !entry.blocks.empty(), "data of " + entry.name);
  return entry;
}

// Inflates one stream off the front of `input`; what is left of the input stays there.
std::string TakeStream(std::string_view& input) {
  Require(input.size() > kStreamHeaderBytes && U32At(input, 4) << 8 == 0x9D1F1200U,
          "stream header");
  std::string content(U32At(input, 0), '\0');
  const std::string_view data = input.substr(kStreamHeaderBytes);
  char past_the_end = 0;  // zlib wants an address for an empty buffer, too
  z_stream stream{};
  stream.next_in = const_cast<Bytef*>(ZBytes(data));
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = reinterpret_cast<Bytef*>(content.empty() ? &past_the_end : content.data());
  stream.avail_out = static_cast<uInt>(content.size());
  (void)inflateInit2(&stream, kRawWindow);
  const int code = inflate(&stream, Z_FINISH);
  (void)inflateEnd(&stream);
  Require(code == Z_STREAM_END && stream.avail_out == 0, "stream data");
  input.remove_prefix(kStreamHeaderBytes + data.size() - stream.avail_in);
  Require(input.starts_with('\0'), "no zero byte after the stream");
  input.remove_prefix(1);
  return content;
}

}  // namespace

std::uint32_t Checksum(std::string_view bytes) {
  // zlib inverts its state on the way in and on the way out; both are undone.
  const uLong crc = crc32(0xFFFFFFFFUL, ZBytes(bytes), static_cast<uInt>(bytes.size()));
  return static_cast<std::uint32_t>(~crc);
}

std::string CompressedStream(std::string_view content) {
  std::string bytes;
  AppendU32(bytes, content.size());
  bytes += "\x12\x1F\x9D\x06";
  z_stream stream{};
  (void)deflateInit2(&stream, 6, Z_DEFLATED, kRawWindow, 8, Z_DEFAULT_STRATEGY);
  std::string data(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  stream.next_in = const_cast<Bytef*>(ZBytes(content));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(data.data());
  stream.avail_out = static_cast<uInt>(data.size());
  const int code = deflate(&stream, Z_FINISH);
  (void)deflateEnd(&stream);
  Require(code == Z_STREAM_END && (data[0] >> 1 & 3) != 0, "content that zlib would store");
  data.resize(data.size() - stream.avail_out);
  return bytes + data + '\0';
}

QelEntry FileEntry(std::string name, std::string_view content, std::uint32_t mode,
                   std::size_t piece) {
  QelEntry entry;
  entry.name = std::move(name);
  entry.mode = mode;
  entry.size_low = static_cast<std::uint32_t>(content.size());
  if (content.empty()) return entry;
  const std::string stream = CompressedStream(content);
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    entry.blocks.push_back({at + piece < stream.size() ? "DA" : "ED", stream.substr(at, piece)});
  }
  entry.checksum = Checksum(content);
  return entry;
}

QelEntry DirectoryEntry(std::string name, std::uint32_t mode) {
  QelEntry entry = FileEntry(std::move(name), "", mode);
  entry.type = "DR";
  return entry;
}

QelEntry LinkEntry(std::string name, std::string target) {
  QelEntry entry = FileEntry(std::move(name), "", 0x1000 | 0777);
  entry.type = "LK";
  entry.user_data = std::move(target);
  return entry;
}

std::string BackupStream(std::uint32_t id, std::string_view content, std::string_view name) {
  std::string bytes;
  for (const std::size_t field :
       {std::size_t{id}, std::size_t{0}, content.size(), std::size_t{0}, name.size()})
    AppendU32(bytes, field);
  return bytes.append(name).append(content);
}

std::string EncodeEntry(const QelEntry& entry) {
  std::string bytes = entry.type;
  for (const std::uint32_t QelEntry::*field : kFields)
    AppendU32(bytes, entry.*field);
  AppendU16(bytes, entry.user_data.size());
  AppendU16(bytes, entry.name.size() + 1);
  bytes += entry.name + '\0' + entry.user_data;
  for (const QelBlock& block : entry.blocks) {
    bytes += block.type;
    AppendU32(bytes, block.payload.size());
    bytes += block.payload;
  }
  if (!entry.blocks.empty()) AppendU32(bytes, entry.checksum);
  return bytes;
}

std::string BuildArchive(const std::vector<QelEntry>& entries, std::string_view header) {
  std::string bytes(header);
  for (const QelEntry& entry : entries)
    bytes += EncodeEntry(entry);
  return bytes;
}

std::vector<QelEntry> ParseArchive(std::string_view archive) {
  Cursor cursor(archive);
  const std::string_view header = cursor.Take(kArchiveHeader.size());
  Require(header == kArchiveHeader || header == kLongNamesHeader, "archive header");
  std::vector<QelEntry> entries;
  while (!cursor.AtEnd())
    entries.push_back(TakeEntry(cursor));
  return entries;
}

std::string ContentOf(const QelEntry& entry) {
  std::string streams;
  for (const QelBlock& block : entry.blocks)
    streams += block.payload;
  std::string content;
  std::string_view rest = streams;
  while (!rest.empty())
    content += TakeStream(rest);
  return content;
}

void FlipByte(std::string& bytes, std::size_t offset, unsigned mask) {
  SetByte(bytes, offset, static_cast<unsigned char>(bytes.at(offset)) ^ mask);
}

void SetByte(std::string& bytes, std::size_t offset, unsigned value) {
  bytes.at(offset) = static_cast<char>(value);
}

void SetU16(std::string& bytes, std::size_t offset, std::uint32_t value) {
  SetByte(bytes, offset, value & 0xFF);
  SetByte(bytes, offset + 1, value >> 8 & 0xFF);
}

void SetU32(std::string& bytes, std::size_t offset, std::uint32_t value) {
  SetU16(bytes, offset, value & 0xFFFF);
  SetU16(bytes, offset + 2, value >> 16);
}

std::uint32_t U16At(std::string_view bytes, std::size_t offset) {
  return static_cast<unsigned char>(bytes.at(offset)) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(offset + 1))) << 8;
}

std::uint32_t U32At(std::string_view bytes, std::size_t offset) {
  return U16At(bytes, offset) | U16At(bytes, offset + 2) << 16;
}

void FixChecksum(std::string& archive, std::size_t index) {
  const QelEntry entry = ParseArchive(archive).at(index);
  Require(entry.checksum_offset != 0, "no checksum in " + entry.name);
  SetU32(archive, entry.checksum_offset, Checksum(ContentOf(entry)));
}

}  // namespace moldex::test
