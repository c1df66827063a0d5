// What pax records say of an entry: lines "LENGTH KEY=VALUE\n", the length that of the whole line.
#ifndef MOLDEX_OLDFORMAT_PAX_RECORDS_H_
#define MOLDEX_OLDFORMAT_PAX_RECORDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moldex {

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

// Adds what the text says. A record without value takes back what was said before; keys of others
// are passed over. False for text that breaks the format; what stands in front of that was added.
bool AddPaxRecords(std::string_view text, PaxRecords* records);

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_PAX_RECORDS_H_
