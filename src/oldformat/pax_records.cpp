#include "oldformat/pax_records.h"

#include <algorithm>
#include <charconv>

#include "oldformat/tar_header.h"

namespace moldex {
namespace {

// A whole number without sign; moves `text` past it.
std::optional<std::uint64_t> TakeNumber(std::string_view* text) {
  std::uint64_t value = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  if (error != std::errc()) return std::nullopt;
  text->remove_prefix(static_cast<std::size_t>(stop - text->data()));
  return value;
}

// Each reader gets a value that is not empty and returns whether it could read it.

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

constexpr std::string_view kSparse = "GNU.sparse.";

bool IsUsed(std::string_view key) {
  return key == "path" || key == "linkpath" || key == "size" || key == "mtime" ||
         (key.starts_with(kSparse) && (key.ends_with(".name") || key.ends_with("size")));
}

// False for a size that cannot be read: the next header could not be found then.
bool AddRecord(std::string_view key, std::string_view value, PaxRecords* records) {
  if (key == "path") return Read(value, ReadText, &records->path);
  if (key == "linkpath") return Read(value, ReadText, &records->link_path);
  if (key == "size") return Read(value, ReadSize, &records->data_bytes);
  if (key == "mtime") {
    const auto before = records->modified_seconds;
    if (!Read(value, ReadTime, &records->modified_seconds)) records->modified_seconds = before;
    return true;
  }
  if (!key.starts_with(kSparse)) return true;
  records->is_sparse = true;
  if (key.ends_with(".name")) return Read(value, ReadText, &records->sparse_name);
  if (key.ends_with("size")) return Read(value, ReadSize, &records->sparse_size_bytes);
  return true;
}

}  // namespace

bool CPaxParser::Feed(std::string_view text) {
  while (!text.empty() && !broken_)
    broken_ = !TakePart(&text);
  return !broken_;
}

bool CPaxParser::TakePart(std::string_view* text) {
  switch (part_) {
    case Part::kLength:
      return TakeLength(text);
    case Part::kKey:
      return TakeKey(text);
    case Part::kValue:
      return TakeValue(text);
  }
  return false;
}

// Reads up to the blank.
bool CPaxParser::TakeLength(std::string_view* text) {
  constexpr std::size_t kMostDigits = 20;
  const char next = text->front();
  text->remove_prefix(1);
  if (next != ' ') {
    length_text_ += next;
    return length_text_.size() <= kMostDigits;
  }
  std::string_view digits = length_text_;
  const auto length = TakeNumber(&digits);
  const std::size_t taken = length_text_.size() + 1;
  if (!length || !digits.empty() || *length <= taken) return false;
  length_text_.clear();
  length_bytes_ = *length;
  left_bytes_ = *length - taken;
  key_.clear();
  value_.clear();
  part_ = Part::kKey;
  return true;
}

// Reads up to the "=", which has to come before the end.
bool CPaxParser::TakeKey(std::string_view* text) {
  const std::string_view here = text->substr(0, text->find('='));
  const bool is_whole = here.size() < text->size();
  const std::size_t taken = here.size() + (is_whole ? 1 : 0);
  if (taken >= left_bytes_ || !Keep(here, &key_)) return false;
  text->remove_prefix(taken);
  left_bytes_ -= taken;
  if (is_whole) part_ = Part::kValue;
  return true;
}

// Reads up to the end of the line, where the record ends.
bool CPaxParser::TakeValue(std::string_view* text) {
  const auto here = static_cast<std::size_t>(std::min<std::uint64_t>(text->size(), left_bytes_));
  const bool is_last = here == left_bytes_;
  const std::string_view value = text->substr(0, here - (is_last ? 1 : 0));
  if (IsUsed(key_) && !Keep(value, &value_)) return false;
  if (is_last && (*text)[here - 1] != '\n') return false;
  text->remove_prefix(here);
  left_bytes_ -= here;
  if (!is_last) return true;
  part_ = Part::kLength;
  return AddRecord(key_, value_, records_);
}

// False for a record that is longer than is kept.
bool CPaxParser::Keep(std::string_view bytes, std::string* in) {
  in->append(bytes.substr(0, kLongestTarRecord));
  if (in->size() <= kLongestTarRecord) return true;
  too_long_bytes_ = length_bytes_;
  return false;
}

}  // namespace moldex
