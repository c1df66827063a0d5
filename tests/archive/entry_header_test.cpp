// The fixed bytes in front of an entry, against a layout written by hand.
#include "archive/entry_header.h"

#include <gtest/gtest.h>

#include <array>

namespace moldex::test {
namespace {

using Bytes = std::array<std::uint8_t, kEntryHeaderBytes>;

// No byte occurs twice, so that none can be taken for another.
constexpr EntryHeader kHeader = {kTypeDirectory, 0x04030201, 0x14131211, 0x24232221, 0x34333231,
                                 0x44434241,     0x54535251, 0x6261,     0x7271};

constexpr Bytes kBytes = {'D',  'R',                                       //
                          0x01, 0x02, 0x03, 0x04,                          // mode
                          0x11, 0x12, 0x13, 0x14,                          // low half of the size
                          0,    0,    0,    0,                             //
                          0x21, 0x22, 0x23, 0x24,                          // high half of the size
                          0x31, 0x32, 0x33, 0x34, 0x41, 0x42, 0x43, 0x44,  // time
                          0x51, 0x52, 0x53, 0x54,                          // reserved
                          0x61, 0x62,                                      // user data
                          0x71, 0x72};                                     // name

TEST(EntryHeaderBytes, AreWrittenInTheirPlaces) {
  Bytes bytes;
  bytes.fill(0xEE);
  EncodeEntryHeader(kHeader, bytes);
  EXPECT_EQ(bytes, kBytes);
}

TEST(EntryHeaderBytes, AreReadFromTheirPlacesAndTheZeroWordIsNot) {
  Bytes bytes = kBytes;
  bytes[10] = 0xFF;
  for (const bool long_names : {false, true}) {
    const EntryHeader header = DecodeEntryHeader(bytes, long_names);
    EXPECT_EQ(header.time_high, long_names ? kHeader.time_high : 0u);
    EXPECT_EQ(header.size_bytes(), 0x2423222114131211u);
    EntryHeader again = header;
    again.time_high = kHeader.time_high;
    Bytes encoded;
    EncodeEntryHeader(again, encoded);
    EXPECT_EQ(encoded, kBytes);
  }
}

}  // namespace
}  // namespace moldex::test
