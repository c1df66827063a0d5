// The LZH encoder against zlib, which takes the same matching decisions when it is tuned so.
#include <algorithm>
#include <array>
#include <functional>
#include <span>

#include "cscompr/cscompr.h"
#include "cscompr/huffman/codes.h"
#include "cscompr/stream_steps.h"
#include "cscompr/zlib_streams.h"

namespace cscompr::test {
namespace {

constexpr std::size_t kBlockTokens = 16383;

// Few matches, but long ones: their blocks end early.
Bytes LongMatches(std::size_t size) {
  std::mt19937 random(4);
  const Bytes phrase = Noise(200, 256);
  Bytes bytes;
  while (bytes.size() < size) {
    for (int i = 0; i < 4; ++i)
      bytes.push_back(static_cast<std::uint8_t>(random()));
    bytes.insert(bytes.end(), phrase.begin(), phrase.end());
  }
  bytes.resize(size);
  return bytes;
}

// Nothing but two bytes that alternate is a match, so one distance, of the second symbol, is used.
Bytes OneDistance() {
  Bytes bytes;
  for (unsigned literal = 3; literal < 256; ++literal) {
    bytes.push_back(0);
    bytes.push_back(static_cast<std::uint8_t>(literal));
  }
  for (int i = 0; i < 500; ++i)
    bytes.push_back(i % 2 == 0 ? 1 : 2);
  return bytes;
}

struct Corpus {
  const char* name;
  std::function<Bytes(std::size_t)> make;
};

const Corpus kCorpora[] = {
    {"text", Text},
    {"runs", Runs},
    {"zeros", [](std::size_t size) { return Bytes(size); }},
    {"noise of 2 symbols", [](std::size_t size) { return Noise(size, 2); }},
    {"noise of 16 symbols", [](std::size_t size) { return Noise(size, 16); }},
    {"noise of 200 symbols", [](std::size_t size) { return Noise(size, 200); }},
    {"long matches", LongMatches},
};

Bytes Compress(const Bytes& input, int level) { return test::Compress(input, FirstLzh(level)); }

Bytes ZlibCompress(const Bytes& input, int level) {
  static constexpr std::array<int, 3> kTuning[] = {{4, 4, 16},    {6, 8, 16},      {8, 16, 32},
                                                   {8, 32, 64},   {8, 64, 128},    {8, 128, 256},
                                                   {8, 128, 512}, {32, 258, 1024}, {32, 258, 4096}};
  return ZlibDeflate(input, {6, Z_DEFAULT_STRATEGY, -14, 7, kTuning[level - 1]});
}

bool IsOneBlock(const Bytes& deflated) { return (deflated.at(0) & 1) != 0; }
bool IsStored(const Bytes& deflated) { return (deflated.at(0) >> 1 & 3) == 0; }

// Streams are read by zlib and, where each of both sends one block, are what zlib sends. All others
// were compared with zlib's token by token once; what they were then is recorded as a checksum.
class LzhEncoder : public ::testing::Test {
 protected:
  void Check(const Bytes& input, int level) {
    SCOPED_TRACE("level " + std::to_string(level) + ", size " + std::to_string(input.size()));
    const Bytes stream = Compress(input, level);
    const Bytes deflated = From(stream, kCsHeaderBytes);
    checksum_ = crc32(checksum_, deflated.data(), static_cast<uInt>(deflated.size()));
    const Result inflated = ZlibInflate(stream, input.size() + 1, -14);
    ASSERT_EQ(inflated, (Result{Z_STREAM_END, input}));
    ASSERT_EQ(inflated.read, deflated.size() - 1);
    ASSERT_EQ(deflated.back(), 0);
    const Bytes expected = Joined(ZlibCompress(input, level), {0});
    if (!IsOneBlock(expected) || !IsOneBlock(deflated) || IsStored(expected)) return;
    ASSERT_TRUE(deflated == expected);
    ++as_zlib_;
  }

  uLong checksum_ = 0;
  int as_zlib_ = 0;
};

TEST_F(LzhEncoder, TakesTheDecisionsOfZlibAtEveryLevel) {
  for (const Corpus& corpus : kCorpora) {
    SCOPED_TRACE(corpus.name);
    const Bytes input = corpus.make(150'000);
    for (int level = 1; level <= 9; ++level) {
      Check(input, level);
      Check(Front(input, 4000), level);
    }
    for (std::size_t size = 0; size <= 600; size += size < 300 ? 1 : 7)
      Check(Front(input, size), 1 + static_cast<int>(size % 9));
  }
  EXPECT_GT(as_zlib_, 2000);
  EXPECT_EQ(checksum_, 0x1845AB79U);
  as_zlib_ = 0;
  Check(OneDistance(), 6);
  EXPECT_EQ(as_zlib_, 1);
}

TEST_F(LzhEncoder, MovesTheWindowAndEndsBlocksAsRecorded) {
  for (const Corpus& corpus : kCorpora) {
    SCOPED_TRACE(corpus.name);
    const Bytes input = corpus.make(65536 + 300);
    for (const unsigned edge : {16122U, 16384U, 32506U, 32768U, 48890U, 49152U, 65536U}) {
      for (const int offset : {-262, -3, -1, 0, 1, 2, 261, 262, 263})
        Check(Front(input, edge + static_cast<unsigned>(offset)), 1 + (offset + 300) % 9);
    }
    for (const int level : {2, 3})
      Check(corpus.make(600'000), level);
  }
  // A full block that ends with a literal, and one that ends with a match.
  for (const std::size_t size : {kBlockTokens, kBlockTokens - 1}) {
    Bytes input = NoMatches(size);
    for (int i = 0; i < 4 && size < kBlockTokens; ++i)
      input.push_back(input.end()[-4]);
    for (const int level : {2, 3})
      Check(input, level);
  }
  EXPECT_EQ(checksum_, 0x0D3C2594U);
}

// A string whose only earlier copy lies as far back as a match may reach, and just where the
// window's upper half begins: moving the window makes it unreachable, so the match exists only
// while enough bytes follow to leave the window alone.
TEST_F(LzhEncoder, LosesTheFarthestCandidateWhenTheWindowMovesOverIt) {
  constexpr std::array<std::uint8_t, 6> kMarker = {251, 252, 253, 254, 255, 251};
  for (const std::size_t base : {std::size_t{0}, std::size_t{16384}}) {
    // Small bytes share no hash with the marker, so its copy stays the first candidate.
    Bytes input = Noise(base + 33500, 16);
    const std::size_t first = base + 16384;
    const std::size_t second = first + 16122;
    std::ranges::copy(kMarker, &input[first]);
    std::ranges::copy(kMarker, &input[second]);
    input[first - 1] = 16;
    input[second - 1] = 17;
    for (const std::size_t after : {6U, 7U, 100U, 260U, 261U, 262U, 263U, 500U})
      Check(Front(input, second + after), 6);
    EXPECT_EQ(test::Compress(input, FirstLzh(6), Always(32767)), Compress(input, 6));
  }
  EXPECT_EQ(checksum_, 0xF147927EU);
}

// In bytes that hardly repeat, the only copy stands about as far back as a match may reach, and
// strings that share no more than the hash of its first three bytes stand between.
TEST_F(LzhEncoder, FindsFarCopiesInNoiseBehindStringsOfTheSameHash) {
  const Bytes noise = Noise(17'300, 100);
  for (unsigned trial = 0; trial < 12; ++trial) {
    for (unsigned decoys = 0; decoys < 4; ++decoys) {
      for (const std::size_t distance : {16'121U, 16'122U, 16'123U}) {
        Bytes input = noise;
        const std::array<std::uint8_t, 6> marker = {
            200, static_cast<std::uint8_t>(201 + trial), 251, 252, 253, 254};
        std::ranges::copy(marker, &input[1000]);
        std::ranges::copy(marker, &input[1000 + distance]);
        for (unsigned i = 1; i <= decoys; ++i) {
          std::ranges::copy(std::span(marker).first(3), &input[1000 + 100 * i]);
          input[1000 + 100 * i] = static_cast<std::uint8_t>(200 + 16 * i);
        }
        Check(input, std::array{1, 2, 3, 6}.at((trial + decoys) % 4));
      }
    }
  }
  EXPECT_EQ(checksum_, 0xF0B2F0C6U);
}

TEST_F(LzhEncoder, NeverStoresAndWritesAnEmptyStreamAsOneFixedBlock) {
  Check(Noise(100'000, 256), 2);
  EXPECT_EQ(checksum_, 0xD1A9E343U);
  EXPECT_EQ(Compress({}, 7), (Bytes{0, 0, 0, 0, 0x12, 0x1F, 0x9D, 7, 0x03, 0x00, 0x00}));
}

// Fibonacci weights make the deepest tree there is; a lone symbol makes the smallest.
TEST(HuffmanCodes, FillTheCodeSpaceWithinTheLimit) {
  std::vector<std::uint32_t> frequencies = {0, 0, 5};
  while (frequencies.size() < 28) {
    for (const int max_bits : {7, 15}) {
      std::vector<std::uint8_t> lengths(frequencies.size(), 99);
      BuildCodeLengths(frequencies, max_bits, lengths);
      unsigned space = 0;
      for (std::size_t i = 0; i < lengths.size(); ++i) {
        EXPECT_LE(lengths[i], max_bits);
        EXPECT_TRUE(lengths[i] > 0 || frequencies[i] == 0);
        if (lengths[i] > 0) space += 1U << (max_bits - lengths[i]);
      }
      EXPECT_EQ(space, 1U << max_bits) << frequencies.size();
    }
    frequencies.push_back(frequencies.end()[-1] + frequencies.end()[-2]);
  }
}

}  // namespace
}  // namespace cscompr::test
