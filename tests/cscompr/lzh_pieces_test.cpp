// Streams that are compressed in pieces, against the encoder that takes them as a whole.
#include <memory>
#include <span>

#include "cscompr/lzh/piece_coder.h"
#include "cscompr/lzh/piece_joiner.h"
#include "cscompr/lzh/piece_matcher.h"
#include "cscompr/stream_encoder.h"
#include "cscompr/stream_steps.h"

namespace cscompr::test {
namespace {

// A stream, and how much of it was delivered after each step of its input.
struct Delivered {
  Bytes stream;
  std::vector<std::size_t> after_step;
  bool operator==(const Delivered&) const = default;
};

Delivered AsAWhole(const Bytes& data, int level) {
  StreamEncoder encoder;
  Delivered whole{Bytes(data.size() * 2 + 100), {}};
  const std::span left(whole.stream);
  std::size_t read = 0;
  std::size_t written = 0;
  std::int32_t option = FirstLzh(level);
  do {
    const auto step = std::min<std::size_t>(data.size() - read, kLzhStepBytes);
    const Outcome outcome =
        encoder.Compress(static_cast<std::int32_t>(data.size()),
                         {data.data() + read, static_cast<std::int32_t>(step),
                          left.data() + written, static_cast<std::int32_t>(left.size() - written)},
                         std::exchange(option, 0));
    read += step;
    whole.after_step.push_back(written += static_cast<std::size_t>(outcome.bytes_written));
  } while (read < data.size());
  whole.stream.resize(written);
  return whole;
}

class LzhPieces : public ::testing::Test {
 protected:
  // As helpers and one joiner would do it, with memory of just the size that is asked for.
  Delivered InPieces(const Bytes& data, int level, std::uint32_t piece_bytes) {
    const LzhStream stream{level, static_cast<std::uint32_t>(data.size())};
    joiner_->Start(stream);
    Delivered made;
    std::uint32_t begin = 0;
    do {
      const std::uint32_t length = std::min(piece_bytes, stream.length - begin);
      const std::span bytes = std::span(data).subspan(begin, length);
      const Bytes copy(bytes.begin(), bytes.end());
      const std::uint32_t history = begin > 0 ? kLzhHistoryBytes : 0;
      const Bytes before(data.data() + begin - history, data.data() + begin);
      AddPiece({stream, begin, before, copy, knows_tokens_ ? joiner_->TokenBegin() : 0}, made);
      begin += length;
    } while (begin < stream.length);
    return made;
  }

  void Check(const Bytes& data, int level) {
    const Delivered whole = AsAWhole(data, level);
    for (const std::uint32_t steps : {1U, 3U}) {
      knows_tokens_ = steps == 1;
      ASSERT_TRUE(InPieces(data, level, steps * kLzhStepBytes) == whole)
          << "level " << level << ", size " << data.size() << ", steps " << steps;
    }
  }

  std::function<void(LzhPiece&)> damage_;
  bool knows_tokens_ = false;
  std::uint32_t pieces_ = 0;
  std::uint32_t corrected_ = 0;
  std::uint32_t agreed_later_ = 0;

 private:
  void AddPiece(const LzhPieceInput& input, Delivered& made) {
    const auto length = static_cast<std::uint32_t>(input.bytes.size());
    std::vector<LzhToken> tokens(LzhTokenRoom(length));
    Bytes bits(LzhCodedRoom(length), 0xAA);
    LzhPiece piece;
    LzhCodedPiece coded;
    piece.room = tokens;
    coded.room = bits;
    matcher_->Match(input, piece);
    if (damage_) damage_(piece);
    const std::uint32_t again = joiner_->Join(input, *matcher_, piece);
    CodePiece(piece, coded);
    const std::size_t before = made.stream.size();
    const auto bytes = joiner_->Append(coded);
    made.stream.insert(made.stream.end(), bytes.begin(), bytes.end());
    for (std::uint32_t i = 0; i < coded.step_count; ++i)
      made.after_step.push_back(before + coded.bytes_after_step[i]);
    ++pieces_;
    corrected_ += again > 0 ? 1 : 0;
    agreed_later_ += again > 0 && again < length ? 1 : 0;
  }

  std::unique_ptr<LzhPieceMatcher> matcher_ = std::make_unique<LzhPieceMatcher>();
  std::unique_ptr<LzhPieceJoiner> joiner_ = std::make_unique<LzhPieceJoiner>();
};

// Bytes of every kind, each up to `longest`, one after the other.
Bytes Mixture(std::size_t size, unsigned seed, std::size_t longest) {
  static const Bytes text = Text(100'000);
  std::mt19937 random(seed);
  Bytes bytes;
  while (bytes.size() < size) {
    const std::size_t at = random() % text.size();
    const std::size_t length = 1 + random() % longest;
    const std::size_t kind = random() % 6;
    const std::size_t period = 1 + random() % (random() % 2 == 0 ? 600 : 70000);
    for (std::size_t i = 0; i < length; ++i) {
      const std::size_t copied = bytes.size() < period ? 0 : bytes[bytes.size() - period];
      const std::size_t values[] = {0,      random(), random() % 2, text[(at + i) % text.size()],
                                    copied, copied};
      bytes.push_back(static_cast<std::uint8_t>(values[kind]));
    }
  }
  bytes.resize(size);
  return bytes;
}

TEST_F(LzhPieces, MakeTheStreamOfOneEncoderAtEveryLevel) {
  for (unsigned seed = 0; seed < 36; ++seed)
    Check(Mixture(200'000 + 1237 * seed, seed, 1000U << seed % 8), 1 + static_cast<int>(seed % 9));
  for (const std::size_t period : {1U, 2U, 3U, 257U, 258U, 259U, 16121U, 16122U, 16123U, 70000U}) {
    Bytes data = Noise(std::min<std::size_t>(period, 5000));
    data.resize(period, 'x');
    while (data.size() < 150'000)
      data.push_back(data.end()[-static_cast<std::ptrdiff_t>(period)]);
    for (const int level : {2, 4, 9})
      Check(data, level);
  }
  EXPECT_GT(pieces_ - corrected_, pieces_ / 2);
  EXPECT_GT(agreed_later_, 20U);
}

TEST_F(LzhPieces, EndAnywhere) {
  const Bytes sources[] = {Text(66'000), Noise(66'000), Bytes(66'000), Mixture(66'000, 7, 3000)};
  int level = 0;
  for (unsigned border = 0; border <= 4 * kLzhStepBytes; border += kLzhStepBytes) {
    for (const int offset : {-262, -261, -3, -1, 0, 1, 2, 3, 258, 261, 262}) {
      if (border == 0 && offset < 0) continue;
      for (const Bytes& source : sources)
        Check(Front(source, border + static_cast<unsigned>(offset)), 1 + level++ % 9);
    }
  }
}

// Blocks that are full where the stream ends, or a step does: with a literal, or with a match.
TEST_F(LzhPieces, EndBlocksWhereOneEncoderDoes) {
  for (const std::size_t tokens : {16381U, 16382U, 16383U, 16384U}) {
    const Bytes literals = NoMatches(tokens - 1);
    for (const std::size_t more : {0U, 1U, 4U, 5U, 250U, 270U}) {
      Bytes data = literals;
      for (std::size_t i = 0; i < more; ++i)
        data.push_back(data.end()[-4]);
      for (const int level : {2, 3})
        Check(data, level);
    }
  }
  for (std::size_t zeros = 16180; zeros < 16195; ++zeros)
    Check(Joined(Joined(Bytes(zeros), NoMatches(16384)), Noise(1000)), 2);
}

TEST_F(LzhPieces, AgreeWithinRepeatsWhenATokenIsKnown) {
  knows_tokens_ = true;
  for (const std::size_t period : {1U, 2U, 300U, 9000U}) {
    Bytes data = Noise(period);
    while (data.size() < 200'000)
      data.push_back(data.end()[-static_cast<std::ptrdiff_t>(period)]);
    for (const int level : {2, 9})
      EXPECT_TRUE(InPieces(data, level, kLzhStepBytes) == AsAWhole(data, level));
  }
  EXPECT_EQ(corrected_, 0U);
}

// Takes the tokens of the first steps away, and makes the places there wrong in one field.
TEST_F(LzhPieces, TakeNoTokensFromAMatcherAtAnotherPlace) {
  const Bytes data = Joined(Noise(100'000, 100), Text(80'000));
  const Delivered whole = AsAWhole(data, 2);
  for (const auto field :
       {&LzhPlace::position, &LzhPlace::pending_length, &LzhPlace::pending_distance}) {
    for (std::uint32_t wrong = 1; wrong <= 4; ++wrong) {
      damage_ = [=](LzhPiece& piece) {
        const std::uint32_t count = piece.steps.at(wrong).token_count;
        const auto tokens = piece.room.subspan(LzhPiece::kMostCarried, piece.size);
        std::ranges::copy(tokens.subspan(count), tokens.begin());
        piece.size -= count;
        for (std::uint32_t i = 0; i <= piece.step_count; ++i) {
          piece.steps.at(i).token_count -= std::min(count, piece.steps.at(i).token_count);
          if (i < wrong) piece.steps.at(i).place.*field ^= 1;
        }
      };
      EXPECT_TRUE(InPieces(data, 2, 5 * kLzhStepBytes) == whole) << wrong;
    }
  }
}

}  // namespace
}  // namespace cscompr::test
