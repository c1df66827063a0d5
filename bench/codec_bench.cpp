// Measures the codecs and their peers on files:
//   codec_bench [OPTIONS OF GOOGLE BENCHMARK] FILE...
// Every benchmark is named WORK/WHO/FILE and reports bytes of the uncompressed file per second.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "codecs.h"
#include "cscompr/cscompr.h"
#include "unbuffered_file.h"

namespace moldex::bench {
namespace {

constexpr std::array kLevels = {1, 2, 6, 9};
constexpr std::size_t kLargestSample = 128'000'000;

// A file to measure on and the streams made of it. Lives as long as its benchmarks.
struct Sample {
  std::string path;
  std::string name;
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint8_t> lzh;
  std::vector<std::uint8_t> lzc;
  std::vector<std::uint8_t> whole_output;  // for codecs that only take whole buffers

  [[nodiscard]] Bytes raw_deflate() const { return Bytes(lzh).subspan(kCsHeaderBytes); }
};

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
  if (!file || bytes.empty() || bytes.size() > kLargestSample) {
    throw std::runtime_error(path + " cannot be read, is empty or too large");
  }
  return bytes;
}

std::int32_t LzhOption(int level) { return kCsLzh | (level << kCsLevelShift); }

std::shared_ptr<Sample> MakeSample(const std::string& path) {
  auto sample = std::make_shared<Sample>();
  sample->path = path;
  sample->name = std::filesystem::path(path).filename().string();
  sample->bytes = ReadFile(path);
  sample->whole_output.resize(sample->bytes.size() + sample->bytes.size() / 8 + 1024);
  Sink lzh(&sample->lzh);
  CsCompress(sample->bytes, LzhOption(2), lzh);
  Sink lzc(&sample->lzc);
  CsCompress(sample->bytes, kCsLzc, lzc);
  return sample;
}

// Adds a benchmark of `work`, which processes the bytes of the sample once.
void Add(const std::shared_ptr<Sample>& sample, const std::string& work_and_who,
         const std::function<void(Sample&)>& work) {
  const auto name = work_and_who + '/' + sample->name;
  benchmark::RegisterBenchmark(name.c_str(), [sample, work](benchmark::State& state) {
    for ([[maybe_unused]] auto turn : state)
      work(*sample);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sample->bytes.size()));
  });
}

// As Add, for a decompressor into a sink. Compares its output with the bytes of the sample first.
void AddDecompressor(const std::shared_ptr<Sample>& sample, const std::string& work_and_who,
                     const std::function<void(Sample&, Sink&)>& work) {
  std::vector<std::uint8_t> restored;
  Sink check(&restored);
  work(*sample, check);
  if (restored != sample->bytes) throw std::runtime_error(work_and_who + " restores other bytes");
  Add(sample, work_and_who, [work](Sample& measured) {
    Sink sink;
    work(measured, sink);
  });
}

void AddCompressors(const std::shared_ptr<Sample>& sample) {
  for (const int level : kLevels) {
    const auto work = "compress-" + std::to_string(level);
    Add(sample, work + "/CsCompr", [level](Sample& measured) {
      Sink sink;
      CsCompress(measured.bytes, LzhOption(level), sink);
    });
    for (const int memory_level : {7, 8}) {
      Add(sample, work + "/zlib-" + std::to_string(memory_level),
          [level, memory_level](Sample& measured) {
            Sink sink;
            ZlibCompress(measured.bytes, level, memory_level, sink);
          });
    }
    Add(sample, work + "/libdeflate", [level](Sample& measured) {
      benchmark::DoNotOptimize(LibdeflateCompress(measured.bytes, level, measured.whole_output));
    });
  }
  Add(sample, "compress-lzc/CsCompr", [](Sample& measured) {
    Sink sink;
    CsCompress(measured.bytes, kCsLzc, sink);
  });
}

void AddDecompressors(const std::shared_ptr<Sample>& sample) {
  AddDecompressor(sample, "decompress/CsDecompr",
                  [](Sample& measured, Sink& sink) { CsDecompress(measured.lzh, sink); });
  AddDecompressor(sample, "decompress/zlib", [](Sample& measured, Sink& sink) {
    ZlibDecompress(measured.raw_deflate(), sink);
  });
  AddDecompressor(sample, "decompress/ISA-L", [](Sample& measured, Sink& sink) {
    IsalDecompress(measured.raw_deflate(), sink);
  });
  AddDecompressor(sample, "decompress-lzc/CsDecompr",
                  [](Sample& measured, Sink& sink) { CsDecompress(measured.lzc, sink); });
  const Room output(sample->whole_output);
  const auto length = LibdeflateDecompress(sample->raw_deflate(), output);
  if (!std::equal(sample->bytes.begin(), sample->bytes.end(), output.begin(),
                  output.begin() + static_cast<std::ptrdiff_t>(length))) {
    throw std::runtime_error("libdeflate restores other bytes");
  }
  Add(sample, "decompress/libdeflate", [](Sample& measured) {
    benchmark::DoNotOptimize(LibdeflateDecompress(measured.raw_deflate(), measured.whole_output));
  });
}

void AddChecksums(const std::shared_ptr<Sample>& sample) {
  if (ZlibChecksum(sample->bytes) != LibdeflateChecksum(sample->bytes)) {
    throw std::runtime_error("the checksums of the peers differ");
  }
  Add(sample, "checksum/archive",
      [](Sample& measured) { benchmark::DoNotOptimize(ArchiveChecksum(measured.bytes)); });
  Add(sample, "checksum/zlib",
      [](Sample& measured) { benchmark::DoNotOptimize(ZlibChecksum(measured.bytes)); });
  Add(sample, "checksum/libdeflate",
      [](Sample& measured) { benchmark::DoNotOptimize(LibdeflateChecksum(measured.bytes)); });
}

// Copies memory that is in no cache: an address is used again only after far more bytes than the
// caches hold were copied.
void CopyFarApart(std::size_t length) {
  static std::vector<std::uint8_t> source(kLargestSample, 1);
  static std::vector<std::uint8_t> target(kLargestSample, 2);
  static std::size_t at = 0;
  if (at + length > kLargestSample) at = 0;
  std::memcpy(target.data() + at, source.data() + at, length);
  benchmark::ClobberMemory();
  at += length;
}

void AddLimits(const std::shared_ptr<Sample>& sample) {
  Add(sample, "limit/memcpy", [](Sample& measured) { CopyFarApart(measured.bytes.size()); });
  Add(sample, "limit/read", [](Sample& measured) {
    const UnbufferedFile file(measured.path, "rb");
    std::array<std::uint8_t, kPieceBytes> room;
    while (!file.Read(room).empty()) {
    }
  });
  Add(sample, "limit/write", [](Sample& measured) {
    const UnbufferedFile file(measured.path + ".written", "wb");
    ForEachPiece(measured.bytes, [&](Bytes piece) { file.Write(piece); });
  });
}

}  // namespace

void AddBenchmarks(const std::string& path) {
  const auto sample = MakeSample(path);
  AddCompressors(sample);
  AddDecompressors(sample);
  AddChecksums(sample);
  AddLimits(sample);
}

}  // namespace moldex::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    for (int i = 1; i < argc; ++i)
      moldex::bench::AddBenchmarks(argv[i]);
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& failure) {
    std::cerr << "codec_bench: " << failure.what() << '\n';
    return 1;
  }
  benchmark::Shutdown();
  return 0;
}
