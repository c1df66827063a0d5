// The LZH decoder against streams that zlib writes and streams made by hand, whole and in pieces.
// Every buffer is on the heap at its exact size, so that the sanitizer sees a step outside it.
#include "cscompr/lzh_decoder.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cscompr/cscompr.h"
#include "cscompr/deflate_format.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kWhole = std::size_t{1} << 24;

LzhDecoder decoder;  // one for all streams, so that each meets what the one before left

struct Decoded {
  std::int32_t code = 0;
  Bytes output;
  bool operator==(const Decoded&) const = default;
};

void PrintTo(const Decoded& decoded, std::ostream* out) {
  *out << "code " << decoded.code << ", " << decoded.output.size() << " bytes";
}

std::unique_ptr<std::uint8_t[]> ExactBuffer(std::size_t length) {
  return length == 0 ? nullptr : std::make_unique_for_overwrite<std::uint8_t[]>(length);
}

// One call on buffers of their own; checks what every outcome promises.
Outcome Call(const std::uint8_t* input, std::size_t input_length, std::size_t room, bool first,
             Bytes& output) {
  const auto in = ExactBuffer(input_length);
  std::copy_n(input, input_length, in.get());
  const auto out = ExactBuffer(room);
  const Buffers buffers{in.get(), static_cast<std::int32_t>(input_length), out.get(),
                        static_cast<std::int32_t>(room)};
  const Outcome outcome = first ? decoder.Start(buffers) : decoder.Resume(buffers);
  EXPECT_NE(outcome.code, 0);
  EXPECT_LE(outcome.bytes_read, buffers.input_length);
  EXPECT_LE(outcome.bytes_written, buffers.output_length);
  if (outcome.code == kCsEndOfStream || outcome.code == kCsInputExhausted) {
    EXPECT_EQ(outcome.bytes_read, buffers.input_length);
  }
  if (outcome.code == kCsOutputFull) {
    EXPECT_EQ(outcome.bytes_written, buffers.output_length);
  }
  output.insert(output.end(), out.get(), out.get() + outcome.bytes_written);
  return outcome;
}

// Decodes until the stream ends, fails or wants more than there is.
Decoded Decode(const Bytes& stream, std::size_t input_piece, std::size_t output_piece) {
  Decoded decoded;
  std::size_t position = 0;
  for (bool first = true;; first = false) {
    const std::size_t wanted = first ? std::max<std::size_t>(input_piece, 8) : input_piece;
    const std::size_t offered = std::min(wanted, stream.size() - position);
    const Outcome outcome =
        Call(stream.data() + position, offered, output_piece, first, decoded.output);
    position += static_cast<std::size_t>(outcome.bytes_read);
    decoded.code = outcome.code;
    const bool starved = outcome.code == kCsInputExhausted && position == stream.size();
    if (outcome.code < 0 || outcome.code == kCsEndOfStream || starved) return decoded;
    if (!first && outcome.bytes_read == 0 && outcome.bytes_written == 0) {
      ADD_FAILURE() << "a call without progress";
      return decoded;
    }
  }
}

Decoded DecodeWhole(const Bytes& stream) { return Decode(stream, kWhole, 1 << 17); }

Bytes Header(std::size_t original_length) {
  Bytes header(kStreamHeaderBytes);
  WriteStreamHeader(static_cast<std::uint32_t>(original_length), Algorithm::kLzh, 2, header.data());
  return header;
}

struct ZlibSettings {
  int level = 6;
  int strategy = Z_DEFAULT_STRATEGY;
  int window_bits = -14;
  int memory_level = 8;
};

Bytes ZlibStream(const Bytes& data, const ZlibSettings& settings) {
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, settings.level, Z_DEFLATED, settings.window_bits,
                         settings.memory_level, settings.strategy),
            Z_OK);
  Bytes stream = Header(data.size());
  stream.resize(stream.size() + deflateBound(&z, data.size()) + 1);
  Bytes input = data;
  z.next_in = input.data();
  z.avail_in = static_cast<uInt>(input.size());
  z.next_out = stream.data() + kStreamHeaderBytes;
  z.avail_out = static_cast<uInt>(stream.size() - kStreamHeaderBytes);
  EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
  stream.resize(kStreamHeaderBytes + z.total_out + 1);
  stream.back() = 0;
  deflateEnd(&z);
  return stream;
}

// What zlib makes of the same stream; code 1 when it ends well.
Decoded ZlibDecode(const Bytes& stream, std::size_t room) {
  z_stream z{};
  EXPECT_EQ(inflateInit2(&z, -15), Z_OK);
  Bytes input(stream.begin() + kStreamHeaderBytes, stream.end());
  Decoded decoded{0, Bytes(room)};
  z.next_in = input.data();
  z.avail_in = static_cast<uInt>(input.size());
  z.next_out = decoded.output.data();
  z.avail_out = static_cast<uInt>(room);
  decoded.code = inflate(&z, Z_FINISH);
  decoded.output.resize(z.total_out);
  inflateEnd(&z);
  return decoded;
}

Bytes Text(std::size_t length) {
  std::mt19937 random(7);
  const std::vector<std::string> words = {"the ",  "window ", "slides, ", "and a ", "match ",
                                          "of 16", "384 ",    "bytes\n",  "is ",    "archived. "};
  Bytes data;
  while (data.size() < length) {
    const std::string& word = words[random() % words.size()];
    data.insert(data.end(), word.begin(), word.end());
    if (random() % 4 == 0) data.push_back(static_cast<std::uint8_t>('a' + random() % 26));
  }
  data.resize(length);
  return data;
}

// Records of 24 bytes whose fields change slowly: short distances, long codes, many of them.
Bytes Binary(std::size_t length) {
  std::mt19937 random(11);
  Bytes data(length);
  for (std::size_t i = 0; i < length; ++i) {
    const bool noisy = i % 24 < 3;
    data[i] = static_cast<std::uint8_t>(noisy ? random() % 97 : i / 24 >> (i % 24));
  }
  return data;
}

Bytes Runs(std::size_t length) {
  std::mt19937 random(13);
  Bytes data;
  while (data.size() < length) {
    const Bytes pattern(1 + random() % 19, static_cast<std::uint8_t>(random() % 5));
    data.insert(data.end(), random() % 700, static_cast<std::uint8_t>(random() % 3));
    data.insert(data.end(), pattern.begin(), pattern.end());
  }
  data.resize(length);
  return data;
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
  const std::vector<Bytes> samples = {{},          {'x'},        Text(90000), Binary(90000),
                                      Runs(90000), Skewed(90000)};
  const std::vector<std::pair<std::size_t, std::size_t>> pieces = {
      {kWhole, 1 << 17}, {65536, 65536}, {4096, 777}, {13, 300}, {500, 16384}};
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED}) {
    for (int step = 0; step < 9; ++step) {
      const ZlibSettings settings{1 + step, strategy, -9 - step % 6, 1 + step};
      for (const Bytes& data : samples) {
        // zlib would store what its one allowed code does not make shorter.
        if (&data == &samples.back() && (strategy == Z_FIXED || strategy == Z_RLE)) continue;
        const Bytes stream = ZlibStream(data, settings);
        const auto& [in, out] = pieces[static_cast<std::size_t>(step) % pieces.size()];
        decoder.SetPortable(step % 2 == 1);
        ASSERT_EQ(DecodeWhole(stream), (Decoded{kCsEndOfStream, data}))
            << "level " << step + 1 << " strategy " << strategy;
        decoder.SetPortable(step % 2 == 0);
        ASSERT_EQ(Decode(stream, in, out), (Decoded{kCsEndOfStream, data}))
            << "level " << step + 1 << " strategy " << strategy << " pieces " << in << ' ' << out;
      }
    }
  }
  decoder.SetPortable(false);
}

TEST(LzhDecoderTest, PiecesOfAnySizeGiveTheSame) {
  const Bytes data = Text(40000);
  const Bytes stream = ZlibStream(data, {});
  for (const std::size_t in : std::vector<std::size_t>{1, 2, 7, 8, 15, 16, 100, 5000}) {
    for (const std::size_t out :
         std::vector<std::size_t>{1, 2, 3, 259, 282, 283, 5000, 16383, 16385, 30000}) {
      ASSERT_EQ(Decode(stream, in, out), (Decoded{kCsEndOfStream, data})) << in << ' ' << out;
    }
  }
}

TEST(LzhDecoderTest, ResumesAtEveryByte) {
  const Bytes data = Text(900);
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED}) {
    const Bytes stream = ZlibStream(data, {6, strategy});
    for (std::size_t cut = 8; cut <= stream.size(); ++cut) {
      Bytes output;
      Outcome outcome = Call(stream.data(), cut, data.size(), true, output);
      if (outcome.code != kCsEndOfStream) {
        ASSERT_EQ(outcome.code, kCsInputExhausted) << cut;
        const std::size_t room = data.size() - output.size();
        outcome = Call(stream.data() + cut, stream.size() - cut, room, false, output);
      }
      ASSERT_EQ(outcome.code, kCsEndOfStream) << cut;
      ASSERT_EQ(output, data) << cut;
    }
    for (std::size_t room = 0; room < data.size(); ++room) {
      Bytes output;
      const Outcome first = Call(stream.data(), stream.size(), room, true, output);
      ASSERT_EQ(first.code, kCsOutputFull) << room;
      const auto read = static_cast<std::size_t>(first.bytes_read);
      const Outcome second =
          Call(stream.data() + read, stream.size() - read, data.size() - room, false, output);
      ASSERT_EQ(second.code, kCsEndOfStream) << room;
      ASSERT_EQ(output, data) << room;
    }
  }
}

TEST(LzhDecoderTest, RoomOfOneByteIsFullUntilTheLast) {
  const Bytes data = Text(300);
  const Bytes stream = ZlibStream(data, {});
  Bytes output;
  std::size_t position = 0;
  for (std::size_t i = 0; i < data.size(); ++i) {
    const Outcome outcome =
        Call(stream.data() + position, stream.size() - position, 1, i == 0, output);
    ASSERT_EQ(outcome.code, i + 1 < data.size() ? kCsOutputFull : kCsEndOfStream) << i;
    position += static_cast<std::size_t>(outcome.bytes_read);
  }
  EXPECT_EQ(output, data);
}

TEST(LzhDecoderTest, HeaderAloneWantsMoreAndTheEndTakesAllInput) {
  Bytes stream = ZlibStream(Text(100), {});
  Bytes output;
  const Outcome first = Call(stream.data(), 8, 50, true, output);
  EXPECT_EQ(first.code, kCsInputExhausted);
  EXPECT_EQ(first.bytes_read, 8);
  stream.insert(stream.end(), 1000, 0xEE);  // not ours; counts as read with the end
  EXPECT_EQ(Call(stream.data() + 8, stream.size() - 8, 100, false, output).code, kCsEndOfStream);
  EXPECT_EQ(output, Text(100));
  EXPECT_EQ(Call(stream.data(), 77, 10, false, output).code, kCsEndOfStream);
  EXPECT_EQ(output.size(), 100U);
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
    Bytes stream = Header(original_length);
    stream.insert(stream.end(), bytes_.begin(), bytes_.end());
    stream.push_back(0);
    return stream;
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
    return Bits()
        .FixedBlock()
        .FixedLiterals('z', literals)
        .FixedLength(257)
        .Code(symbol, 5)
        .Put(extra, bits)
        .FixedLiterals('p', 40)
        .FixedEnd();
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
    const Bytes stream = made.bits.Stream(made.original_length);
    const Decoded whole = DecodeWhole(stream);
    EXPECT_EQ(whole.code, made.code) << made.name;
    EXPECT_EQ(whole.output.size(), made.delivered) << made.name;
    EXPECT_EQ(Decode(stream, 1, 1), whole) << made.name;
    EXPECT_EQ(Decode(stream, 3, 500), whole) << made.name;
    EXPECT_EQ(Decode(stream, kWhole, 600), whole) << made.name;
  }
}

TEST(LzhDecoderTest, FailureLastsUntilTheNextStart) {
  Bytes output;
  const Bytes bad = Bits().Put(1, 3).Stream(5);
  EXPECT_EQ(Call(bad.data(), bad.size(), 5, true, output).code, kCsBadBlockType);
  EXPECT_EQ(Call(bad.data(), bad.size(), 5, false, output).code, kCsBadBlockType);
  EXPECT_EQ(DecodeWhole(ZlibStream(Text(50), {})), (Decoded{kCsEndOfStream, Text(50)}));
}

TEST(LzhDecoderTest, EmptyBlocksEndWithTheInput) {
  Bits chain;
  for (int i = 0; i < 2000; ++i) {
    chain.Put(0, 1).Put(2, 2).Put(1, 5).Put(0, 5).Put(15, 4);
    chain.PlainLengths(Lengths(1, 2, 2, {1})).Code(2, 2);
  }
  const Bytes endless = chain.Stream(10);
  const Bytes half(endless.begin(),
                   endless.begin() + static_cast<std::ptrdiff_t>(endless.size() / 2));
  EXPECT_EQ(DecodeWhole(half), (Decoded{kCsInputExhausted, {}}));
  const Bytes ended = chain.FixedBlock().FixedEnd().Stream(10);
  EXPECT_EQ(DecodeWhole(ended), (Decoded{kCsEndOfStream, {}}));
}

TEST(LzhDecoderTest, EveryFlippedBitIsJudgedAsZlibJudges) {
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED}) {
    const Bytes data = Text(700);
    const Bytes stream = ZlibStream(data, {9, strategy});
    for (std::size_t bit = 8 * kStreamHeaderBytes; bit < 8 * stream.size(); ++bit) {
      Bytes damaged = stream;
      damaged[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
      const Decoded whole = DecodeWhole(damaged);
      ASSERT_EQ(Decode(damaged, 1, 1), whole) << bit;
      ASSERT_EQ(Decode(damaged, 5, 64), whole) << bit;
      const Decoded zlib = ZlibDecode(damaged, 1 << 17);
      if (zlib.code != Z_STREAM_END) {
        EXPECT_NE(whole.code, kCsEndOfStream) << bit;
      } else if (zlib.output.size() > data.size()) {
        EXPECT_EQ(whole.code, kCsTooLong) << bit;
      } else if (whole.code != kCsBadBlockType) {
        EXPECT_EQ(whole, (Decoded{kCsEndOfStream, zlib.output})) << bit;
      }
    }
  }
}

TEST(LzhDecoderTest, EveryTruncationWantsMore) {
  const Bytes data = Text(700);
  for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED}) {
    const Bytes stream = ZlibStream(data, {6, strategy});
    for (std::size_t length = 8; length + 1 < stream.size(); ++length) {
      const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length));
      const Decoded whole = DecodeWhole(cut);
      ASSERT_EQ(whole.code, kCsInputExhausted) << length;
      ASSERT_TRUE(std::equal(whole.output.begin(), whole.output.end(), data.begin())) << length;
    }
  }
}

}  // namespace
}  // namespace cscompr
