// Shows how often pieces of a stream agree with a single encoder, and what joining them costs:
//   piece_agreement FILE...
// Compares the streams, too. The times are processor time.
#include <algorithm>
#include <array>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "cscompr/cscompr.h"
#include "cscompr/lzh/piece_coder.h"
#include "cscompr/lzh/piece_joiner.h"
#include "cscompr/lzh/piece_matcher.h"
#include "cscompr/stream_encoder.h"
#include "pieces.h"

namespace moldex::bench {
namespace {

using namespace cscompr;

constexpr std::array kLevels = {1, 2, 6};
constexpr std::array<std::uint32_t, 2> kPieceLengths = {64 * 1024, 128 * 1024};

struct Figures {
  std::uint64_t pieces = 0;                              // without the first of each file
  std::array<std::uint64_t, kMostLzhSteps + 1> again{};  // pieces, by the steps matched again
  std::uint64_t again_bytes = 0;
  std::clock_t encoder = 0;
  std::clock_t match = 0;
  std::clock_t join = 0;
  std::clock_t code = 0;
  std::clock_t append = 0;
};

template <typename Work>
auto Timed(std::clock_t& sum, Work work) {
  const std::clock_t begin = std::clock();
  auto result = work();
  sum += std::clock() - begin;
  return result;
}

std::vector<std::uint8_t> ByOneEncoder(Bytes bytes, int level) {
  std::vector<std::uint8_t> stream(bytes.size() + bytes.size() / 8 + 1024);
  const auto length = static_cast<std::int32_t>(bytes.size());
  StreamEncoder encoder;
  const Outcome outcome = encoder.Compress(
      length, {bytes.data(), length, stream.data(), static_cast<std::int32_t>(stream.size())},
      kCsFirstCall | kCsLzh | level << kCsLevelShift);
  if (outcome.code != kCsEndOfStream) throw std::runtime_error("the encoder fails");
  stream.resize(static_cast<std::size_t>(outcome.bytes_written));
  return stream;
}

class Pieces {
 public:
  // Compares with `expected`, the stream of a single encoder.
  void Compress(Bytes bytes, int level, std::uint32_t piece_length, Bytes expected,
                Figures& figures) {
    const LzhStream stream{level, static_cast<std::uint32_t>(bytes.size())};
    joiner_->Start(stream);
    // Matching begins before the piece before it is joined.
    std::uint32_t token_begin = 0;
    for (std::uint32_t begin = 0; begin < bytes.size(); begin += piece_length) {
      const std::uint32_t history = begin > 0 ? kLzhHistoryBytes : 0;
      const LzhPieceInput input{stream, begin, bytes.subspan(begin - history, history),
                                bytes.subspan(begin, std::min(piece_length, stream.length - begin)),
                                std::exchange(token_begin, joiner_->TokenBegin())};
      const Bytes made = Compress(input, figures);
      if (!std::ranges::equal(made, expected.first(std::min(made.size(), expected.size()))))
        throw std::runtime_error("pieces make another stream");
      expected = expected.subspan(made.size());
    }
    if (!expected.empty()) throw std::runtime_error("pieces make a shorter stream");
  }

 private:
  Bytes Compress(const LzhPieceInput& input, Figures& figures) {
    Timed(figures.match, [&] { return matcher_->Match(input, piece_), 0; });
    const std::uint32_t again =
        Timed(figures.join, [&] { return joiner_->Join(input, *matcher_, piece_); });
    Timed(figures.code, [&] { return CodePiece(piece_, coded_), 0; });
    figures.pieces += input.begin > 0 ? 1 : 0;
    figures.again.at((again + kLzhStepBytes - 1) / kLzhStepBytes) += input.begin > 0 ? 1 : 0;
    figures.again_bytes += again;
    return Timed(figures.append, [&] { return joiner_->Append(coded_); });
  }

  std::unique_ptr<LzhPieceMatcher> matcher_ = std::make_unique<LzhPieceMatcher>();
  std::unique_ptr<LzhPieceJoiner> joiner_ = std::make_unique<LzhPieceJoiner>();
  std::vector<LzhToken> tokens_ = std::vector<LzhToken>(LzhTokenRoom(kMostLzhPieceBytes));
  std::vector<std::uint8_t> bits_ = std::vector<std::uint8_t>(LzhCodedRoom(kMostLzhPieceBytes));
  LzhPiece piece_ = {.room = tokens_};
  LzhCodedPiece coded_ = {.room = bits_};
};

void Print(int level, std::uint32_t piece_length, std::uint64_t bytes, const Figures& figures) {
  std::cout << "level " << level << ", pieces of " << piece_length / 1024
            << " KiB: " << figures.again[0] << " of " << figures.pieces << " agree at once";
  for (std::size_t steps = 1; steps < figures.again.size(); ++steps) {
    if (figures.again.at(steps) > 0)
      std::cout << ", " << figures.again.at(steps) << " after " << steps * kLzhStepBytes / 1024
                << " KiB";
  }
  const std::clock_t all = figures.match + figures.join + figures.code + figures.append;
  const auto rate = [&](std::clock_t time) {
    return static_cast<double>(bytes) / 1e9 * CLOCKS_PER_SEC / static_cast<double>(time);
  };
  std::cout << "; " << static_cast<double>(figures.again_bytes) / 1e6
            << " MB matched again. GB/s: joining " << rate(figures.join) << ", appending "
            << rate(figures.append) << ", all " << rate(all) << ", a single encoder "
            << rate(figures.encoder) << '\n';
}

void Measure(const std::vector<std::vector<std::uint8_t>>& files) {
  std::uint64_t bytes = 0;
  for (const auto& file : files)
    bytes += file.size();
  std::cout << files.size() << " files, " << static_cast<double>(bytes) / 1e6 << " MB\n";
  Pieces pieces;
  for (const int level : kLevels) {
    std::array<Figures, kPieceLengths.size()> figures;
    for (const auto& file : files) {
      std::clock_t encoder = 0;
      const auto expected = Timed(encoder, [&] { return ByOneEncoder(file, level); });
      for (std::size_t i = 0; i < figures.size(); ++i) {
        figures.at(i).encoder += encoder;
        pieces.Compress(file, level, kPieceLengths.at(i), expected, figures.at(i));
      }
    }
    for (std::size_t i = 0; i < figures.size(); ++i)
      Print(level, kPieceLengths.at(i), bytes, figures.at(i));
  }
}

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
  if (!file || bytes.empty() || bytes.size() > 1'000'000'000)
    throw std::runtime_error(path + " cannot be read, is empty or too large");
  return bytes;
}

}  // namespace
}  // namespace moldex::bench

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "piece_agreement: name the files to measure\n";
    return 2;
  }
  try {
    std::vector<std::vector<std::uint8_t>> files;
    for (int i = 1; i < argc; ++i)
      files.push_back(moldex::bench::ReadFile(argv[i]));
    moldex::bench::Measure(files);
  } catch (const std::exception& failure) {
    std::cerr << "piece_agreement: " << failure.what() << '\n';
    return 1;
  }
  return 0;
}
