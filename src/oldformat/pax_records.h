// Pax records, which describe an entry: lines "LENGTH KEY=VALUE\n", where the length is that of the
// whole line.
#ifndef MOLDEX_OLDFORMAT_PAX_RECORDS_H_
#define MOLDEX_OLDFORMAT_PAX_RECORDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moldex {

// The longest name or record that is taken, in bytes.
inline constexpr std::uint64_t kLongestTarRecord = 64 * 1024;

// Each field replaces the one in the entry's header. Names end at a zero byte, as in headers.
struct PaxRecords {
  std::optional<std::string> path;
  std::optional<std::string> link_path;
  std::optional<std::uint64_t> data_bytes;
  std::optional<std::int64_t> modified_seconds;
  // For a sparse file, which is stored as its parts.
  bool is_sparse = false;
  std::optional<std::string> sparse_name;
  std::optional<std::uint64_t> sparse_size_bytes;
};

// Parses records that arrive in pieces of any size. Records of unknown keys are passed over,
// however long they are. The others are kept one at a time.
class CPaxParser {
 public:
  // The records are added to `records`, which outlives the parser. A record without value takes
  // back an earlier one; a time that cannot be read is ignored.
  explicit CPaxParser(PaxRecords* records) : records_(records) {}

  // False once the text breaks the format, or a record that is to be kept is too long. The records
  // before that were added.
  bool Feed(std::string_view text);

  // Whether the text fed so far ends with a whole record.
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
