// The LZH decoder against streams that zlib writes and streams made by hand, whole and in pieces.
#include "cscompr/lzh/decoder.h"

#include <bit>

#include "cscompr/cscompr.h"
#include "cscompr/lzh/deflate_format.h"
#include "cscompr/stream_steps.h"
#include "cscompr/zlib_streams.h"

namespace cscompr::test {
namespace {

LzhDecoder decoder;  // one for all streams, so that each meets what the one before left

Outcome DecodePiece(const Buffers& buffers, bool first) {
  return first ? decoder.Start(buffers) : decoder.Resume(buffers);
}

Result Decode(const Bytes& stream, const Cut& input_cut = kWhole, const Cut& output_cut = kWhole) {
  return Stream(Way::kRestore, stream, DecodePiece, input_cut, output_cut).Run();
}

Bytes ZlibStream(const Bytes& data, const ZlibSettings& settings = {}) {
  return Joined(Joined(Header(data.size(), 0x12, 2), ZlibDeflate(data, settings)), {0});
}

// Literals of every code length, few matches.
Bytes Skewed(std::size_t length) {
  std::mt19937 random(17);
  Bytes data(length);
  for (auto& byte : data) {
    byte = static_cast<std::uint8_t>(std::min(255, std::countr_zero(random() | 1U << 20) * 12) +
                                     static_cast<int>(random() % 3));
  }
  return data;
}

TEST(LzhDecoderTest, RestoresWhatZlibWrites) {
  const std::vector<Bytes> samples = {{},          {'x'},           Text(90000),
                                      Runs(90000), Noise(90000, 9), Skewed(90000)};
  const auto cuts = AllCuts();
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED}) {
    for (int step = 0; step < 9; ++step) {
      SCOPED_TRACE("level " + std::to_string(step + 1) + " strategy " + std::to_string(strategy));
      for (const Bytes& data : samples) {
        // zlib would store what its one allowed code does not make shorter.
        if (&data == &samples.back() && (strategy == Z_FIXED || strategy == Z_RLE)) continue;
        const Bytes stream = ZlibStream(data, {1 + step, strategy, -9 - step % 6, 1 + step});
        const Result expected{kCsEndOfStream, data, stream.size()};
        decoder.SetPortable(step % 2 == 1);
        ASSERT_EQ(Decode(stream), expected);
        decoder.SetPortable(step % 2 == 0);
        const auto& [input_cut, output_cut] = cuts[static_cast<std::size_t>(step) % cuts.size()];
        ASSERT_EQ(Decode(stream, input_cut, output_cut), expected);
      }
    }
  }
  decoder.SetPortable(false);
}

TEST(LzhDecoderTest, PiecesOfAnySizeGiveTheSame) {
  const Bytes data = Text(40000);
  const Bytes stream = ZlibStream(data);
  for (const std::size_t in : {1U, 2U, 7U, 8U, 28U, 29U, 100U, 5000U}) {
    for (const std::size_t out : {1U, 3U, 36U, 37U, 259U, 294U, 295U, 5000U, 16384U, 30000U}) {
      ASSERT_EQ(Decode(stream, Always(in), Always(out)), (Result{kCsEndOfStream, data}))
          << in << ' ' << out;
    }
  }
}

// Writes a stream bit by bit.
class Bits {
 public:
  Bits& Put(unsigned value, unsigned number) {
    for (unsigned i = 0; i < number; ++i) {
      if (used_++ % 8 == 0) bytes_.push_back(0);
      bytes_.back() |= static_cast<std::uint8_t>((value >> i & 1) << ((used_ - 1) % 8));
    }
    return *this;
  }
  Bits& Code(unsigned code, unsigned length) {  // a prefix code goes out from its far end
    while (length-- > 0)
      Put(code >> length & 1, 1);
    return *this;
  }
  Bits& FixedBlock() { return Put(1, 1).Put(1, 2); }
  Bits& FixedLiterals(char letter, std::size_t count) {
    while (count-- > 0)
      Code(0x30U + static_cast<unsigned>(letter), 8);
    return *this;
  }
  Bits& FixedLength(unsigned symbol) { return Code(symbol - 256, 7); }
  Bits& FixedEnd() { return Put(0, 7); }
  // The counts of a dynamic block, as they stand in the stream.
  Bits& Dynamic(unsigned literals, unsigned distances, unsigned code_lengths) {
    return Put(1, 1).Put(2, 2).Put(literals, 5).Put(distances, 5).Put(code_lengths, 4);
  }
  // A code length code of 4 bits each for the lengths 0 to 15, and none for runs.
  Bits& PlainLengths(const std::vector<unsigned>& lengths) {
    for (const unsigned symbol : kCodeLengthOrder)
      Put(symbol < 16 ? 4 : 0, 3);
    for (const unsigned length : lengths)
      Code(length, 4);
    return *this;
  }
  Bytes Stream(std::size_t original_length) const {
    return Joined(Joined(Header(original_length, 0x12, 2), bytes_), {0});
  }

 private:
  Bytes bytes_;
  std::size_t used_ = 0;
};

// Code lengths of 258 literal/length symbols, then of distances.
std::vector<unsigned> Lengths(unsigned letter_a, unsigned end, unsigned length_3,
                              const std::vector<unsigned>& distances) {
  std::vector<unsigned> lengths(258);
  lengths['a'] = letter_a;
  lengths[256] = end;
  lengths[257] = length_3;
  lengths.insert(lengths.end(), distances.begin(), distances.end());
  return lengths;
}

Bits DynamicBlock(unsigned letter_a, unsigned end, unsigned length_3,
                  const std::vector<unsigned>& distances) {
  return Bits()
      .Dynamic(1, static_cast<unsigned>(distances.size()) - 1, 15)
      .PlainLengths(Lengths(letter_a, end, length_3, distances));
}

struct HandMade {
  std::string name;
  Bits bits;
  std::int32_t code;
  std::size_t delivered = 0;
  std::size_t original_length = 100000;
};

std::vector<HandMade> HandMadeStreams() {
  const std::size_t window = 16384;
  // The literals behind the match leave the fast loop its margin.
  const auto far = [](std::size_t literals, unsigned symbol, unsigned extra, unsigned bits) {
    Bits made = Bits().FixedBlock().FixedLiterals('z', literals).FixedLength(257).Code(symbol, 5);
    return made.Put(extra, bits).FixedLiterals('p', 40).FixedEnd();
  };
  // Every match reaches back by the whole window, into the call before and then into its own.
  const auto farthest = [](std::size_t literals, int matches) {
    Bits made = Bits().FixedBlock().FixedLiterals('z', literals);
    for (int i = 0; i < matches; ++i)
      made.FixedLength(257).Code(27, 5).Put(4095, 12);
    return made.FixedEnd();
  };
  const auto run = [](unsigned symbol, unsigned extra, unsigned bits) {  // code lengths 1 and a run
    Bits made = Bits().Dynamic(0, 0, 15);
    for (const unsigned s : kCodeLengthOrder)
      made.Put(s == 1 || s == symbol ? 1 : 0, 3);
    const unsigned one = symbol == 0 ? 1 : 0;
    for (int i = 0; i < (symbol == 16 ? 0 : 200); ++i)
      made.Code(one, 1);
    return made.Code(1 - one, 1).Put(extra, bits);
  };
  return {
      {"stored block", Bits().Put(1, 1).Put(0, 2).Put(0, 30), kCsBadBlockType},
      {"block type 3", Bits().Put(0, 1).Put(3, 2), kCsBadBlockType},
      {"287 literal/length codes", Bits().Dynamic(30, 0, 0), kCsBadBlockHeader},
      {"31 distance codes", Bits().Dynamic(0, 30, 0), kCsBadBlockHeader},
      {"repeat before the first", run(16, 0, 2), kCsBadBlockHeader},
      {"run beyond the last", run(18, 127, 7), kCsBadBlockHeader},
      {"no end of block", DynamicBlock(1, 0, 1, {1}), kCsBadBlockHeader},
      {"code length code too full", Bits().Dynamic(0, 0, 0).Put(0x249, 12), kCsOversubscribed},
      {"code length code with gaps", Bits().Dynamic(0, 0, 0).Put(0x012, 12), kCsIncomplete},
      {"code length code of one", Bits().Dynamic(0, 0, 0).Put(0x001, 12), kCsIncomplete},
      {"no code length code", Bits().Dynamic(0, 0, 0).Put(0, 12), kCsIncomplete},
      {"literals too full", DynamicBlock(1, 1, 2, {1}), kCsOversubscribed},
      {"literals with gaps", DynamicBlock(1, 3, 3, {1}), kCsIncomplete},
      {"distances too full", DynamicBlock(1, 2, 2, {1, 1, 1}), kCsOversubscribed},
      {"distances with gaps", DynamicBlock(1, 2, 2, {1, 2}), kCsIncomplete},
      {"one distance of two bits", DynamicBlock(1, 2, 2, {2}), kCsIncomplete},
      {"length symbol 286", Bits().FixedBlock().Code(0xC6, 8), kCsBadCode},
      {"distance symbol 30", far(9, 30, 0, 0), kCsBadCode, 9},
      {"distance before the start", far(2, 2, 0, 0), kCsBadCode, 2},
      {"distance before the start, later", far(16383, 27, 4095, 12), kCsBadCode, 16383},
      {"distance of the window", far(window, 27, 4095, 12), kCsEndOfStream, window + 43},
      {"distances of the window only", farthest(window, 9000), kCsEndOfStream, window + 27000},
      {"distance beyond the window", far(40000, 28, 0, 13), kCsBadCode, 40000},
      {"the other code of one distance", DynamicBlock(1, 2, 2, {1}).Code(0, 1).Code(7, 3),
       kCsBadCode, 1},
      {"one distance", DynamicBlock(1, 2, 2, {1}).Code(0, 1).Code(6, 3).Code(2, 2), kCsEndOfStream,
       4},
      {"a match without distances", DynamicBlock(1, 2, 2, {0}).Code(0, 1).Code(6, 3), kCsBadCode,
       1},
      {"no distances", DynamicBlock(1, 2, 2, {0}).Code(0, 1).Code(2, 2), kCsEndOfStream, 1},
      {"end of block alone", DynamicBlock(0, 1, 0, {0}).Code(0, 1), kCsEndOfStream},
      {"a literal too many", Bits().FixedBlock().FixedLiterals('q', 9), kCsTooLong, 8, 8},
      {"a match too long", Bits().FixedBlock().FixedLiterals('q', 7).FixedLength(257).Code(0, 5),
       kCsTooLong, 7, 8},
      {"bytes of an empty stream", Bits().FixedBlock().FixedLiterals('q', 1), kCsTooLong, 0, 0},
      {"a short stream", Bits().FixedBlock().FixedLiterals('q', 3).FixedEnd(), kCsEndOfStream, 3},
  };
}

TEST(LzhDecoderTest, JudgesHandMadeStreamsAlikeHoweverCut) {
  for (const HandMade& made : HandMadeStreams()) {
    SCOPED_TRACE(made.name);
    const Bytes stream = made.bits.Stream(made.original_length);
    const Result whole = Decode(stream);
    EXPECT_EQ(whole.code, made.code);
    EXPECT_EQ(whole.bytes.size(), made.delivered);
    for (const auto& [in, out] :
         {std::pair{1U, 1U}, {3U, 500U}, {1U << 20, 600U}, {1U << 20, 17001U}})
      EXPECT_EQ(Decode(stream, Always(in), Always(out)), whole) << in << ' ' << out;
  }
}

TEST(LzhDecoderTest, AnEndOrAFailureLastsUntilTheNextStart) {
  const Bytes stream = ZlibStream(Text(100));
  std::uint8_t out = 0;
  const auto resume = [&] { return decoder.Resume({stream.data(), 77, &out, 1}); };
  const Bytes longer = Joined(stream, Bytes(1000, 0xEE));  // not ours; counts as read with the end
  EXPECT_EQ(Decode(longer), (Result{kCsEndOfStream, Text(100)}));
  EXPECT_EQ(resume().code, kCsEndOfStream);
  EXPECT_EQ(resume().bytes_written, 0);
  EXPECT_EQ(Decode(Bits().Put(1, 3).Stream(5)).code, kCsBadBlockType);
  EXPECT_EQ(resume().code, kCsBadBlockType);
  EXPECT_EQ(Decode(stream).bytes, Text(100));
}

TEST(LzhDecoderTest, EmptyBlocksEndWithTheInput) {
  Bits chain;
  for (int i = 0; i < 2000; ++i) {
    chain.Put(0, 1).Put(2, 2).Put(1, 5).Put(0, 5).Put(15, 4);
    chain.PlainLengths(Lengths(1, 2, 2, {1})).Code(2, 2);
  }
  const Bytes endless = chain.Stream(10);
  EXPECT_EQ(Decode(Front(endless, endless.size() / 2)).code, kCsInputExhausted);
  const Bytes ended = chain.FixedBlock().FixedEnd().Stream(10);
  EXPECT_EQ(Decode(ended), (Result{kCsEndOfStream, {}}));
}

TEST(LzhDecoderTest, EveryFlippedBitIsJudgedAsZlibJudges) {
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED}) {
    const Bytes data = Text(700);
    const Bytes stream = ZlibStream(data, {9, strategy});
    for (std::size_t bit = 8 * kCsHeaderBytes; bit < 8 * stream.size(); ++bit) {
      Bytes damaged = stream;
      damaged[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
      const Result whole = Decode(damaged);
      ASSERT_EQ(Decode(damaged, Always(1), Always(1)), whole) << bit;
      ASSERT_EQ(Decode(damaged, Always(5), Always(64)), whole) << bit;
      const Result zlib = ZlibInflate(damaged, 1 << 17, -15);
      if (zlib.code != Z_STREAM_END) {
        EXPECT_NE(whole.code, kCsEndOfStream) << bit;
      } else if (zlib.bytes.size() > data.size()) {
        EXPECT_EQ(whole.code, kCsTooLong) << bit;
      } else if (whole.code != kCsBadBlockType) {
        EXPECT_EQ(whole, (Result{kCsEndOfStream, zlib.bytes})) << bit;
      }
    }
  }
}

}  // namespace
}  // namespace cscompr::test
