// UTF-8 as RFC 3629 defines it: the shortest forms of all code points up to U+10FFFF except
// surrogates.
#ifndef MOLDEX_BASE_UTF8_H_
#define MOLDEX_BASE_UTF8_H_

#include <cstddef>
#include <string_view>

namespace moldex {

// Length in bytes of the sequence that `lead` begins: 1 to 4, or 0 if it begins none.
std::size_t Utf8Length(unsigned char lead);

constexpr bool ContinuesUtf8(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// A lead byte and as many continuation bytes as it calls for.
struct Utf8Sequence {
  std::size_t bytes = 0;  // 0 when the text does not begin with a sequence
  char32_t code = 0;      // may be one that is not allowed; see IsValid

  bool IsValid() const;
};

// The sequence at the start of a text that is not empty.
Utf8Sequence FirstUtf8Sequence(std::string_view text);

// Length of the longest prefix that is valid UTF-8.
std::size_t ValidUtf8Prefix(std::string_view text);

}  // namespace moldex

#endif  // MOLDEX_BASE_UTF8_H_
