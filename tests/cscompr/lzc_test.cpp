// LZC both ways: against the compress utility and gzip, which read and write the same codes, and
// against streams made by hand.
#include <zlib.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "cscompr/cscompr.h"
#include "cscompr/lzc/string_table.h"
#include "cscompr/stream_steps.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace cscompr::test {
namespace {

constexpr unsigned kBlockMode = 0x80;
constexpr unsigned kClear = 256;

Bytes Compress(const Bytes& data) { return test::Compress(data, kFirstLzc); }

Bytes LzcHeader(std::size_t length, unsigned parameter) { return Header(length, 0x11, parameter); }

Bytes Mixed() { return Joined(Joined(Text(60000), Noise(50000)), Runs(60000)); }

// Words whose place is the table's last one, so that all but one of them stand after it.
Bytes LastPlaces() {
  std::vector<Bytes> words;
  for (std::uint32_t number = 0; number < 26 * 26 * 26 * 26; ++number) {
    Bytes word;
    std::uint64_t value = 0;
    for (std::uint32_t rest = number; word.size() < 4; rest /= 26) {
      word.push_back(static_cast<std::uint8_t>('a' + rest % 26));
      value |= std::uint64_t{word.back()} << 8 * (word.size() - 1);
    }
    if (LzcStringTable::SlotOf(LzcStringTable::HashesOf(value), 4) == 0xFFFF) words.push_back(word);
  }
  EXPECT_GT(words.size(), 2);
  Bytes text;
  for (std::size_t i = 0; i < 3000; ++i)
    text = Joined(text, words[i * i % 101 % words.size()]);
  return text;
}

std::vector<std::pair<std::string, Bytes>> Samples() {
  std::vector<std::pair<std::string, Bytes>> samples = {
      {"one byte", {0}},
      {"two bytes", {7, 7}},
      {"zeros", Bytes(100000)},
      {"text", Text(100000)},
      {"noise", Noise(80000)},
      {"text, noise, runs", Mixed()},
      {"runs", Runs(100000)},
      {"last places", LastPlaces()},
      {"ratio that hardly rises", Noise(200000, 3)}};
  for (const std::size_t length : {3U, 4U, 20U, 300U}) {
    samples.emplace_back("run of " + std::to_string(length), Bytes(length, 'r'));
  }
  return samples;
}

// Passes `input` through a command; empty without the tool.
class Tools : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::system("gzip --version >/dev/null 2>&1 && compress -V >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "gzip or compress (Debian: ncompress) is not installed";
    }
  }

  Bytes Run(const std::string& command, const Bytes& input) const {
    const auto in = dir_.Path() / "in";
    const auto out = dir_.Path() / "out";
    moldex::test::WriteFile(in, {input.begin(), input.end()});
    EXPECT_EQ(std::system((command + " <" + in.string() + " >" + out.string()).c_str()), 0);
    const std::string result = moldex::test::ReadFile(out);
    return {result.begin(), result.end()};
  }

 private:
  moldex::test::TempDir dir_;
};

TEST_F(Tools, ReadWhatWeWrite) {
  for (const auto& [name, data] : Samples()) {
    const Bytes file = From(Compress(data), 5);  // begins 1F 9D 8D
    EXPECT_EQ(Run("gzip -dc", file), data) << name;
    EXPECT_EQ(Run("compress -d -c", file), data) << name;
  }
}

TEST_F(Tools, WriteWhatWeRead) {
  // With 9 bits it writes files that it cannot read itself.
  for (const std::string bits : {"10", "12", "13", "14"}) {
    for (const auto& [name, data] : Samples()) {
      const Bytes file = Run("compress -f -c -b " + bits, data);
      const Bytes stream = Joined(LzcHeader(data.size(), file.at(2)), From(file, 3));
      EXPECT_EQ(Restore(stream), (Result{kCsEndOfStream, data})) << bits << name;
    }
  }
}

TEST_F(Tools, WriteTheSameBytesWhileNothingIsCleared) {
  for (const auto& sample : {Text(9000), Noise(9000), Bytes(500000), Text(1)}) {
    const Bytes file = Run("compress -f -c -b 13", sample);
    EXPECT_EQ(Compress(sample), Joined(LzcHeader(sample.size(), 0x8D), From(file, 3)));
  }
}

// Whole groups of codes.
Bytes Packed(const std::vector<unsigned>& codes, unsigned width = 9) {
  Bytes bytes((codes.size() + 7) / 8 * width);
  for (std::size_t i = 0; i < codes.size() * width; ++i) {
    const unsigned bit = codes[i / width] >> (i % width) & 1U;
    bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | bit << (i % 8));
  }
  return bytes;
}

// The tools read any legal stream. That the longest strings are taken, and when the table is
// cleared, was compared with a plain coder once; the streams are recorded by their checksum.
TEST(Lzc, WritesTheStreamsThatWereRecorded) {
  uLong checksum = 0;
  for (const auto& [name, data] : Samples()) {
    const Bytes stream = Compress(data);
    checksum = crc32(checksum, stream.data(), static_cast<uInt>(stream.size()));
  }
  EXPECT_EQ(checksum, 0xFAE43979U);
}

TEST(Lzc, AcceptsWidthsOf9To14) {
  for (unsigned width = 0; width <= 31; ++width) {
    const Result result = Restore(LzcHeader(10, kBlockMode | width));
    EXPECT_EQ(result.code, width < 9 || width > 14 ? kCsBadCodeWidth : kCsInputExhausted) << width;
  }
}

TEST(Lzc, RefusesCodesThatHaveNoString) {
  struct Case {
    std::vector<unsigned> codes;
    std::string delivered;
  };
  const Case cases[] = {{{257}, ""},       {{kClear}, ""},
                        {{'a', 258}, "a"}, {{'a', 257, 259}, "aaa"},
                        {{'a', 511}, "a"}, {{'a', 'b', kClear, 0, 0, 0, 0, 0, 257}, "ab"}};
  for (const auto& [codes, delivered] : cases) {
    const Bytes stream = Joined(LzcHeader(1000, 0x8D), Packed(codes));
    const Result result = Restore(stream);
    EXPECT_EQ(result.code, kCsCodeChain) << codes.back();
    EXPECT_EQ(std::string(result.bytes.begin(), result.bytes.end()), delivered);
    EXPECT_EQ(Restore(stream, Always(1), Always(1)).bytes, result.bytes);
  }
}

TEST_F(Tools, ReadClearCodesAsWeDo) {
  const Bytes last = Packed({'b', 257, 'c', 'd', 'e', 'f', 'g', 'h'});
  const Bytes cleared = Packed({'a', 257, kClear, 511, 511, 511, 511, 511});
  for (const Bytes& codes :
       {Joined(cleared, last), Joined(Joined(cleared, Packed({kClear})), last)}) {
    const Bytes data = Restore(Joined(LzcHeader(12, 0x8D), codes), Always(1)).bytes;
    EXPECT_EQ(std::string(data.begin(), data.end()), "aaabbbcdefgh");
    for (const char* tool : {"gzip -dc", "compress -d -c"})
      EXPECT_EQ(Run(tool, Joined({0x1F, 0x9D, 0x8D}, codes)), data);
  }
}

TEST(Lzc, WithoutBlockModeCode256IsTheFirstString) {
  // The width grows after 257 codes, so the last group of 9 bits holds one code and seven to skip.
  std::vector<unsigned> codes(257, 'x');
  codes[0] = 'a';
  codes[1] = 256;
  const Bytes last = {'y', 0};  // 10 bits wide
  const Bytes stream = Joined(LzcHeader(259, 13), Joined(Packed(codes), last));
  const Bytes expected = Joined(Bytes(3, 'a'), Joined(Bytes(255, 'x'), {'y'}));
  EXPECT_EQ(Restore(stream, Always(1), kWhole).bytes, expected);
}

TEST(Lzc, EndsOnDamageWithinTheLength) {
  const Bytes stream = Compress(Mixed());
  std::mt19937 engine(3);
  for (int round = 0; round < 300; ++round) {
    Bytes damaged = stream;
    for (int i = 0; i < 3; ++i) {
      damaged[kCsHeaderBytes + engine() % (stream.size() - kCsHeaderBytes)] =
          static_cast<std::uint8_t>(engine());
    }
    damaged[7] = static_cast<std::uint8_t>((round % 2 == 0 ? kBlockMode : 0) | (9 + engine() % 6));
    const Result result = Restore(damaged, UpTo(90000, 1), UpTo(90000, 2));
    EXPECT_TRUE(result.code == kCsEndOfStream || result.code == kCsInputExhausted ||
                result.code == kCsCodeChain);
    EXPECT_LE(result.bytes.size(), Mixed().size());
  }
}

}  // namespace
}  // namespace cscompr::test
