// The library as its callers see it: options, headers, result codes and counters.
#include <array>
#include <cstdint>

#include "cscompr/cscompr.h"
#include "cscompr/stream_steps.h"

namespace cscompr::test {
namespace {

constexpr std::int32_t kFirstLzc = kCsFirstCall | kCsLzc;
constexpr std::int32_t kFirstLzh = kCsFirstCall | kCsLzh;

using Answer = std::array<std::int32_t, 3>;  // code, bytes read, bytes written

Answer Compress(std::int32_t length, std::int32_t option, const Buffers& b) {
  Answer answer{0, -1, -1};
  answer[0] = CsCompr(length, b.input, b.input_length, b.output, b.output_length, option,
                      &answer[1], &answer[2]);
  return answer;
}

Answer Restore(std::int32_t option, const Buffers& b) {
  Answer answer{0, -1, -1};
  answer[0] =
      CsDecompr(b.input, b.input_length, b.output, b.output_length, option, &answer[1], &answer[2]);
  return answer;
}

Stream Compression(const Bytes& data, std::int32_t option, std::size_t longest = 200'000) {
  const auto call = [option, size = data.size()](const Buffers& buffers, bool first) {
    const auto [code, read, written] =
        Compress(static_cast<std::int32_t>(size), first ? option : option & ~kCsFirstCall, buffers);
    return Outcome{code, read, written};
  };
  return {Way::kCompress, data, call, UpTo(longest, 1), UpTo(longest, 2, 1)};
}

Stream Restoration(const Bytes& stream, std::size_t longest = 200'000) {
  const auto call = [](const Buffers& buffers, bool first) {
    const auto [code, read, written] = Restore(first ? kCsFirstCall : 0, buffers);
    return Outcome{code, read, written};
  };
  return {Way::kRestore, stream, call, UpTo(longest, 3), UpTo(longest, 4, 1)};
}

// Made before any test runs, and so before any first call.
const Bytes kInput(10);
Bytes room(100);
const Answer kBeforeAllStreams = Compress(10, 0, {kInput.data(), 10, room.data(), 100});

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
    EXPECT_EQ(Front(Compression(Text(1000), option).Run().bytes, 8), header) << option;
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
    ASSERT_EQ(Compress(20, kCsFirstCall | (option & kCsLzh), {from, 10, to, 100})[0],
              kCsInputExhausted);
    EXPECT_EQ(Compress(length, option, buffers), (Answer{code, 0, 0})) << option << ' ' << length;
    const std::int32_t later = code == kCsBadAlgorithm ? code : kCsBadState;
    EXPECT_EQ(Compress(20, 0, {from, 10, to, 100}), (Answer{later, 0, 0}));
  }
  EXPECT_EQ(Compress(10, kFirstLzh, {from, 10, to, 8}), (Answer{kCsOutputFull, 0, 8}));
  EXPECT_EQ(Compress(10, 0, {from, 9, nullptr, 0}), (Answer{kCsInputExhausted, 9, 0}));
  EXPECT_EQ(Compress(10, 0, {from, 1, nullptr, 0}), (Answer{kCsOutputFull, 1, 0}));
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
    EXPECT_EQ(Restore(kCsFirstCall, {header.data(), 8, &out, 0}),
              (Answer{code, code < 0 ? 0 : 8, 0}));
    if (code < 0) {
      EXPECT_EQ(Restore(0, {header.data(), 8, &out, 1}), (Answer{code, 0, 0}));
    }
    EXPECT_EQ(Restore(kCsFirstCall, {header.data(), 8, &out, -1})[0], kCsBadOutput);
    EXPECT_EQ(Restore(kCsFirstCall, {header.data(), 7, &out, 0})[0], kCsBadInput);
    EXPECT_EQ(CsCheckHeader(header.data()), std::min(code, 0));
  }
  ASSERT_EQ(CsCheckHeader(Header(9, 0x11, 0x8D).data()), 0);
  EXPECT_EQ(Restore(0, {kInput.data(), 1, &out, 0})[0], kCsBadOutput);
  EXPECT_EQ(Restore(0, {&out, 1, nullptr, 1})[0], kCsNullBuffer);
  EXPECT_EQ(Restore(0, {&out, 1, &out, 1})[0], kCsSameBuffer);
  Bytes same = Header(9, 0x11, 0x8D);
  EXPECT_EQ(Restore(kCsFirstCall, {same.data(), 8, same.data(), 8})[0], kCsSameBuffer);
  ASSERT_EQ(CsCheckHeader(Header(9, 0x12, 2).data()), 0);
  EXPECT_EQ(Restore(0, {nullptr, 0, &out, 0})[0], kCsNothingToDo);
}

TEST(FrontEnd, GoesOnAfterTheHeaderCheck) {
  for (const std::int32_t option : {kFirstLzc, kFirstLzh}) {
    const Bytes stream = Compression(Text(5000), option).Run().bytes;
    ASSERT_EQ(CsCheckHeader(stream.data()), 0);
    Bytes out(6000);
    const auto rest = static_cast<std::int32_t>(stream.size() - 8);
    EXPECT_EQ(Restore(0, {&stream[8], rest, out.data(), 6000}),
              (Answer{kCsEndOfStream, rest, 5000}));
    EXPECT_EQ(Front(out, 5000), Text(5000));
  }
}

TEST(FrontEnd, RestoresWhatItCompressedHoweverBothAreCut) {
  for (const std::int32_t option : {kFirstLzc, kFirstLzh, kFirstLzh | 9 << kCsLevelShift}) {
    for (const std::size_t length : {0U, 1U, 300U, 70000U}) {
      if (length == 0 && option == kFirstLzc) continue;  // refused
      const Bytes data = Text(length);
      const Bytes whole = Compression(data, option).Run().bytes;
      for (const std::size_t longest : {1U, 20U, 3000U}) {
        EXPECT_EQ(Compression(data, option, longest).Run(), (Result{kCsEndOfStream, whole}));
        EXPECT_EQ(Restoration(whole, longest).Run(), (Result{kCsEndOfStream, data}));
      }
    }
  }
}

TEST(FrontEnd, KeepsOneStreamOfEachDirectionApart) {
  for (const std::int32_t option : {kFirstLzc, kFirstLzh}) {
    const Bytes alone = Compression(Text(30000), option).Run().bytes;
    Stream compression = Compression(Text(30000), option, 500);
    Stream restoration = Restoration(alone, 300);
    for (bool more = true; more;) {
      const bool compressing = compression.result().code != kCsEndOfStream && compression.Step();
      more = (restoration.result().code != kCsEndOfStream && restoration.Step()) || compressing;
    }
    EXPECT_EQ(compression.result().bytes, alone);
    EXPECT_EQ(restoration.result().bytes, Text(30000));
  }
}

}  // namespace
}  // namespace cscompr::test
