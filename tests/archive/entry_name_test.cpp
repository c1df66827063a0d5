// Names between the program and the archive, where local names are UTF-8.
#include "archive/entry_name.h"

#include <gtest/gtest.h>

#include <string>

#include "report/except.h"

namespace moldex::test {
namespace {

std::string FromStored(const std::string& stored) {
  return NameFromUtf8({reinterpret_cast<const std::uint8_t*>(stored.data()), stored.size()});
}

std::string Repeated(const char* text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i)
    result += text;
  return result;
}

TEST(EntryName, GoesIntoTheArchiveAndBackUpToTheLongest) {
  const std::string names[] = {"",
                               "a",
                               "d/\xC3\xA4/\xE6\x97\xA5",
                               std::string(260, 'n'),
                               Repeated("\xC3\xA4", 130),
                               Repeated("\xF0\x9F\x98\x80", 65)};
  for (const std::string& name : names) {
    EXPECT_EQ(NameToUtf8(name), name);
    EXPECT_EQ(FromStored(name + '\0'), name);
  }
  EXPECT_EQ(NameToUtf8(std::string(261, 'n')).size(), 261u)
      << "converted whole, to be refused whole";
}

TEST(EntryName, EndsAtItsFirstZero) {
  EXPECT_EQ(FromStored(std::string("ab\0cd\0", 6)), "ab");
  EXPECT_EQ(FromStored(std::string("\0\xFF\0", 3)), "");
}

TEST(EntryName, IsRefusedWhenItIsNoUtf8) {
  for (const char* name : {"\xFF", "a\x80", "\xC3", "\xED\xA0\x80"}) {
    EXPECT_THROW(NameToUtf8(name), CConversionExcept);
    EXPECT_THROW(FromStored(std::string(name) + '\0'), CConversionExcept);
  }
}

}  // namespace
}  // namespace moldex::test
