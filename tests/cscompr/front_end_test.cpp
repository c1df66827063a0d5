// The library as its callers see it: options, headers, result codes and counters; and the rules of
// every codec, however the calls are cut.
#include <array>
#include <cstdint>
#include <thread>

#include "cscompr/cscompr.h"
#include "cscompr/stream_steps.h"

namespace cscompr::test {
namespace {

using Answer = std::array<std::int32_t, 3>;  // code, bytes read, bytes written

Answer Answered(std::int32_t length, std::int32_t option, const Buffers& b) {
  Answer answer{0, -1, -1};
  answer[0] = CsCompr(length, b.input, b.input_length, b.output, b.output_length, option,
                      &answer[1], &answer[2]);
  return answer;
}

Answer Answered(std::int32_t option, const Buffers& b) {
  Answer answer{0, -1, -1};
  answer[0] =
      CsDecompr(b.input, b.input_length, b.output, b.output_length, option, &answer[1], &answer[2]);
  return answer;
}

// Made before any test runs, and so before any first call.
const Bytes kInput(10);
Bytes output(100);
const Answer kBeforeAllStreams = Answered(10, 0, {kInput.data(), 10, output.data(), 100});

TEST(FrontEnd, GoesOnWithNoStreamBeforeTheFirst) {
  EXPECT_EQ(kBeforeAllStreams, (Answer{kCsBadState, 0, 0}));
}

TEST(FrontEnd, WritesTheHeaderThatTheOptionsAskFor) {
  const std::pair<std::int32_t, Bytes> cases[] = {
      {0x01, Header(1000, 0x11, 0x8D)}, {0x03, Header(1000, 0x12, 2)},
      {0x13, Header(1000, 0x12, 1)},    {0x93, Header(1000, 0x12, 9)},
      {0xA3, Header(1000, 0x12, 2)},    {-0x0D, Header(1000, 0x12, 2)},
      {0x51, Header(1000, 0x11, 0x8D)}};
  for (const auto& [option, header] : cases)
    EXPECT_EQ(Front(Compress(Text(1000), option), 8), header) << option;
}

TEST(FrontEnd, JudgesTheArgumentsOfCompressionInOrder) {
  Bytes in(10);
  Bytes out(100);
  std::uint8_t* const from = in.data();
  std::uint8_t* const to = out.data();
  const std::tuple<std::int32_t, std::int32_t, Buffers, std::int32_t> cases[] = {
      {kFirstLzc, -1, {nullptr, -1, nullptr, -1}, kCsBadInput},
      {kFirstLzh, -1, {nullptr, -1, nullptr, -1}, kCsBadInput},
      {kFirstLzc, -1, {nullptr, 10, nullptr, -1}, kCsBadOutput},
      {kFirstLzh, -1, {nullptr, 10, to, 100}, kCsNullBuffer},
      {kFirstLzc, -1, {from, 10, to, 100}, kCsBadLength},
      {kFirstLzh, -1, {from, 10, to, 100}, kCsBadLength},
      {kFirstLzc, 10, {from, 10, to, 7}, kCsBadOutput},
      {kFirstLzh, 10, {from, 10, to, 7}, kCsBadOutput},
      {kFirstLzc, 0, {from, 10, from, 7}, kCsSameBuffer},
      {kFirstLzc, 0, {from, 10, to, 7}, kCsBadLength},
      {kFirstLzc, 10, {nullptr, 0, to, 100}, kCsNullBuffer},
      {0x05, 10, {from, 10, to, 100}, kCsBadAlgorithm}};
  for (const auto& [option, length, buffers, code] : cases) {
    ASSERT_EQ(Answered(20, kCsFirstCall | (option & kCsLzh), {from, 10, to, 100})[0],
              kCsInputExhausted);
    EXPECT_EQ(Answered(length, option, buffers), (Answer{code, 0, 0})) << option << ' ' << length;
    const std::int32_t later = code == kCsBadAlgorithm ? code : kCsBadState;
    EXPECT_EQ(Answered(20, 0, {from, 10, to, 100}), (Answer{later, 0, 0}));
  }
  EXPECT_EQ(Answered(10, kFirstLzh, {from, 10, to, 8}), (Answer{kCsOutputFull, 0, 8}));
  EXPECT_EQ(Answered(10, 0, {from, 9, nullptr, 0}), (Answer{kCsInputExhausted, 9, 0}));
  EXPECT_EQ(Answered(10, 0, {from, 1, nullptr, 0}), (Answer{kCsOutputFull, 1, 0}));
}

TEST(FrontEnd, JudgesTheArgumentsOfDecompression) {
  std::uint8_t out = 0;
  const std::pair<Bytes, std::int32_t> cases[] = {
      {Header(9, 0x12, 2), kCsInputExhausted},
      {Header(9, 0x02, 2), kCsInputExhausted},
      {Header(9, 0xF1, 0x8D), kCsInputExhausted},
      {Header(9, 0x11, 0x8F), kCsBadCodeWidth},
      {Header(9, 0x13, 2), kCsBadAlgorithm},
      {{9, 0, 0, 0, 0x13, 0x1E, 0x9D, 2}, kCsNotAStream},
      {{9, 0, 0, 0, 0x12, 0x1F, 0x9C, 2}, kCsNotAStream}};
  for (const auto& [header, code] : cases) {
    EXPECT_EQ(Answered(kCsFirstCall, {header.data(), 8, &out, 0}),
              (Answer{code, code < 0 ? 0 : 8, 0}));
    if (code < 0) {
      EXPECT_EQ(Answered(0, {header.data(), 8, &out, 1}), (Answer{code, 0, 0}));
    }
    EXPECT_EQ(Answered(kCsFirstCall, {header.data(), 8, &out, -1})[0], kCsBadOutput);
    EXPECT_EQ(Answered(kCsFirstCall, {header.data(), 7, &out, 0})[0], kCsBadInput);
    EXPECT_EQ(CsCheckHeader(header.data()), std::min(code, 0));
  }
  ASSERT_EQ(CsCheckHeader(Header(9, 0x11, 0x8D).data()), 0);
  EXPECT_EQ(Answered(0, {kInput.data(), 1, &out, 0})[0], kCsBadOutput);
  EXPECT_EQ(Answered(0, {&out, 1, nullptr, 1})[0], kCsNullBuffer);
  EXPECT_EQ(Answered(0, {&out, 1, &out, 1})[0], kCsSameBuffer);
  Bytes same = Header(9, 0x11, 0x8D);
  EXPECT_EQ(Answered(kCsFirstCall, {same.data(), 8, same.data(), 8})[0], kCsSameBuffer);
  ASSERT_EQ(CsCheckHeader(Header(9, 0x12, 2).data()), 0);
  EXPECT_EQ(Answered(0, {nullptr, 0, &out, 0})[0], kCsNothingToDo);
  EXPECT_STREQ(CsErrorText(-100), CsErrorText(4));  // no results
}

// The parameter is the option of the first call.
class CodecSweep : public ::testing::TestWithParam<std::int32_t> {
 protected:
  static bool IsLzh() { return (GetParam() & kCsAlgorithmMask) == kCsLzh; }
  static Bytes Packed(const Bytes& data) { return Compress(data, GetParam()); }
};

// A first piece of the given length, then all the rest.
Cut Once(std::size_t length) {
  return [length, first = true]() mutable { return std::exchange(first, false) ? length : 5000; };
}

TEST_P(CodecSweep, CutsChangeNothing) {
  for (const Bytes& data : {Bytes{7}, Text(300), Text(70000), Noise(50000), Runs(70000),
                            Noise(70000, 16), Bytes(100000)}) {
    const Bytes whole = Packed(data);
    auto cuts = AllCuts();
    cuts.emplace_back(kWhole, Always(whole.size()));  // the last byte fills the buffer to the brim
    for (const auto& [input_cut, output_cut] : cuts) {
      ASSERT_EQ(Compress(data, GetParam(), input_cut, output_cut), whole);
      ASSERT_EQ(Restore(whole, input_cut, output_cut), (Result{kCsEndOfStream, data}));
    }
  }
}

TEST_P(CodecSweep, EveryLengthComesBack) {
  const Bytes noise = Noise(40000);
  for (std::size_t length = IsLzh() ? 0 : 1; length < noise.size();
       length += length < 700 ? 1 : 397)
    ASSERT_EQ(Restore(Packed(Front(noise, length))).bytes, Front(noise, length)) << length;
}

// No pair of bytes repeats in the first data, so that no LZC code stands for two bytes between two
// clear codes. The literals of the others are the longest of the fixed codes.
TEST_P(CodecSweep, TheWorstDataStayWithinTheBounds) {
  Bytes pairs;
  for (unsigned first = 0; first < 256; ++first) {
    pairs.push_back(static_cast<std::uint8_t>(first));
    for (unsigned second = first + 1; second < 256; ++second)
      pairs.insert(pairs.end(),
                   {static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)});
  }
  (void)Packed(Joined(Joined(pairs, pairs), Joined(pairs, Noise(500000))));
  Bytes high = Noise(9000);
  for (std::uint8_t& byte : high)
    byte |= 0x90;
  for (std::size_t length = 1; length < high.size(); length += 1 + length / 16)
    (void)Packed(Front(high, length));
}

TEST_P(CodecSweep, StopsAndResumesAtEveryByte) {
  const Bytes data = Text(900);
  const Bytes stream = Packed(data);
  for (std::size_t cut = kCsHeaderBytes; cut < stream.size(); ++cut) {
    ASSERT_EQ(Restore(stream, Once(cut)), (Result{kCsEndOfStream, data})) << cut;
    const Result starved = Restore(Front(stream, cut));
    ASSERT_TRUE(starved.code == kCsInputExhausted || cut + 1 == stream.size()) << cut;
    ASSERT_EQ(starved.bytes, Front(data, starved.bytes.size())) << cut;
  }
  for (std::size_t room = 0; room < data.size(); ++room) {
    Stream stepped = Restoration(stream, kWhole, Once(room));
    ASSERT_TRUE(stepped.Step()) << room;
    ASSERT_EQ(stepped.result().code, kCsOutputFull) << room;
    ASSERT_EQ(stepped.Run(), (Result{kCsEndOfStream, data})) << room;
  }
}

// The space after the promised length may be overwritten, but is never delivered.
TEST_P(CodecSweep, DeliversNoMoreThanWasPromised) {
  const Bytes data = Joined(Text(500), Runs(400));
  Bytes stream = Packed(data);
  for (std::size_t promised = 0; promised < data.size(); ++promised) {
    std::ranges::copy(Front(Header(promised, 0, 0), 4), stream.begin());
    const Result whole = Restore(stream);
    ASSERT_EQ(whole.code, IsLzh() ? kCsTooLong : kCsEndOfStream) << promised;
    ASSERT_EQ(whole.bytes, Front(data, whole.bytes.size())) << promised;
    ASSERT_TRUE(whole.bytes.size() == promised || (IsLzh() && whole.bytes.size() < promised));
    ASSERT_EQ(Restore(stream, Always(1), Always(1)), whole) << promised;
    ASSERT_EQ(Restore(stream, kWhole, Always(promised + 1)), whole) << promised;
  }
}

TEST_P(CodecSweep, GoesOnAfterTheHeaderCheck) {
  const Bytes stream = Packed(Text(5000));
  ASSERT_EQ(CsCheckHeader(stream.data()), 0);
  Bytes out(6000);
  const auto rest = static_cast<std::int32_t>(stream.size() - 8);
  EXPECT_EQ(Answered(0, {&stream[8], rest, out.data(), 6000}),
            (Answer{kCsEndOfStream, rest, 5000}));
  EXPECT_EQ(Front(out, 5000), Text(5000));
}

TEST_P(CodecSweep, CompressionEndsOnce) {
  (void)Packed(Text(500));
  Bytes room(100);
  EXPECT_EQ(Answered(5, 0, {kInput.data(), 5, room.data(), 100}),
            (Answer{IsLzh() ? kCsEndOfStream : kCsBadState, 0, 0}));
}

// Those of the whole library, and those of objects in two more threads.
TEST_P(CodecSweep, KeepsStreamsApart) {
  const Bytes data = Text(30000);
  const Bytes alone = Packed(data);
  const auto run = [&](std::array<Stream, 2> streams) {
    for (bool more = true; more;) {
      more = false;
      for (Stream& stream : streams)
        more = (stream.result().code != kCsEndOfStream && stream.Step()) || more;
    }
    EXPECT_EQ(streams[0].result().bytes, alone);
    EXPECT_EQ(streams[1].result().bytes, data);
  };
  const auto run_objects = [&](unsigned seed) {
    CsEncoder* const encoder = CsCreateEncoder();
    CsDecoder* const decoder = CsCreateDecoder();
    const auto compress = [&](const Buffers& b, bool first) {
      Outcome o;
      o.code = CsEncode(encoder, 30000, b.input, b.input_length, b.output, b.output_length,
                        first ? GetParam() : 0, &o.bytes_read, &o.bytes_written);
      return o;
    };
    const auto restore = [&](const Buffers& b, bool first) {
      Outcome o;
      o.code = CsDecode(decoder, b.input, b.input_length, b.output, b.output_length,
                        first ? kCsFirstCall : 0, &o.bytes_read, &o.bytes_written);
      return o;
    };
    run({Stream(Way::kCompress, data, compress, UpTo(500, seed), UpTo(500, seed + 1, 1)),
         Stream(Way::kRestore, alone, restore, UpTo(300, seed + 2), UpTo(300, seed + 3, 1))});
    CsDestroyEncoder(encoder);
    CsDestroyDecoder(decoder);
  };
  std::thread one(run_objects, 1);
  std::thread other(run_objects, 5);
  run({Compression(data, GetParam(), UpTo(500, 9), UpTo(500, 10, 1)),
       Restoration(alone, UpTo(300, 11), UpTo(300, 12, 1))});
  one.join();
  other.join();
}

INSTANTIATE_TEST_SUITE_P(Codecs, CodecSweep,
                         ::testing::Values(kFirstLzc, FirstLzh(2), FirstLzh(6), FirstLzh(9)));

}  // namespace
}  // namespace cscompr::test
