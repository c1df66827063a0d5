// Names where the local code page is ISO 8859-1: a byte is the code point of that number.
//
// The locale is made for the test. Where its sources are missing (Debian keeps them in the package
// "locales"), the tests are skipped.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "codepage/code_page.h"
#include "codepage/name_conversion.h"
#include "support/temp_dir.h"

namespace moldex::test {
namespace {

// Makes the locale in a folder of its own and switches the process to it, once for all tests.
bool UseLatin1() {
  static const TempDir folder;
  const std::string name = folder.Path().string() + "/en_US.ISO-8859-1";
  const std::string command = "localedef -i en_US -f ISO-8859-1 " + name + " >/dev/null 2>&1";
  const bool made = std::system(command.c_str()) == 0;
  setenv("LOCPATH", folder.Path().c_str(), 1);
  return made && std::setlocale(LC_ALL, "en_US.ISO-8859-1") != nullptr;
}

class Latin1Names : public testing::Test {
 protected:
  void SetUp() override {
    static const bool in_use = UseLatin1();
    if (!in_use) GTEST_SKIP() << "localedef cannot make a locale of ISO 8859-1 here";
    ASSERT_FALSE(LocalIsUtf8());
  }

  // The output of a conversion into so many bytes; "failed" when it says so and writes nothing.
  static std::string Converted(bool to_local, const std::string& name, std::int32_t size) {
    std::string output(static_cast<std::size_t>(size), '#');
    std::int32_t written = -1;
    int failed = 0;
    if (to_local) failed = ConvertUtf8ToLocal(output.data(), size, &written, name.c_str());
    if (!to_local) ConvertLocalToUtf8(output.data(), size, &written, name.c_str());
    EXPECT_EQ(output.find('\0'), static_cast<std::size_t>(written));
    EXPECT_TRUE(failed == 0 || written == 0);
    return failed == 0 ? output.substr(0, output.find('\0')) : "failed";
  }
};

TEST_F(Latin1Names, EveryByteGoesToUtf8AndBack) {
  std::string all;
  for (unsigned byte = 1; byte < 0x100; ++byte) {
    const std::string local(1, static_cast<char>(byte));
    std::string utf8 = local;
    if (byte >= 0x80) {
      utf8 = {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
    }
    EXPECT_EQ(Converted(false, local, 10), utf8) << byte;
    EXPECT_EQ(Converted(true, utf8, 10), local) << byte;
    all += local;
  }
  EXPECT_EQ(Converted(true, Converted(false, all, 1000), 1000), all);
}

TEST_F(Latin1Names, CharactersThatTheCodePageLacksAreRefused) {
  for (const char* utf8 : {"\xC4\x80", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "a\xCC\x88"}) {
    EXPECT_EQ(Converted(true, utf8, 50), "failed") << utf8;
    EXPECT_EQ(Converted(true, std::string("abc") + utf8 + "def", 50), "failed") << utf8;
  }
}

TEST_F(Latin1Names, OutputIsCutBetweenCharacters) {
  const char* const cut[] = {"", "a", "a", "a\xC3\xA4", "a\xC3\xA4", "a\xC3\xA4\xC3\xB6"};
  for (std::int32_t size = 1; size <= 6; ++size) {
    EXPECT_EQ(Converted(false, "a\xE4\xF6", size), cut[size - 1]) << size;
    EXPECT_EQ(Converted(true, "a\xC3\xA4\xC3\xB6", size), size > 3 ? "a\xE4\xF6" : "failed")
        << size;
  }
}

TEST_F(Latin1Names, InputAndOutputMayBeOneBuffer) {
  char name[] = "\xC3\xA4-\xC3\xB6-\xC3\xBC";
  std::int32_t written = 0;
  EXPECT_EQ(ConvertUtf8ToLocal(name, sizeof name, &written, name), 0);
  EXPECT_STREQ(name, "\xE4-\xF6-\xFC");
  EXPECT_EQ(written, 5);
}

}  // namespace
}  // namespace moldex::test
