// Entry names between the local code page and UTF-8.
//
// The local code page is that of the process's locale, fixed at the first conversion. Where that
// is UTF-8, or plain ASCII as in the "C" locale, names are taken to be UTF-8 already and only
// checked.
#ifndef MOLDEX_CODEPAGE_NAME_CONVERSION_H_
#define MOLDEX_CODEPAGE_NAME_CONVERSION_H_

#include <cstdint>

namespace moldex {

// Converts a zero-terminated local name. Writes at most `output_size` - 1 bytes, never half a
// character, and always a terminating zero, which `*written`, unless null, does not count. The
// output ends at the first character that cannot be converted. A caller that must know whether that
// happened converts back and compares.
void ConvertLocalToUtf8(char* output, std::int32_t output_size, std::int32_t* written,
                        const char* input);

// Converts zero-terminated UTF-8 to a zero-terminated local name of at most `output_size` - 1
// bytes. Input and output may be the same buffer. Returns 0; or non-zero when the input is not
// valid UTF-8, has no form in the local code page, or does not fit. The output is empty then.
int ConvertUtf8ToLocal(char* output, std::int32_t output_size, std::int32_t* written,
                       const char* input);

}  // namespace moldex

#endif  // MOLDEX_CODEPAGE_NAME_CONVERSION_H_
