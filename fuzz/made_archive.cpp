#include "fuzz/made_archive.h"

#include <algorithm>
#include <array>

#include "archive/checksum.h"
#include "archive/entry_header.h"
#include "base/bytes.h"
#include "cscompr/cscompr.h"

namespace moldex::fuzz {
namespace {

std::uint8_t TakeByte(ByteSpan* input) {
  if (input->empty()) return 0;
  const std::uint8_t byte = input->front();
  *input = input->subspan(1);
  return byte;
}

std::string TakeText(ByteSpan* input) {
  const std::size_t length = std::min<std::size_t>(TakeByte(input), input->size());
  const std::string text(input->begin(), input->begin() + static_cast<std::ptrdiff_t>(length));
  *input = input->subspan(length);
  return text;
}

void Append(ByteSpan bytes, std::string* to) { to->append(bytes.begin(), bytes.end()); }

// One block with the whole content, then the checksum.
void AppendData(const std::string& content, std::string* archive) {
  std::array<std::uint8_t, 1024> block{'E', 'D'};
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
  const auto length = static_cast<std::int32_t>(content.size());
  std::int32_t read = 0, written = 0;
  Require(CsCompr(length, bytes, length, &block[6], block.size() - 6, kCsFirstCall | kCsLzh, &read,
                  &written) == kCsEndOfStream);
  PutU32(&block[2], static_cast<std::uint32_t>(written));
  Append(std::span(block).first(6 + static_cast<std::size_t>(written)), archive);
  PutU32(block.data(), UpdateChecksum(0, {bytes, content.size()}));
  Append(std::span(block).first(4), archive);
}

void AppendEntry(const MadeEntry& entry, std::string* archive) {
  const bool has_data = (entry.kind == 'f' || entry.kind == 's') && !entry.content.empty();
  EntryHeader header;
  header.type = entry.kind == 'd'   ? kTypeDirectory
                : entry.kind == 'l' ? kTypeLink
                : entry.kind == 's' ? kTypeShortcut
                                    : kTypeFile;
  const std::uint32_t kind = entry.kind == 'd' ? 0x4000 : entry.kind == 'f' ? 0x8000 : 0x1000;
  header.mode = kind | entry.permissions;
  header.set_size_bytes(has_data ? entry.content.size() : 0);
  const std::string user_data = entry.kind == 'l' ? entry.content : "";
  header.user_data_length = static_cast<std::uint16_t>(user_data.size());
  header.name_length = static_cast<std::uint16_t>(entry.name.size() + 1);
  std::array<std::uint8_t, kEntryHeaderBytes> bytes{};
  EncodeEntryHeader(header, bytes);
  Append(bytes, archive);
  *archive += entry.name + '\0' + user_data;
  if (has_data) AppendData(entry.content, archive);
}

}  // namespace

std::vector<MadeEntry> EntriesOf(ByteSpan input) {
  constexpr std::array<std::uint32_t, 8> kPermissions = {0644, 0755, 0,    0777,
                                                         0444, 0500, 0300, 07777};
  std::vector<MadeEntry> entries;
  while (!input.empty()) {
    const std::uint8_t what = TakeByte(&input);
    MadeEntry entry{"fdls"[what % 4], kPermissions.at(what / 4 % 8), TakeText(&input), ""};
    entry.content = TakeText(&input);
    entries.push_back(std::move(entry));
  }
  return entries;
}

std::string ArchiveOf(const std::vector<MadeEntry>& entries, bool long_names) {
  std::string archive = std::string("VUK") + (long_names ? '\0' : ' ') + "2.00";
  for (const MadeEntry& entry : entries)
    AppendEntry(entry, &archive);
  return archive;
}

}  // namespace moldex::fuzz
