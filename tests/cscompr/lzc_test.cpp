// LZC both ways: against the compress utility and gzip, which read and write the same codes, and
// against streams made by hand. Every buffer is on the heap at its exact size, so that the
// sanitizer sees a step outside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cscompr/cscompr.h"
#include "cscompr/lzc_decoder.h"
#include "cscompr/lzc_encoder.h"
#include "support/temp_dir.h"

namespace cscompr {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Cut = std::function<std::size_t()>;  // the length of the next piece

constexpr std::size_t kHeader = 8;
constexpr unsigned kBlockMode = 0x80;
constexpr unsigned kClear = 256;

LzcEncoder encoder;  // one of each for all streams, so that each meets what the one before left
LzcDecoder decoder;

struct Result {
  std::int32_t code = 0;
  Bytes bytes;
  std::size_t read = 0;
  bool operator==(const Result&) const = default;
};

void PrintTo(const Result& result, std::ostream* out) {
  *out << "code " << result.code << ", " << result.bytes.size() << " bytes, read " << result.read;
}

Cut Always(std::size_t length) {
  return [length] { return length; };
}

Cut UpTo(std::size_t longest, unsigned seed) {
  return [longest, engine = std::mt19937(seed)]() mutable { return engine() % (longest + 1); };
}

const Cut kWhole = Always(std::size_t{1} << 19);

// Calls until the stream ends or fails, or all input is given and more is wanted.
Result Drive(const Bytes& input, const Cut& input_cut, const Cut& output_cut, std::size_t first_in,
             std::size_t first_out, const std::function<Outcome(const Buffers&, bool)>& call) {
  Result result;
  for (bool first = true;; first = false) {
    const std::size_t at_least = first ? first_in : 0;
    const std::size_t length =
        std::min(std::max(input_cut(), at_least), input.size() - result.read);
    const std::size_t room = std::max(output_cut(), first ? first_out : 0);
    const auto in = std::make_unique_for_overwrite<std::uint8_t[]>(length);
    const auto out = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    std::copy_n(input.data() + result.read, length, in.get());
    const Outcome outcome = call(
        {in.get(), static_cast<std::int32_t>(length), out.get(), static_cast<std::int32_t>(room)},
        first);
    result.code = outcome.code;
    result.read += static_cast<std::size_t>(outcome.bytes_read);
    result.bytes.insert(result.bytes.end(), out.get(), out.get() + outcome.bytes_written);
    if (outcome.code == kCsInputExhausted) {
      EXPECT_EQ(static_cast<std::size_t>(outcome.bytes_read), length);
      if (result.read == input.size()) return result;
    } else if (outcome.code != kCsOutputFull) {
      return result;
    }
  }
}

Result Compress(const Bytes& data, const Cut& input_cut = kWhole, const Cut& output_cut = kWhole) {
  return Drive(data, input_cut, output_cut, 0, kHeader, [&](const Buffers& buffers, bool first) {
    return first ? encoder.Start(static_cast<std::int32_t>(data.size()), buffers)
                 : encoder.Resume(buffers);
  });
}

Result Restore(const Bytes& stream, const Cut& input_cut = kWhole, const Cut& output_cut = kWhole) {
  return Drive(stream, input_cut, output_cut, kHeader, 0, [](const Buffers& buffers, bool first) {
    return first ? decoder.Start(buffers) : decoder.Resume(buffers);
  });
}

Bytes Header(std::size_t length, unsigned parameter) {
  Bytes header;
  for (unsigned i = 0; i < 4; ++i)
    header.push_back(static_cast<std::uint8_t>(length >> (8 * i)));
  header.insert(header.end(), {0x11, 0x1F, 0x9D, static_cast<std::uint8_t>(parameter)});
  return header;
}

Bytes Joined(Bytes front, const Bytes& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

Bytes Noise(std::size_t length, unsigned seed = 1) {
  std::mt19937 engine(seed);
  Bytes bytes(length);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(engine());
  return bytes;
}

// Few words in a random order: grows long strings, and new ones all the time.
Bytes Text(std::size_t length, unsigned seed = 1) {
  std::mt19937 engine(seed);
  Bytes bytes;
  while (bytes.size() < length) {
    const auto word = engine() % 300;
    for (unsigned i = 0; i <= word % 7; ++i) {
      bytes.push_back(static_cast<std::uint8_t>('a' + (word * (i + 3)) % 26));
    }
    bytes.push_back(' ');
  }
  bytes.resize(length);
  return bytes;
}

Bytes Mixed() { return Joined(Joined(Text(60000), Noise(50000)), Text(60000, 2)); }

std::vector<std::pair<std::string, Bytes>> Samples() {
  std::vector<std::pair<std::string, Bytes>> samples = {
      {"one byte", {0}},
      {"two bytes", {7, 7}},
      {"zeros", Bytes(100000)},
      {"text", Text(100000)},
      {"noise", Noise(80000)},
      {"text, noise, text", Mixed()},
      {"noise, zeros", Joined(Noise(60000), Bytes(40000))}};
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
    const std::string in = (dir_.Path() / "in").string();
    const std::string out = (dir_.Path() / "out").string();
    std::ofstream(in, std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()),
               static_cast<std::streamsize>(input.size()));
    EXPECT_EQ(std::system((command + " <" + in + " >" + out).c_str()), 0) << command;
    std::ifstream result(out, std::ios::binary);
    return {std::istreambuf_iterator<char>(result), {}};
  }

 private:
  moldex::test::TempDir dir_;
};

TEST_F(Tools, ReadWhatWeWrite) {
  for (const auto& [name, data] : Samples()) {
    const Result result = Compress(data);
    EXPECT_EQ(result.code, kCsEndOfStream) << name;
    const Bytes file(result.bytes.begin() + 5, result.bytes.end());  // begins 1F 9D 8D
    EXPECT_EQ(Run("gzip -dc", file), data) << name;
    EXPECT_EQ(Run("compress -d -c", file), data) << name;
  }
}

TEST_F(Tools, WriteWhatWeRead) {
  // What it writes with 9 bits it cannot read itself.
  for (const std::string bits : {"10", "12", "13", "14"}) {
    for (const auto& [name, data] : Samples()) {
      const Bytes file = Run("compress -f -c -b " + bits, data);
      const Bytes stream = Joined(Header(data.size(), file.at(2)), {file.begin() + 3, file.end()});
      EXPECT_EQ(Restore(stream), (Result{kCsEndOfStream, data, stream.size()})) << bits << name;
    }
  }
}

TEST_F(Tools, WriteTheSameBytesWhileNothingIsCleared) {
  for (const auto& sample : {Text(9000), Noise(9000), Bytes(500000), Text(1)}) {
    const Bytes file = Run("compress -f -c -b 13", sample);
    EXPECT_EQ(Compress(sample).bytes,
              Joined(Header(sample.size(), 0x8D), {file.begin() + 3, file.end()}));
  }
}

TEST(Lzc, ClearsAFullTableThatServesBadly) {
  // 13 bits for each of these bytes would be 243,750 bytes; new tables start at 9 bits.
  EXPECT_LT(Compress(Noise(150000)).bytes.size(), 230000U);
}

TEST(Lzc, RestoresEveryLengthAcrossGroupsWidthsAndClears) {
  const Bytes noise = Noise(40000);
  for (std::size_t length = 1; length <= noise.size(); length += length < 700 ? 1 : 397) {
    const Bytes data(noise.begin(), noise.begin() + static_cast<std::ptrdiff_t>(length));
    const Result compressed = Compress(data);
    ASSERT_EQ(compressed.code, kCsEndOfStream);
    ASSERT_EQ(Restore(compressed.bytes).bytes, data) << length;
  }
}

TEST(Lzc, CutsChangeNothing) {
  const std::vector<std::pair<Cut, Cut>> cuts = {
      {Always(1), Always(1)},     {Always(1), Always(300)},     {Always(300), Always(1)},
      {UpTo(40, 1), UpTo(40, 2)}, {UpTo(5000, 3), UpTo(70, 4)}, {UpTo(70, 5), UpTo(5000, 6)}};
  for (const auto& [name, data] : Samples()) {
    const Result whole = Compress(data);
    for (std::size_t i = 0; i < cuts.size(); ++i) {
      SCOPED_TRACE(name + ", cut " + std::to_string(i));
      ASSERT_EQ(Compress(data, cuts[i].first, cuts[i].second), whole);
      ASSERT_EQ(Restore(whole.bytes, cuts[i].first, cuts[i].second),
                (Result{kCsEndOfStream, data, whole.bytes.size()}));
    }
  }
}

TEST(Lzc, LeavesInputBehindTheLengthAloneAndEnds) {
  const Bytes data = Text(5000);
  const Bytes longer = Joined(data, Text(100));
  Bytes out(10000);
  const Buffers buffers{longer.data(), 5100, out.data(), 10000};
  const Outcome outcome = encoder.Start(5000, buffers);
  EXPECT_EQ(outcome.code, kCsEndOfStream);
  EXPECT_EQ(outcome.bytes_read, 5000);
  out.resize(static_cast<std::size_t>(outcome.bytes_written));
  EXPECT_EQ(out, Compress(data).bytes);
  EXPECT_EQ(encoder.Resume(buffers).code, kCsBadState);
}

TEST(Lzc, DeliversNoMoreThanTheLength) {
  const Bytes data(3000, 'r');
  Bytes stream = Joined(Compress(data).bytes, Noise(50));
  for (const std::size_t length : {0U, 1U, 77U, 2999U}) {
    stream = Joined(Header(length, 0x8D), {stream.begin() + kHeader, stream.end()});
    EXPECT_EQ(Restore(stream), (Result{kCsEndOfStream, Bytes(length, 'r'), stream.size()}));
  }
}

TEST(Lzc, WaitsForTheRestOfAStreamCutAnywhere) {
  const Bytes data = Text(600);
  const Bytes stream = Compress(data).bytes;
  for (std::size_t length = kHeader; length < stream.size(); ++length) {
    const Result result = Restore({stream.begin(), stream.begin() + static_cast<long>(length)});
    EXPECT_EQ(result.code, kCsInputExhausted);
    EXPECT_TRUE(std::equal(result.bytes.begin(), result.bytes.end(), data.begin()));
  }
}

TEST(Lzc, AcceptsWidthsOf9To14) {
  for (unsigned width = 0; width <= 31; ++width) {
    const Result result = Restore(Header(10, kBlockMode | width));
    EXPECT_EQ(result.code, width < 9 || width > 14 ? kCsBadCodeWidth : kCsInputExhausted) << width;
  }
}

// Groups of codes of 9 bits.
Bytes Packed(const std::vector<unsigned>& codes) {
  Bytes bytes((codes.size() + 7) / 8 * 9);
  for (std::size_t i = 0; i < codes.size() * 9; ++i) {
    const unsigned bit = codes[i / 9] >> (i % 9) & 1U;
    bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | bit << (i % 8));
  }
  return bytes;
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
    const Bytes stream = Joined(Header(1000, 0x8D), Packed(codes));
    const Result result = Restore(stream);
    EXPECT_EQ(result.code, kCsCodeChain) << codes.back();
    EXPECT_EQ(std::string(result.bytes.begin(), result.bytes.end()), delivered);
    EXPECT_EQ(Restore(stream, Always(1), Always(1)).bytes, result.bytes);
  }
}

TEST(Lzc, StartsAgainBehindAClearCode) {
  std::vector<unsigned> codes = {'a', 257, kClear, 511, 511, 511, 511, 511, 'b', 257};
  const Bytes stream = Joined(Header(6, 0x8D), Packed(codes));
  EXPECT_EQ(Restore(stream).bytes, (Bytes{'a', 'a', 'a', 'b', 'b', 'b'}));
}

TEST(Lzc, WithoutBlockModeCode256IsTheFirstString) {
  // The width grows behind 257 codes, so the last group of 9 bits holds one code and seven to skip.
  std::vector<unsigned> codes(257, 'x');
  codes[0] = 'a';
  codes[1] = 256;
  Bytes expected(258, 'x');
  std::fill_n(expected.begin(), 3, std::uint8_t{'a'});
  const Bytes last = {'y', 0};  // 10 bits wide
  const Bytes stream = Joined(Header(259, 13), Joined(Packed(codes), last));
  expected.push_back('y');
  EXPECT_EQ(Restore(stream, Always(1), kWhole).bytes, expected);
}

TEST(Lzc, EndsOnDamageWithinTheLength) {
  const Bytes stream = Compress(Mixed()).bytes;
  std::mt19937 engine(3);
  for (int round = 0; round < 300; ++round) {
    Bytes damaged = stream;
    for (int i = 0; i < 3; ++i) {
      damaged[kHeader + engine() % (stream.size() - kHeader)] = static_cast<std::uint8_t>(engine());
    }
    damaged[7] = static_cast<std::uint8_t>((round % 2 == 0 ? kBlockMode : 0) | (9 + engine() % 6));
    const Result result = Restore(damaged, UpTo(90000, 1), UpTo(90000, 2));
    EXPECT_TRUE(result.code == kCsEndOfStream || result.code == kCsInputExhausted ||
                result.code == kCsCodeChain);
    EXPECT_LE(result.bytes.size(), Mixed().size());
  }
}

}  // namespace
}  // namespace cscompr
