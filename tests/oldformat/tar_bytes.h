// Tar archives as bytes, built from the format's layout alone: what no writer at hand makes, and
// damage.
#ifndef MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_
#define MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_

#include <cstdint>
#include <string>
#include <string_view>
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

// Writes the right checksum into the header at `offset`.
void FixTarChecksum(std::string& archive, std::size_t offset, bool as_signed = false);

// Header and data, filled up to whole blocks.
std::string EncodeTarItem(const TarItem& item);
// With the two blocks that end an archive.
std::string BuildTar(const std::vector<TarItem>& items);

// One pax record.
std::string PaxRecord(std::string_view key, std::string_view value);
// Records for the next entry ('x') or for all that follow ('g').
TarItem PaxItem(const std::string& records, char type = 'x');
// The name ('L') or link target ('K') of the next entry.
TarItem GnuLongItem(std::string text, char type = 'L');

// A number as big-endian bytes with the mark in front.
std::string BinaryTarNumber(std::int64_t value, std::size_t bytes = 12);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_OLDFORMAT_TAR_BYTES_H_
