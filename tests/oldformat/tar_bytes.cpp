#include "oldformat/tar_bytes.h"

#include <cstdio>

namespace moldex::test {
namespace {

std::string Octal(std::size_t value, int digits) {
  char text[24] = {};
  (void)std::snprintf(text, sizeof text, "%0*zo", digits, value);
  return text;
}

void Put(std::string& block, std::size_t offset, std::string_view bytes) {
  block.replace(offset, bytes.size(), bytes);
}

std::string Filled(std::string bytes) {
  bytes.resize((bytes.size() + kTarBlock - 1) / kTarBlock * kTarBlock);
  return bytes;
}

}  // namespace

void FixTarChecksum(std::string& archive, std::size_t offset, bool as_signed) {
  archive.replace(offset + kTarChecksumAt, 8, 8, ' ');
  int sum = 0;
  for (const char c : archive.substr(offset, kTarBlock))
    sum += as_signed ? static_cast<signed char>(c) : static_cast<unsigned char>(c);
  Put(archive, offset + kTarChecksumAt, Octal(static_cast<unsigned>(sum), 6) + '\0');
}

std::string EncodeTarItem(const TarItem& item) {
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

std::string BuildTar(const std::vector<TarItem>& items) {
  std::string archive;
  for (const TarItem& item : items)
    archive += EncodeTarItem(item);
  return archive + std::string(2 * kTarBlock, '\0');
}

std::string PaxRecord(std::string_view key, std::string_view value) {
  const std::string rest = ' ' + std::string(key) + '=' + std::string(value) + '\n';
  std::size_t length = rest.size();
  while (std::to_string(length).size() + rest.size() != length)
    ++length;
  return std::to_string(length) + rest;
}

TarItem PaxItem(const std::string& records, char type) { return {"PaxHeader/x", type, records}; }

TarItem GnuLongItem(std::string text, char type) {
  TarItem item{"././@LongLink", type, std::move(text) + '\0'};
  item.magic = kGnuMagic;
  return item;
}

std::string BinaryTarNumber(std::int64_t value, std::size_t bytes) {
  std::string field(bytes, value < 0 ? '\xFF' : '\0');
  for (std::size_t i = 0; i < 8 && i < bytes; ++i)
    field[bytes - 1 - i] = static_cast<char>(value >> 8 * i);
  field[0] = static_cast<char>(static_cast<unsigned char>(field[0]) | 0x80);
  return field;
}

}  // namespace moldex::test
