// The LZH decoder against streams that zlib writes and streams made by hand, whole and in pieces.
#include "cscompr/lzh/decoder.h"

#include <bit>

#include "cscompr/cscompr.h"
#include "cscompr/stream_steps.h"
#include "cscompr/zlib_streams.h"
#include "support/tree.h"

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

// A stream that no encoder writes, from the folder streams/. Its name says what is in it.
Bytes Recorded(const std::string& name) {
  const std::string bytes =
      moldex::test::ReadFile(std::string(CSCOMPR_STREAMS "/") + name + ".bin");
  return {bytes.begin(), bytes.end()};
}

TEST(LzhDecoderTest, JudgesHandMadeStreamsAlikeHoweverCut) {
  const std::tuple<const char*, std::int32_t, std::size_t> cases[] = {
      {"stored_block", kCsBadBlockType, 0},
      {"block_type_3", kCsBadBlockType, 0},
      {"287_literal_length_codes", kCsBadBlockHeader, 0},
      {"31_distance_codes", kCsBadBlockHeader, 0},
      {"repeat_before_the_first", kCsBadBlockHeader, 0},
      {"run_beyond_the_last", kCsBadBlockHeader, 0},
      {"no_end_of_block", kCsBadBlockHeader, 0},
      {"code_length_code_too_full", kCsOversubscribed, 0},
      {"code_length_code_with_gaps", kCsIncomplete, 0},
      {"code_length_code_of_one", kCsIncomplete, 0},
      {"no_code_length_code", kCsIncomplete, 0},
      {"literals_too_full", kCsOversubscribed, 0},
      {"literals_with_gaps", kCsIncomplete, 0},
      {"distances_too_full", kCsOversubscribed, 0},
      {"distances_with_gaps", kCsIncomplete, 0},
      {"one_distance_of_two_bits", kCsIncomplete, 0},
      {"length_symbol_286", kCsBadCode, 0},
      {"distance_symbol_30", kCsBadCode, 9},
      {"distance_before_the_start", kCsBadCode, 2},
      {"distance_before_the_start_later", kCsBadCode, 16383},
      {"distance_of_the_window", kCsEndOfStream, 16427},
      {"distances_of_the_window_only", kCsEndOfStream, 43384},
      {"distance_beyond_the_window", kCsBadCode, 40000},
      {"the_other_code_of_one_distance", kCsBadCode, 1},
      {"one_distance", kCsEndOfStream, 4},
      {"a_match_without_distances", kCsBadCode, 1},
      {"no_distances", kCsEndOfStream, 1},
      {"end_of_block_alone", kCsEndOfStream, 0},
      {"empty_blocks", kCsEndOfStream, 0},
      {"a_literal_too_many", kCsTooLong, 8},
      {"a_match_too_long", kCsTooLong, 7},
      {"bytes_of_an_empty_stream", kCsTooLong, 0},
      {"a_short_stream", kCsEndOfStream, 3}};
  for (const auto& [name, code, delivered] : cases) {
    SCOPED_TRACE(name);
    const Bytes stream = Recorded(name);
    const Result whole = Decode(stream);
    EXPECT_EQ(whole.code, code);
    EXPECT_EQ(whole.bytes.size(), delivered);
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
  EXPECT_EQ(Decode(Recorded("stored_block")).code, kCsBadBlockType);
  EXPECT_EQ(resume().code, kCsBadBlockType);
  EXPECT_EQ(Decode(stream).bytes, Text(100));
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
