// Tar archives as bytes, built from the format's layout alone: what no writer at hand makes, and
// damage.
#ifndef MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_
#define MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace moldex::test {

inline constexpr std::size_t kTarBlock = 512;
inline constexpr std::size_t kTarTypeAt = 156;
inline constexpr std::size_t kTarChecksumAt = 148;
inline constexpr std::string_view kUstarMagic{
    "ustar\0"
    "00",
    8};
inline constexpr std::string_view kGnuMagic{"ustar  \0", 8};

struct TarItem {
  std::string name;
  char type = '0';
  std::string content;
  std::string link = "";
  std::string mode = "0000644";
  std::string size = "";  // the content's length where this is empty
  std::string mtime = "10167504374";
  std::string prefix = "";
  std::string_view magic = kUstarMagic;
};

inline std::string Octal(std::size_t value, int digits) {
  char text[24] = {};
  (void)std::snprintf(text, sizeof text, "%0*zo", digits, value);
  return text;
}

inline void Put(std::string& block, std::size_t offset, std::string_view bytes) {
  block.replace(offset, bytes.size(), bytes);
}

inline std::string Filled(std::string bytes) {
  bytes.resize((bytes.size() + kTarBlock - 1) / kTarBlock * kTarBlock);
  return bytes;
}

// Writes the right checksum into the header at `offset`.
inline void FixTarChecksum(std::string& archive, std::size_t offset, bool as_signed = false) {
  archive.replace(offset + kTarChecksumAt, 8, 8, ' ');
  int sum = 0;
  for (const char c : archive.substr(offset, kTarBlock))
    sum += as_signed ? static_cast<signed char>(c) : static_cast<unsigned char>(c);
  Put(archive, offset + kTarChecksumAt, Octal(static_cast<unsigned>(sum), 6) + '\0');
}

// Header and data, filled up to whole blocks.
inline std::string EncodeTarItem(const TarItem& item) {
  std::string block(kTarBlock, '\0');
  Put(block, 0, item.name);
  Put(block, 100, item.mode);
  Put(block, 124, item.size.empty() ? Octal(item.content.size(), 11) : item.size);
  Put(block, 136, item.mtime);
  block[kTarTypeAt] = item.type;
  Put(block, 157, item.link);
  Put(block, 257, item.magic);
  Put(block, 345, item.prefix);
  FixTarChecksum(block, 0);
  return block + Filled(item.content);
}

// With the two blocks that end an archive.
inline std::string BuildTar(const std::vector<TarItem>& items) {
  std::string archive;
  for (const TarItem& item : items)
    archive += EncodeTarItem(item);
  return archive + std::string(2 * kTarBlock, '\0');
}

inline std::string PaxRecord(std::string_view key, std::string_view value) {
  const std::string rest = ' ' + std::string(key) + '=' + std::string(value) + '\n';
  std::size_t length = rest.size();
  while (std::to_string(length).size() + rest.size() != length)
    ++length;
  return std::to_string(length) + rest;
}

// Records for the next entry ('x') or for all that follow ('g').
inline TarItem PaxItem(const std::string& records, char type = 'x') {
  return {"PaxHeader/x", type, records};
}

// The name ('L') or link target ('K') of the next entry.
inline TarItem GnuLongItem(std::string text, char type = 'L') {
  TarItem item{"././@LongLink", type, std::move(text) + '\0'};
  item.magic = kGnuMagic;
  return item;
}

// A number as big-endian bytes with the mark in front.
inline std::string BinaryTarNumber(std::int64_t value, std::size_t bytes = 12) {
  std::string field(bytes, value < 0 ? '\xFF' : '\0');
  for (std::size_t i = 0; i < 8 && i < bytes; ++i)
    field[bytes - 1 - i] = static_cast<char>(value >> 8 * i);
  field[0] = static_cast<char>(static_cast<unsigned char>(field[0]) | 0x80);
  return field;
}

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_
