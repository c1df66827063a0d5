// The library as its callers see it: options, headers, result codes and counters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <random>
#include <vector>

#include "cscompr/cscompr.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int32_t kFirstLzc = kCsFirstCall | kCsLzc;
constexpr std::int32_t kFirstLzh = kCsFirstCall | kCsLzh;

struct Answer {
  std::int32_t code = 0;
  std::int32_t read = -1;
  std::int32_t written = -1;
  bool operator==(const Answer&) const = default;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.code << ", read " << answer.read << ", written " << answer.written;
}

Answer Compress(std::int32_t original_length, const std::uint8_t* input, std::int32_t input_length,
                std::uint8_t* output, std::int32_t output_length, std::int32_t option) {
  Answer answer;
  answer.code = CsCompr(original_length, input, input_length, output, output_length, option,
                        &answer.read, &answer.written);
  return answer;
}

Answer Restore(const Bytes& input, std::uint8_t* output, std::int32_t output_length,
               std::int32_t option) {
  Answer answer;
  answer.code = CsDecompr(input.data(), static_cast<std::int32_t>(input.size()), output,
                          output_length, option, &answer.read, &answer.written);
  return answer;
}

Bytes Data(std::size_t length) {
  std::mt19937 engine(static_cast<unsigned>(length));
  Bytes data(length);
  for (auto& byte : data)
    byte = static_cast<std::uint8_t>('a' + engine() % 5);
  return data;
}

// One stream, in pieces of up to `longest` bytes and rooms likewise, as a test may step it.
struct Compression {
  Bytes data;
  std::int32_t option = kFirstLzh;
  std::size_t longest = 1000;
  Bytes stream = {};
  std::size_t read = 0;
  std::int32_t code = kCsOutputFull;
  std::mt19937 engine{1};

  bool Step() {
    const bool first = stream.empty();
    const std::size_t length = std::min<std::size_t>(engine() % (longest + 1), data.size() - read);
    Bytes in(data.begin() + static_cast<long>(read),
             data.begin() + static_cast<long>(read + length));
    in.reserve(1);  // LZC takes no null pointer
    Bytes out(engine() % longest + (first ? 8 : 1));
    const Answer answer = Compress(
        static_cast<std::int32_t>(data.size()), in.data(), static_cast<std::int32_t>(length),
        out.data(), static_cast<std::int32_t>(out.size()), first ? option : option & ~kCsFirstCall);
    code = answer.code;
    read += static_cast<std::size_t>(answer.read);
    stream.insert(stream.end(), out.begin(), out.begin() + answer.written);
    return code == kCsOutputFull || code == kCsInputExhausted;
  }
};

struct Restoration {
  Bytes stream;
  std::size_t longest = 1000;
  Bytes data = {};
  std::size_t read = 0;
  std::int32_t code = kCsOutputFull;
  std::mt19937 engine{2};

  bool Step() {
    const bool first = read == 0;
    const std::size_t length =
        std::min(engine() % (longest + 1) + (first ? 8U : 0U), stream.size() - read);
    Bytes in(stream.begin() + static_cast<long>(read),
             stream.begin() + static_cast<long>(read + length));
    in.reserve(1);
    Bytes out(engine() % longest + 1);
    const Answer answer =
        Restore(in, out.data(), static_cast<std::int32_t>(out.size()), first ? kCsFirstCall : 0);
    code = answer.code;
    read += static_cast<std::size_t>(answer.read);
    data.insert(data.end(), out.begin(), out.begin() + answer.written);
    return code == kCsOutputFull || code == kCsInputExhausted;
  }
};

template <typename Stream>
Stream RunThrough(Stream stream) {
  while (stream.Step()) {
  }
  return stream;
}

TEST(FrontEnd, WritesTheHeaderThatTheOptionsAskFor) {
  struct Case {
    std::int32_t option;
    std::uint8_t algorithm;
    std::uint8_t parameter;
  };
  for (const Case& c : std::initializer_list<Case>{{0x01, 0x11, 0x8D},
                                                   {0x03, 0x12, 2},
                                                   {0x13, 0x12, 1},
                                                   {0x53, 0x12, 5},
                                                   {0x93, 0x12, 9},
                                                   {0xA3, 0x12, 2},
                                                   {-0x0D, 0x12, 2},
                                                   {0x51, 0x11, 0x8D}}) {
    const Bytes stream = RunThrough(Compression{Data(1000), c.option}).stream;
    const Bytes header(stream.begin(), stream.begin() + kCsHeaderBytes);
    EXPECT_EQ(header, (Bytes{0xE8, 3, 0, 0, c.algorithm, 0x1F, 0x9D, c.parameter})) << c.option;
  }
}

TEST(FrontEnd, JudgesTheArgumentsOfCompressionInOrder) {
  Bytes in(10);
  Bytes out(100);
  const auto code = [&](std::int32_t original, std::int32_t length, std::int32_t room,
                        std::int32_t option, const std::uint8_t* from, std::uint8_t* to) {
    const Answer answer = Compress(original, from, length, to, room, option);
    EXPECT_EQ(answer.read, 0);
    EXPECT_EQ(answer.written, 0);
    return answer.code;
  };
  for (const std::int32_t option : {kFirstLzc, kFirstLzh}) {
    EXPECT_EQ(code(-1, -1, -1, option, nullptr, nullptr), kCsBadInput);
    EXPECT_EQ(code(-1, 10, -1, option, nullptr, nullptr), kCsBadOutput);
    EXPECT_EQ(code(-1, 10, 100, option, nullptr, out.data()), kCsNullBuffer);
    EXPECT_EQ(code(-1, 10, 100, option, in.data(), out.data()), kCsBadLength);
    EXPECT_EQ(code(10, 10, 7, option, in.data(), out.data()), kCsBadOutput);
  }
  EXPECT_EQ(code(0, 10, 7, kFirstLzc, in.data(), in.data()), kCsSameBuffer);
  EXPECT_EQ(code(0, 10, 7, kFirstLzc, in.data(), out.data()), kCsBadLength);
  EXPECT_EQ(code(10, 0, 100, kFirstLzc, nullptr, out.data()), kCsNullBuffer);
  EXPECT_EQ(code(10, 10, 100, 0x05, in.data(), out.data()), kCsBadAlgorithm);
  EXPECT_EQ(code(10, 10, 100, 0x00, in.data(), out.data()), kCsBadAlgorithm) << "05 is kept";
}

TEST(FrontEnd, JudgesTheArgumentsOfDecompression) {
  std::uint8_t out = 0;
  struct Case {
    Bytes header;
    std::int32_t code;
  };
  for (const Case& c :
       std::initializer_list<Case>{{{9, 0, 0, 0, 0x12, 0x1F, 0x9D}, kCsBadInput},
                                   {{9, 0, 0, 0, 0x12, 0x1F, 0x9D, 2}, kCsInputExhausted},
                                   {{9, 0, 0, 0, 0x02, 0x1F, 0x9D, 2}, kCsInputExhausted},
                                   {{9, 0, 0, 0, 0x11, 0x1F, 0x9D, 0x8D}, kCsInputExhausted},
                                   {{9, 0, 0, 0, 0xF1, 0x1F, 0x9D, 0x8D}, kCsInputExhausted},
                                   {{9, 0, 0, 0, 0x11, 0x1F, 0x9D, 0x8F}, kCsBadCodeWidth},
                                   {{9, 0, 0, 0, 0x13, 0x1F, 0x9D, 2}, kCsBadAlgorithm},
                                   {{9, 0, 0, 0, 0x13, 0x1E, 0x9D, 2}, kCsNotAStream},
                                   {{9, 0, 0, 0, 0x12, 0x1F, 0x9C, 2}, kCsNotAStream}}) {
    const std::int32_t read = c.code < 0 ? 0 : kCsHeaderBytes;
    EXPECT_EQ(Restore(c.header, &out, 0, kCsFirstCall), (Answer{c.code, read, 0}));
    EXPECT_EQ(Restore(c.header, &out, -1, kCsFirstCall).code,
              c.header.size() < 8 ? kCsBadInput : kCsBadOutput);
    if (c.header.size() < kCsHeaderBytes) continue;
    EXPECT_EQ(CsCheckHeader(c.header.data()), std::min(c.code, 0));
  }
  const Bytes in(1);
  ASSERT_EQ(Restore({9, 0, 0, 0, 0x11, 0x1F, 0x9D, 0x8D}, &out, 0, kCsFirstCall).code, 3);
  EXPECT_EQ(Restore(in, &out, 0, 0).code, kCsBadOutput);
  EXPECT_EQ(Restore(in, nullptr, 1, 0).code, kCsNullBuffer);
  ASSERT_EQ(Restore({9, 0, 0, 0, 0x12, 0x1F, 0x9D, 2}, &out, 0, kCsFirstCall).code, 3);
  EXPECT_EQ(Restore({}, &out, 0, 0).code, kCsNothingToDo);
}

TEST(FrontEnd, AcceptsAnEmptyStreamForLzhOnly) {
  const Compression lzh = RunThrough(Compression{{}, kFirstLzh});
  EXPECT_EQ(lzh.code, kCsEndOfStream);
  const Restoration restored = RunThrough(Restoration{lzh.stream});
  EXPECT_EQ(restored.code, kCsEndOfStream);
  EXPECT_TRUE(restored.data.empty());
  EXPECT_EQ(RunThrough(Compression{{}, kFirstLzc}).code, kCsBadLength);
}

TEST(FrontEnd, StopsBehindTheHeaderWhenLzhHasNoMoreRoom) {
  const Bytes in = Data(100);
  Bytes out(8);
  EXPECT_EQ(Compress(100, in.data(), 100, out.data(), 8, kFirstLzh), (Answer{kCsOutputFull, 0, 8}));
}

TEST(FrontEnd, GoesOnAfterTheHeaderCheck) {
  const Bytes data = Data(5000);
  for (const std::int32_t option : {kFirstLzc, kFirstLzh}) {
    const Bytes stream = RunThrough(Compression{data, option}).stream;
    ASSERT_EQ(CsCheckHeader(stream.data()), 0);
    Bytes out(6000);
    const Bytes rest(stream.begin() + kCsHeaderBytes, stream.end());
    const Answer answer = Restore(rest, out.data(), 6000, 0);
    EXPECT_EQ(answer, (Answer{kCsEndOfStream, static_cast<std::int32_t>(rest.size()), 5000}));
    EXPECT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
  }
}

TEST(FrontEnd, RestoresWhatItCompressedHoweverBothAreCut) {
  for (const std::int32_t option : {kFirstLzc, kFirstLzh, kFirstLzh | 9 << kCsLevelShift}) {
    for (const std::size_t length : {1U, 2U, 300U, 5000U, 70000U}) {
      const Bytes data = Data(length);
      const Bytes whole = RunThrough(Compression{data, option, 200000}).stream;
      for (const std::size_t longest : {1U, 20U, 3000U}) {
        const Compression compressed = RunThrough(Compression{data, option, longest});
        EXPECT_EQ(compressed.code, kCsEndOfStream);
        EXPECT_EQ(compressed.stream, whole) << length << " in pieces up to " << longest;
        const Restoration restored = RunThrough(Restoration{whole, longest});
        EXPECT_EQ(restored.code, kCsEndOfStream);
        EXPECT_EQ(restored.data, data);
      }
    }
  }
}

TEST(FrontEnd, KeepsOneStreamOfEachDirectionApart) {
  for (const std::int32_t option : {kFirstLzc, kFirstLzh}) {
    Compression compression{Data(20000), option, 500};
    Restoration restoration{RunThrough(Compression{Data(30000), option}).stream};
    const Bytes alone = RunThrough(compression).stream;
    bool more = true;
    while (more) {
      const bool compressing = compression.code >= kCsOutputFull && compression.Step();
      const bool restoring = restoration.code >= kCsOutputFull && restoration.Step();
      more = compressing || restoring;
    }
    EXPECT_EQ(compression.stream, alone);
    EXPECT_EQ(restoration.data, Data(30000));
  }
}

}  // namespace
