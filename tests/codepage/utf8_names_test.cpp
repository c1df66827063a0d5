// Names where the local code page is UTF-8, and the check of UTF-8 itself.
#include <gtest/gtest.h>
#include <iconv.h>
#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "base/utf8.h"
#include "codepage/code_page.h"
#include "codepage/name_conversion.h"
#include "support/temp_dir.h"

namespace moldex::test {
namespace {

// How far the system's converter gets.
std::size_t PrefixBySystem(iconv_t converter, std::string text) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char* in = text.data();
  std::size_t in_left = text.size();
  char output[256];
  char* out = output;
  std::size_t out_left = sizeof output;
  iconv(converter, &in, &in_left, &out, &out_left);
  return text.size() - in_left;
}

TEST(Utf8, PrefixesEndWhereTheSystemsConverterStops) {
  const iconv_t converter = iconv_open("UTF-32LE", "UTF-8");
  constexpr char kBytes[] =
      "a/\x7F\x80\x81\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4"
      "\xF5\xF8\xFC\xFE\xFF\x80\x80\xBF\xBF";
  std::mt19937 random(1);
  for (int i = 0; i < 300'000; ++i) {
    std::string text(random() % 9, '\0');
    for (char& c : text)
      c = kBytes[random() % (sizeof kBytes - 1)];
    ASSERT_EQ(ValidUtf8Prefix(text), PrefixBySystem(converter, text))
        << testing::PrintToString(text);
  }
  iconv_close(converter);
}

// A conversion into so many bytes: the text, which its length was said to be, and whether it
// failed.
std::pair<std::string, bool> Converted(bool to_local, const std::string& name, std::int32_t size) {
  std::vector<char> output(static_cast<std::size_t>(size), '#');
  std::int32_t written = -1;
  int failed = 0;
  if (to_local) failed = ConvertUtf8ToLocal(output.data(), size, &written, name.c_str());
  if (!to_local) ConvertLocalToUtf8(output.data(), size, &written, name.c_str());
  const std::string text = output.data();
  EXPECT_EQ(text.size(), static_cast<std::size_t>(written));
  return {text, failed != 0};
}

TEST(Utf8Names, EveryOutputSizeCutsBetweenCharacters) {
  const std::string name =
      "a\xC3\xA4"
      "b\xE2\x82\xAC\xF0\x9F\x98\x80z";
  const std::size_t ends[] = {0, 1, 3, 4, 7, 11, 12};
  for (std::int32_t size = 1; size <= 20; ++size) {
    std::size_t fits = 0;
    for (const std::size_t end : ends) {
      if (end < static_cast<std::size_t>(size)) fits = end;
    }
    EXPECT_EQ(Converted(false, name, size), std::pair(name.substr(0, fits), false)) << size;
    const bool whole = fits == name.size();
    EXPECT_EQ(Converted(true, name, size), std::pair(whole ? name : "", !whole)) << size;
  }
}

TEST(Utf8Names, InvalidNamesAreCutOneWayAndRefusedTheOther) {
  for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    const std::string name = "ok" + std::string(bad) + "rest";
    EXPECT_EQ(Converted(false, name, 50), std::pair(std::string("ok"), false));
    EXPECT_EQ(Converted(true, name, 50), std::pair(std::string(), true));
  }
}

// C libraries other than Debian's call the code set of the C locale so. A process keeps the code
// page of its first conversion, so this claims most when it runs alone, as under ctest.
TEST(Utf8Names, TheCodeSetAsciiMeansUtf8) {
  const TempDir folder;
  const std::string make = "cd '" + folder.Path().string() +
                           "' && zcat /usr/share/i18n/charmaps/ANSI_X3.4-1968.gz | "
                           "sed 's/^<code_set_name>.*/<code_set_name> ASCII/' >map && "
                           "localedef -c -i C -f ./map ./ascii >/dev/null 2>&1";
  if (std::system(make.c_str()) != 0) GTEST_SKIP() << "localedef cannot make a locale here";
  setenv("LOCPATH", folder.Path().c_str(), 1);
  ASSERT_NE(std::setlocale(LC_CTYPE, "ascii"), nullptr);
  ASSERT_STREQ(nl_langinfo(CODESET), "ASCII");
  EXPECT_TRUE(LocalIsUtf8());
}

}  // namespace
}  // namespace moldex::test
