// Takes a stream through an encoder or a decoder in calls of any size, and makes the data for it.
//
// Every call gets buffers of its own, on the heap at their exact sizes, so that the sanitizer sees
// a step outside them. Every outcome is held against what callers are promised.
#ifndef MOLDEX_TESTS_CSCOMPR_STREAM_STEPS_H_
#define MOLDEX_TESTS_CSCOMPR_STREAM_STEPS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cscompr/buffers.h"
#include "cscompr/cscompr.h"

namespace cscompr::test {

using Bytes = std::vector<std::uint8_t>;
using Cut = std::function<std::size_t()>;  // the length of the next piece
using Call = std::function<Outcome(const Buffers& buffers, bool first)>;

struct Result {
  std::int32_t code = 0;
  Bytes bytes;
  std::size_t read = 0;  // not compared: with the end all input counts as read, however much it is
  bool operator==(const Result& other) const { return code == other.code && bytes == other.bytes; }
};

inline void PrintTo(const Result& result, std::ostream* out) {
  *out << "code " << result.code << ", " << result.bytes.size() << " bytes, read " << result.read;
}

inline Cut Always(std::size_t length) {
  return [length] { return length; };
}

inline Cut UpTo(std::size_t longest, unsigned seed, std::size_t least = 0) {
  return [=, engine = std::mt19937(seed)]() mutable {
    return least + engine() % (longest + 1 - least);
  };
}

inline const Cut kWhole = Always(std::size_t{1} << 20);

enum class Way { kCompress, kRestore };

// One stream on its way. Its first call offers the space for a header, or its bytes.
class Stream {
 public:
  Stream(Way way, Bytes input, Call call, Cut input_cut = kWhole, Cut output_cut = kWhole)
      : way_(way),
        input_(std::move(input)),
        call_(std::move(call)),
        input_cut_(std::move(input_cut)),
        output_cut_(std::move(output_cut)) {}

  // One call. False when the stream ended or failed, or wants more input than there is.
  bool Step() {
    const std::size_t header = first_ ? kCsHeaderBytes : 0;
    const std::size_t least_in = way_ == Way::kRestore ? header : 0;
    const std::size_t least_out = way_ == Way::kCompress ? header : 0;
    const std::size_t left = input_.size() - result_.read;
    const std::size_t length = std::min(std::max(input_cut_(), least_in), left);
    const std::size_t room = std::max(output_cut_(), least_out);
    const auto in = std::make_unique_for_overwrite<std::uint8_t[]>(length);
    const auto out = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    std::copy_n(input_.data() + result_.read, length, in.get());
    const Buffers buffers{in.get(), static_cast<std::int32_t>(length), out.get(),
                          static_cast<std::int32_t>(room)};
    const Outcome outcome = call_(buffers, std::exchange(first_, false));
    Check(buffers, outcome);
    result_.code = outcome.code;
    result_.read += static_cast<std::size_t>(outcome.bytes_read);
    result_.bytes.insert(result_.bytes.end(), out.get(), out.get() + outcome.bytes_written);
    if (::testing::Test::HasFailure()) return false;
    return outcome.code == kCsOutputFull ||
           (outcome.code == kCsInputExhausted && result_.read < input_.size());
  }

  const Result& Run() {
    while (Step()) {
    }
    return result_;
  }
  [[nodiscard]] const Result& result() const { return result_; }

 private:
  void Check(const Buffers& buffers, const Outcome& outcome) const {
    EXPECT_NE(outcome.code, 0);
    EXPECT_LE(outcome.bytes_read, buffers.input_length);
    EXPECT_LE(outcome.bytes_written, buffers.output_length);
    const bool ended = outcome.code == kCsEndOfStream;
    if (outcome.code == kCsInputExhausted || (ended && way_ == Way::kRestore)) {
      EXPECT_EQ(outcome.bytes_read, buffers.input_length);
    }
    if (outcome.code == kCsOutputFull) {
      EXPECT_EQ(outcome.bytes_written, buffers.output_length);
    }
    if (ended && way_ == Way::kCompress) {
      EXPECT_GT(outcome.bytes_written, 0) << "a last call that brought nothing";
    }
  }

  Way way_;
  Bytes input_;
  Call call_;
  Cut input_cut_;
  Cut output_cut_;
  bool first_ = true;
  Result result_;
};

// The library's own calls as a stream. The option is that of a first call.
inline Stream Compression(const Bytes& data, std::int32_t option, Cut input_cut = kWhole,
                          Cut output_cut = kWhole) {
  Bytes offered = data;
  offered.resize(data.size() + 5,
                 'x');  // more than belongs to the stream, which has to stay unread
  const auto call = [option, size = static_cast<std::int32_t>(data.size())](const Buffers& b,
                                                                            bool first) {
    Outcome o;
    o.code = CsCompr(size, b.input, b.input_length, b.output, b.output_length,
                     first ? option : option & ~kCsFirstCall, &o.bytes_read, &o.bytes_written);
    return o;
  };
  return {Way::kCompress, offered, call, std::move(input_cut), std::move(output_cut)};
}

inline Stream Restoration(const Bytes& stream, Cut input_cut = kWhole, Cut output_cut = kWhole) {
  const auto call = [](const Buffers& b, bool first) {
    Outcome o;
    o.code = CsDecompr(b.input, b.input_length, b.output, b.output_length, first ? kCsFirstCall : 0,
                       &o.bytes_read, &o.bytes_written);
    return o;
  };
  return {Way::kRestore, stream, call, std::move(input_cut), std::move(output_cut)};
}

inline Bytes Compress(const Bytes& data, std::int32_t option, Cut input_cut = kWhole,
                      Cut output_cut = kWhole) {
  Stream stream = Compression(data, option, std::move(input_cut), std::move(output_cut));
  EXPECT_EQ(stream.Run().code, kCsEndOfStream);
  EXPECT_EQ(stream.result().read, data.size());
  const std::size_t n = data.size();  // the bounds of the header
  const bool is_lzh = (option & kCsAlgorithmMask) == kCsLzh;
  EXPECT_LE(stream.result().bytes.size(), n + n / 8 + 16 + (is_lzh ? n / 2048 : n / 2));
  return stream.result().bytes;
}

inline Result Restore(const Bytes& stream, Cut input_cut = kWhole, Cut output_cut = kWhole) {
  return Restoration(stream, std::move(input_cut), std::move(output_cut)).Run();
}

constexpr std::int32_t kFirstLzc = kCsFirstCall | kCsLzc;
constexpr std::int32_t kFirstLzh = kCsFirstCall | kCsLzh;
constexpr std::int32_t FirstLzh(int level) { return kFirstLzh | level << kCsLevelShift; }

// The cuts that tests of every codec go through: of the input, and of the output.
inline std::vector<std::pair<Cut, Cut>> AllCuts() {
  return {{Always(1), Always(1)},          {Always(1), Always(700)},
          {Always(700), Always(1)},        {Always(261), Always(300)},
          {Always(16384), Always(4096)},   {UpTo(40, 1), UpTo(40, 2, 1)},
          {UpTo(5000, 3), UpTo(70, 4, 1)}, {UpTo(70, 5), UpTo(32768, 6, 1)}};
}

inline Bytes Joined(Bytes front, const Bytes& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

inline Bytes Front(const Bytes& bytes, std::size_t length) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)};
}

inline Bytes From(const Bytes& bytes, std::size_t start) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(start), bytes.end()};
}

inline Bytes Header(std::size_t length, unsigned algorithm, unsigned parameter) {
  const auto byte = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
  return {byte(length),
          byte(length >> 8),
          byte(length >> 16),
          byte(length >> 24),
          byte(algorithm),
          0x1F,
          0x9D,
          byte(parameter)};
}

inline Bytes Noise(std::size_t length, unsigned symbols = 256) {
  std::mt19937 random(symbols);
  Bytes bytes(length);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(random() % symbols);
  return bytes;
}

// Words of a small vocabulary, the frequent ones far more often.
// One call of the generator a statement: compilers order several as they like.
inline Bytes Text(std::size_t length) {
  std::mt19937 random(1);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  std::vector<std::string> words(1000);
  for (auto& word : words) {
    for (auto letters = 1 + below(9); letters > 0; --letters) {
      const auto one = below(26);
      const auto other = below(26);
      word += static_cast<char>('a' + std::min(one, other));
    }
  }
  Bytes bytes;
  while (bytes.size() < length) {
    const auto most = 1 + below(words.size());
    const auto more = 1 + below(most);
    const auto& word = words[below(more)];
    bytes.insert(bytes.end(), word.begin(), word.end());
    bytes.push_back(below(12) == 0 ? '\n' : ' ');
  }
  bytes.resize(length);
  return bytes;
}

// No three bytes occur twice; `size` up to 16,384.
inline Bytes NoMatches(std::size_t size) {
  Bytes bytes;
  for (unsigned i = 0; bytes.size() < size; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(i / 64));
    bytes.push_back(static_cast<std::uint8_t>(128 + i % 64));
  }
  bytes.resize(size);
  return bytes;
}

// Runs of all lengths, with few different bytes.
inline Bytes Runs(std::size_t length) {
  std::mt19937 random(3);
  Bytes bytes;
  while (bytes.size() < length) {
    const unsigned longest = random() % 4 == 0 ? 700 : 20;
    const auto count = random() % longest;
    bytes.insert(bytes.end(), count, static_cast<std::uint8_t>(random() % 3));
  }
  bytes.resize(length);
  return bytes;
}

}  // namespace cscompr::test

#endif  // MOLDEX_TESTS_CSCOMPR_STREAM_STEPS_H_
