// The LZH encoder against zlib, which takes the same matching decisions when it is tuned so, and
// against the rules of its interface.
#include "cscompr/lzh_encoder.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "cscompr/cscompr.h"
#include "cscompr/deflate_tokens.h"
#include "cscompr/huffman_codes.h"

namespace cscompr::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBlockTokens = 16383;

// Text-like: words of a small vocabulary, the frequent ones far more often.
Bytes Text(std::size_t size) {
  std::mt19937 random(1);
  std::vector<std::string> words(2000);
  for (auto& word : words) {
    for (auto letters = 1 + random() % 9; letters > 0; --letters) {
      word += static_cast<char>('a' + std::min(random() % 26, random() % 26));
    }
  }
  Bytes bytes;
  while (bytes.size() < size) {
    const auto& word = words[random() % (1 + random() % words.size())];
    bytes.insert(bytes.end(), word.begin(), word.end());
    bytes.push_back(random() % 12 == 0 ? '\n' : ' ');
  }
  bytes.resize(size);
  return bytes;
}

Bytes Noise(std::size_t size, unsigned symbols) {
  std::mt19937 random(symbols);
  Bytes bytes(size);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(random() % symbols);
  return bytes;
}

// Runs of all lengths, with few different bytes.
Bytes Runs(std::size_t size) {
  std::mt19937 random(3);
  Bytes bytes;
  while (bytes.size() < size) {
    bytes.insert(bytes.end(), random() % (random() % 4 == 0 ? 700 : 20),
                 static_cast<std::uint8_t>(random() % 3));
  }
  bytes.resize(size);
  return bytes;
}

Bytes Program(std::size_t size) {
  std::ifstream file("/proc/self/exe", std::ios::binary);
  Bytes bytes{std::istreambuf_iterator<char>(file), {}};
  bytes.resize(std::min(size, bytes.size()));
  return bytes;
}

// Few matches, but long ones: blocks of this end early.
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

// No three bytes occur twice; `size` up to 16,384.
Bytes NoMatches(std::size_t size) {
  Bytes bytes;
  for (unsigned i = 0; bytes.size() < size; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(i / 64));
    bytes.push_back(static_cast<std::uint8_t>(128 + i % 64));
  }
  bytes.resize(size);
  return bytes;
}

struct Corpus {
  const char* name;
  Bytes (*make)(std::size_t size);
};

constexpr std::array<Corpus, 8> kCorpora = {{
    {"text", Text},
    {"program", Program},
    {"runs", Runs},
    {"zeros", [](std::size_t size) { return Bytes(size); }},
    {"noise of 2 symbols", [](std::size_t size) { return Noise(size, 2); }},
    {"noise of 16 symbols", [](std::size_t size) { return Noise(size, 16); }},
    {"noise of 200 symbols", [](std::size_t size) { return Noise(size, 200); }},
    {"long matches", LongMatches},
}};

// One stream of an encoder, its calls fed with pieces of the given sizes. Every outcome is held
// against what the caller was promised.
class Session {
 public:
  Session(const Bytes& input, int level) : input_(input), level_(level) {}

  Bytes Compress(std::size_t input_piece, std::size_t output_piece) {
    Outcome outcome = Call(input_piece, std::max<std::size_t>(output_piece, kCsHeaderBytes), true);
    while (outcome.code != kCsEndOfStream && !::testing::Test::HasFailure()) {
      outcome = Call(outcome.code == kCsOutputFull && read_ > 0 ? input_piece / 2 : input_piece,
                     output_piece, false);
    }
    EXPECT_EQ(read_, input_.size());
    EXPECT_GT(outcome.bytes_written, 0) << "a last call that brought nothing";
    outcome = Call(input_piece, output_piece, false);
    EXPECT_EQ(outcome.code, kCsEndOfStream);
    EXPECT_EQ(outcome.bytes_written, 0);
    return output_;
  }

 private:
  Outcome Call(std::size_t input_piece, std::size_t output_piece, bool first) {
    // Offered in a buffer of its own, so that a read or write past it is caught. The stream's last
    // piece is offered with bytes behind it that are none of the stream's.
    Bytes piece(
        input_.begin() + static_cast<std::ptrdiff_t>(read_),
        input_.begin() + static_cast<std::ptrdiff_t>(std::min(read_ + input_piece, input_.size())));
    const std::size_t stream_bytes = piece.size();
    if (read_ + stream_bytes == input_.size()) piece.insert(piece.end(), 5, 'x');
    Bytes room(output_piece);
    const Buffers buffers{piece.data(), static_cast<std::int32_t>(piece.size()), room.data(),
                          static_cast<std::int32_t>(room.size())};
    const Outcome outcome =
        first ? encoder_->Start(static_cast<std::int32_t>(input_.size()), level_, buffers)
              : encoder_->Resume(buffers);
    const auto written = static_cast<std::size_t>(outcome.bytes_written);
    read_ += static_cast<std::size_t>(outcome.bytes_read);
    EXPECT_LE(static_cast<std::size_t>(outcome.bytes_read), stream_bytes);
    if (outcome.code == kCsOutputFull) {
      EXPECT_EQ(written, room.size());
    }
    if (outcome.code == kCsInputExhausted) {
      EXPECT_EQ(static_cast<std::size_t>(outcome.bytes_read), stream_bytes);
      EXPECT_LT(read_, input_.size());
    }
    output_.insert(output_.end(), room.begin(), room.begin() + outcome.bytes_written);
    return outcome;
  }

  const Bytes& input_;
  int level_;
  std::unique_ptr<LzhEncoder> encoder_ = std::make_unique<LzhEncoder>();
  std::size_t read_ = 0;
  Bytes output_;
};

Bytes Compress(const Bytes& input, int level) {
  return Session(input, level).Compress(input.size() + 1, 2 * input.size() + 1000);
}

Bytes ZlibCompress(const Bytes& input, int level) {
  static constexpr std::array<std::array<int, 3>, 9> tuning = {{{4, 4, 16},
                                                                {6, 8, 16},
                                                                {8, 16, 32},
                                                                {8, 32, 64},
                                                                {8, 64, 128},
                                                                {8, 128, 256},
                                                                {8, 128, 512},
                                                                {32, 258, 1024},
                                                                {32, 258, 4096}}};
  const auto [good, lazy, chain] = tuning[static_cast<std::size_t>(level) - 1];
  z_stream stream{};
  deflateInit2(&stream, 6, Z_DEFLATED, -14, 7, Z_DEFAULT_STRATEGY);
  deflateTune(&stream, good, lazy, 258, chain);
  Bytes output(2 * input.size() + 1000);
  stream.next_in = const_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = output.data();
  stream.avail_out = static_cast<uInt>(output.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  output.resize(stream.total_out);
  deflateEnd(&stream);
  return output;
}

// Inflates what follows the header in a window of 16 KB; exactly one zero byte must be left over.
Bytes ZlibRestore(const Bytes& stream, std::size_t size) {
  z_stream inflater{};
  inflateInit2(&inflater, -14);
  Bytes output(size + 1);
  inflater.next_in = const_cast<Bytef*>(stream.data() + kCsHeaderBytes);
  inflater.avail_in = static_cast<uInt>(stream.size() - kCsHeaderBytes);
  inflater.next_out = output.data();
  inflater.avail_out = static_cast<uInt>(output.size());
  EXPECT_EQ(inflate(&inflater, Z_FINISH), Z_STREAM_END);
  EXPECT_EQ(inflater.avail_in, 1U);
  EXPECT_EQ(stream.back(), 0);
  output.resize(inflater.total_out);
  inflateEnd(&inflater);
  return output;
}

TokenStream Parse(const Bytes& stream) {
  return ParseDeflate(std::span(stream).subspan(kCsHeaderBytes));
}

// Everything that holds for every stream.
void CheckStream(const Bytes& input, int level) {
  SCOPED_TRACE("level " + std::to_string(level) + ", size " + std::to_string(input.size()));
  const Bytes stream = Compress(input, level);
  ASSERT_EQ(ZlibRestore(stream, input.size()), input);
  const TokenStream parsed = Parse(stream);
  ASSERT_FALSE(parsed.HasStoredBlock());
  ASSERT_EQ(parsed.bytes_used, stream.size() - kCsHeaderBytes - 1);
  const TokenStream expected = ParseDeflate(ZlibCompress(input, level));
  if (expected.HasStoredBlock()) return;  // its tokens cannot be told
  ASSERT_TRUE(parsed.Tokens() == expected.Tokens());
}

TEST(LzhEncoder, TakesTheDecisionsOfZlibAtEveryLevel) {
  for (const Corpus& corpus : kCorpora) {
    SCOPED_TRACE(corpus.name);
    const Bytes input = corpus.make(150'000);
    for (int level = 1; level <= 9; ++level)
      CheckStream(input, level);
  }
}

TEST(LzhEncoder, TakesTheDecisionsOfZlibAtEverySmallSize) {
  for (const Corpus& corpus : kCorpora) {
    SCOPED_TRACE(corpus.name);
    const Bytes input = corpus.make(600);
    for (std::size_t size = 0; size <= 600; size += size < 300 ? 1 : 7) {
      CheckStream({input.begin(), input.begin() + static_cast<std::ptrdiff_t>(size)},
                  1 + static_cast<int>(size % 9));
    }
  }
}

TEST(LzhEncoder, TakesTheDecisionsOfZlibWhereTheWindowMoves) {
  constexpr std::array<std::size_t, 7> edges = {16122, 16384, 32506, 32768, 48890, 49152, 65536};
  for (const Corpus& corpus : kCorpora) {
    SCOPED_TRACE(corpus.name);
    const Bytes input = corpus.make(65536 + 300);
    for (const std::size_t edge : edges) {
      for (const int offset : {-262, -3, -1, 0, 1, 2, 261, 262, 263}) {
        const auto size = static_cast<std::ptrdiff_t>(edge) + offset;
        CheckStream({input.begin(), input.begin() + size}, 1 + (offset + 300) % 9);
      }
    }
  }
}

// A string whose only earlier copy lies as far back as a match may reach, and just where the
// window's upper half begins: moving the window makes it unreachable, so the match exists only
// while enough bytes follow to leave the window alone.
TEST(LzhEncoder, LosesTheFarthestCandidateWhenTheWindowMovesOverIt) {
  constexpr std::array<std::uint8_t, 6> marker = {251, 252, 253, 254, 255, 251};
  for (const std::size_t base : {std::size_t{0}, std::size_t{16384}}) {
    // Small bytes share no hash with the marker, so its copy stays the first candidate.
    Bytes input = Noise(base + 33500, 16);
    const std::size_t first = base + 16384;
    const std::size_t second = first + 16122;
    std::ranges::copy(marker, &input[first]);
    std::ranges::copy(marker, &input[second]);
    input[first - 1] = 16;
    input[second - 1] = 17;
    for (const std::size_t behind : {6U, 7U, 100U, 260U, 261U, 262U, 263U, 500U}) {
      const Bytes cut(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(second + behind));
      CheckStream(cut, 6);
      const auto tokens = Parse(Compress(cut, 6)).Tokens();
      const auto farthest = std::ranges::count_if(
          tokens, [](const Token& token) { return token.length >= 6 && token.value == 16122; });
      EXPECT_EQ(farthest, behind >= 262 ? 1 : 0) << behind;
    }
  }
}

// Below zlib's own block size there is one block, and its codes, its description and the choice
// between fixed and dynamic codes agree as well.
TEST(LzhEncoder, SendsOneBlockAsZlibDoes) {
  for (const Corpus& corpus : kCorpora) {
    for (const std::size_t size :
         {0U, 1U, 2U, 3U, 10U, 40U, 80U, 150U, 400U, 1000U, 2000U, 4000U}) {
      SCOPED_TRACE(corpus.name + (" " + std::to_string(size)));
      const Bytes input = corpus.make(size);
      const Bytes stream = Compress(input, 9);
      const Bytes expected = ZlibCompress(input, 9);
      if (ParseDeflate(expected).HasStoredBlock()) continue;
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), stream.begin() + kCsHeaderBytes,
                             stream.end() - 1));
    }
  }
}

TEST(LzhEncoder, NeverStoresWhatDoesNotCompress) { CheckStream(Noise(100'000, 256), 2); }

TEST(LzhEncoder, WritesAnEmptyStreamAsOneFixedBlock) {
  EXPECT_EQ(Compress({}, 7), (Bytes{0, 0, 0, 0, 0x12, 0x1F, 0x9D, 7, 0x03, 0x00, 0x00}));
}

TEST(LzhEncoder, GivesTheSameBytesHoweverTheCallsAreCut) {
  constexpr std::array<std::array<std::size_t, 2>, 7> cuts = {
      {{1, 1}, {1, 700}, {700, 1}, {7, 13}, {261, 300}, {16384, 4096}, {32768, 65536}}};
  for (const Corpus& corpus : kCorpora) {
    const Bytes input = corpus.make(70'000);
    for (const int level : {2, 6}) {
      const Bytes expected = Compress(input, level);
      for (const auto& [input_piece, output_piece] : cuts) {
        SCOPED_TRACE(corpus.name + (" in pieces of " + std::to_string(input_piece)) + ", " +
                     std::to_string(output_piece));
        EXPECT_TRUE(Session(input, level).Compress(input_piece, output_piece) == expected);
      }
      // The last byte delivered fills the buffer to the brim: the stream is complete all the same.
      EXPECT_TRUE(Session(input, level).Compress(input.size(), expected.size()) == expected);
    }
  }
}

TEST(LzhEncoder, StopsBehindAHeaderThatFillsTheOutput) {
  const auto encoder = std::make_unique<LzhEncoder>();
  const Bytes input(1000, 'a');
  Bytes output(100);
  Outcome outcome = encoder->Start(1000, 2, {input.data(), 1000, output.data(), 8});
  EXPECT_EQ(outcome.code, kCsOutputFull);
  EXPECT_EQ(outcome.bytes_read, 0);
  EXPECT_EQ(outcome.bytes_written, 8);
  EXPECT_EQ(Bytes(output.begin(), output.begin() + 8),
            (Bytes{0xE8, 0x03, 0, 0, 0x12, 0x1F, 0x9D, 2}));
  outcome = encoder->Resume({input.data(), 1000, output.data(), 100});
  EXPECT_EQ(outcome.code, kCsEndOfStream);
  EXPECT_EQ(outcome.bytes_read, 1000);
}

TEST(LzhEncoder, ReadsNothingWhileWhatItHoldsFillsTheOutput) {
  const auto encoder = std::make_unique<LzhEncoder>();
  const Bytes input = Noise(40'000, 200);
  Bytes output(100);
  Outcome outcome = encoder->Start(40'000, 2, {input.data(), 40'000, output.data(), 100});
  ASSERT_EQ(outcome.code, kCsOutputFull);
  const int read = outcome.bytes_read;
  ASSERT_LT(read, 40'000);
  outcome = encoder->Resume({input.data() + read, 40'000 - read, output.data(), 100});
  EXPECT_EQ(outcome.code, kCsOutputFull);
  EXPECT_EQ(outcome.bytes_read, 0);
  EXPECT_EQ(outcome.bytes_written, 100);
}

// The lengths of the blocks that the closing rules make of a sequence of tokens.
std::vector<std::size_t> ExpectedBlocks(const std::vector<Token>& tokens, bool closes_early) {
  std::vector<std::size_t> sizes{0};
  std::size_t matches = 0;
  std::size_t covered = 0;
  std::size_t bits = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const Token token = tokens[i];
    const std::size_t size = ++sizes.back();
    covered += token.length == 0 ? 1 : static_cast<std::size_t>(token.length);
    bits += 8;
    if (token.length > 0) {
      ++matches;
      bits += 5;
      for (int reach = 4; reach < token.value; reach *= 2)
        ++bits;
    }
    if (i + 1 == tokens.size() && token.length == 0) break;
    const bool pays = matches < size / 2 && bits / 8 < covered / 2;
    if (size < kBlockTokens && !(closes_early && size % 4096 == 0 && pays)) continue;
    sizes.push_back(0);
    matches = covered = bits = 0;
  }
  return sizes;
}

TEST(LzhEncoder, ClosesBlocksByTheirTokens) {
  bool some_early = false;
  for (const Corpus& corpus : kCorpora) {
    const Bytes input = corpus.make(600'000);
    for (const int level : {2, 3}) {
      SCOPED_TRACE(corpus.name + (" at level " + std::to_string(level)));
      const TokenStream parsed = Parse(Compress(input, level));
      std::vector<std::size_t> sizes;
      for (const Block& block : parsed.blocks)
        sizes.push_back(block.tokens.size());
      EXPECT_EQ(sizes, ExpectedBlocks(parsed.Tokens(), level >= 3));
      some_early = some_early || (level >= 3 && sizes.front() < kBlockTokens && sizes.size() > 1);
    }
  }
  EXPECT_TRUE(some_early);
}

TEST(LzhEncoder, EndsAFullBlockByWhatItsLastTokenIs) {
  const Bytes literals = NoMatches(kBlockTokens);
  ASSERT_EQ(Parse(Compress(literals, 2)).blocks.size(), 1U);
  EXPECT_EQ(Parse(Compress(literals, 2)).blocks[0].tokens.size(), kBlockTokens);

  Bytes with_match = NoMatches(kBlockTokens - 1);
  for (int i = 0; i < 4; ++i)
    with_match.push_back(with_match.end()[-4]);
  const TokenStream parsed = Parse(Compress(with_match, 2));
  ASSERT_EQ(parsed.blocks.size(), 2U);
  EXPECT_EQ(parsed.blocks[0].tokens.back(), (Token{4, 4}));
  EXPECT_TRUE(parsed.blocks[1].tokens.empty());
  EXPECT_EQ(parsed.blocks[1].type, 1);
}

// Fibonacci weights make the deepest tree there is; a lone symbol and none make the smallest.
TEST(HuffmanCodes, FillTheCodeSpaceWithinTheLimit) {
  std::vector<std::vector<std::uint32_t>> weights = {std::vector<std::uint32_t>(30),
                                                     std::vector<std::uint32_t>(30),
                                                     std::vector<std::uint32_t>(30)};
  weights[1][0] = 5;
  weights[2][17] = 5;
  weights.push_back({1, 1});
  while (weights.back().size() < 25) {
    weights.push_back(weights.back());
    weights.back().push_back(weights.back().end()[-1] + weights.back().end()[-2]);
  }
  for (const int max_bits : {7, 15}) {
    for (const auto& frequencies : weights) {
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
  }
}

}  // namespace
}  // namespace cscompr::test
