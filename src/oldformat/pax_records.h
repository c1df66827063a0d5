// What pax records say of an entry: lines "LENGTH KEY=VALUE\n", the length that of the whole line.
#ifndef MOLDEX_OLDFORMAT_PAX_RECORDS_H_
#define MOLDEX_OLDFORMAT_PAX_RECORDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moldex {

// The longest name or record that is taken, in bytes.
inline constexpr std::uint64_t kLongestTarRecord = 64 * 1024;

// Each replaces what the entry's header says. Names end at a zero byte, as those in headers do.
struct PaxRecords {
  std::optional<std::string> path;
  std::optional<std::string> link_path;
  std::optional<std::uint64_t> data_bytes;
  std::optional<std::int64_t> modified_seconds;
  // Of a file that is stored as its parts: its name and size, or that it is one.
  bool is_sparse = false;
  std::optional<std::string> sparse_name;
  std::optional<std::uint64_t> sparse_size_bytes;
};

// Takes records that arrive in pieces of any size. Those of keys that nobody here reads are passed
// over, however long they are; the others are kept one at a time.
class CPaxParser {
 public:
  // The records are added to `records`, which must outlive the parser. One without value takes back
  // what was said before; a time that cannot be read says nothing.
  explicit CPaxParser(PaxRecords* records) : records_(records) {}

  // False once the text breaks the format, or a record that counts is too long; what stood in front
  // of that was added.
  bool Take(std::string_view text);

  // Whether everything taken so far is whole records.
  bool AtRecordEnd() const { return part_ == Part::kLength && length_text_.empty(); }

  // The length of the record that was too long; 0 if none was.
  std::uint64_t too_long_bytes() const { return too_long_bytes_; }

 private:
  enum class Part { kLength, kKey, kValue };

  bool TakePart(std::string_view* text);
  bool TakeLength(std::string_view* text);
  bool TakeKey(std::string_view* text);
  bool TakeValue(std::string_view* text);
  bool Keep(std::string_view bytes, std::string* in);

  PaxRecords* records_;
  Part part_ = Part::kLength;
  std::string length_text_;
  std::uint64_t length_bytes_ = 0;
  std::uint64_t left_bytes_ = 0;  // of the record
  std::string key_;
  std::string value_;
  std::uint64_t too_long_bytes_ = 0;
  bool broken_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_PAX_RECORDS_H_
