#include "oldformat/pax_records.h"

#include <charconv>

#include "oldformat/tar_header.h"

namespace moldex {
namespace {

// A whole number without sign; moves behind it.
std::optional<std::uint64_t> TakeNumber(std::string_view* text) {
  std::uint64_t value = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  if (error != std::errc()) return std::nullopt;
  text->remove_prefix(static_cast<std::size_t>(stop - text->data()));
  return value;
}

// Each reader is given a value that is not empty, and says whether it can be read.

bool ReadText(std::string_view value, std::optional<std::string>* to) {
  *to = value.substr(0, value.find('\0'));
  return true;
}

bool ReadSize(std::string_view value, std::optional<std::uint64_t>* to) {
  *to = TakeNumber(&value);
  return *to && **to <= kLargestTarSize && value.empty();
}

// Seconds with an optional fraction, rounded down.
bool ReadTime(std::string_view value, std::optional<std::int64_t>* to) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max() - 1;
  const bool negative = value.starts_with('-');
  if (negative) value.remove_prefix(1);
  const auto whole = TakeNumber(&value);
  if (!whole || *whole > kLargest) return false;
  bool fraction = false;
  if (value.starts_with('.')) {
    fraction = value.find_first_not_of('0', 1) != std::string_view::npos;
    value.remove_prefix(std::min(value.find_first_not_of("0123456789", 1), value.size()));
  }
  const auto seconds = static_cast<std::int64_t>(*whole);
  *to = negative ? -seconds - (fraction ? 1 : 0) : seconds;
  return value.empty();
}

template <typename Value>
bool Read(std::string_view value, bool (*reader)(std::string_view, std::optional<Value>*),
          std::optional<Value>* to) {
  to->reset();
  return value.empty() || reader(value, to);
}

bool AddRecord(std::string_view key, std::string_view value, PaxRecords* records) {
  if (key == "path") return Read(value, ReadText, &records->path);
  if (key == "linkpath") return Read(value, ReadText, &records->link_path);
  if (key == "size") return Read(value, ReadSize, &records->data_bytes);
  if (key == "mtime") return Read(value, ReadTime, &records->modified_seconds);
  if (!key.starts_with("GNU.sparse.")) return true;
  records->is_sparse = true;
  if (key.ends_with(".name")) return Read(value, ReadText, &records->sparse_name);
  if (key.ends_with("size")) return Read(value, ReadSize, &records->sparse_size_bytes);
  return true;
}

}  // namespace

bool AddPaxRecords(std::string_view text, PaxRecords* records) {
  while (!text.empty()) {
    std::string_view rest = text;
    const auto length = TakeNumber(&rest);
    const std::size_t digits = text.size() - rest.size();
    if (!length || *length > text.size() || *length < digits + 2) return false;
    std::string_view record = text.substr(digits, static_cast<std::size_t>(*length) - digits);
    if (!record.starts_with(' ') || !record.ends_with('\n')) return false;
    record = record.substr(1, record.size() - 2);
    const std::size_t equals = record.find('=');
    if (equals == std::string_view::npos) return false;
    if (!AddRecord(record.substr(0, equals), record.substr(equals + 1), records)) return false;
    text.remove_prefix(static_cast<std::size_t>(*length));
  }
  return true;
}

}  // namespace moldex
