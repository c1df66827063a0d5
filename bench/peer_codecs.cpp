#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <array>
#include <memory>

#include "codecs.h"

namespace moldex::bench {
namespace {

constexpr int kWindowBits = 14;  // the encoder's window of 16 KB
constexpr int kMaxMatch = 258;

struct Tuning {
  int level;
  int good_length;
  int max_lazy;
  int max_chain;
};
// The parameters of the encoder's levels.
constexpr std::array<Tuning, 4> kTunings = {{{1, 4, 4, 16},  //
                                             {2, 6, 8, 16},
                                             {6, 8, 128, 256},
                                             {9, 32, 258, 4096}}};

void Require(bool holds, const char* failure) {
  if (!holds) throw std::runtime_error(failure);
}

// One call of a codec with an interface like that of zlib, whose stream counts down the rest of
// both buffers.
template <typename Stream, typename Work>
Step CountedCall(Stream& stream, Bytes piece, Room room, Work work) {
  stream.next_in = const_cast<std::uint8_t*>(piece.data());
  stream.avail_in = static_cast<std::uint32_t>(piece.size());
  stream.next_out = room.data();
  stream.avail_out = static_cast<std::uint32_t>(room.size());
  const bool ended = work();
  return {piece.size() - stream.avail_in, room.size() - stream.avail_out, ended};
}

}  // namespace

void ZlibCompress(Bytes input, int level, int memory_level, Sink& sink) {
  const auto* tuning = std::find_if(kTunings.begin(), kTunings.end(),
                                    [level](const Tuning& other) { return other.level == level; });
  Require(tuning != kTunings.end(), "no such level");
  z_stream stream{};
  // Level 6 selects the lazy matcher, the one that the encoder has at every level.
  Require(
      deflateInit2(&stream, 6, Z_DEFLATED, -kWindowBits, memory_level, Z_DEFAULT_STRATEGY) == Z_OK,
      "deflateInit2 fails");
  deflateTune(&stream, tuning->good_length, tuning->max_lazy, kMaxMatch, tuning->max_chain);
  RunInPieces(input, sink, [&](Bytes piece, Room room, bool last) {
    return CountedCall(stream, piece, room, [&] {
      const int code = deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH);
      Require(code >= 0, "deflate fails");
      return code == Z_STREAM_END;
    });
  });
  deflateEnd(&stream);
}

void ZlibDecompress(Bytes stream_bytes, Sink& sink) {
  z_stream stream{};
  Require(inflateInit2(&stream, -kWindowBits) == Z_OK, "inflateInit2 fails");
  RunInPieces(stream_bytes, sink, [&](Bytes piece, Room room, bool) {
    return CountedCall(stream, piece, room, [&] {
      const int code = inflate(&stream, Z_NO_FLUSH);
      Require(code >= 0, "inflate fails");
      return code == Z_STREAM_END;
    });
  });
  inflateEnd(&stream);
}

std::uint32_t ZlibChecksum(Bytes input) {
  uLong checksum = 0;
  ForEachPiece(input, [&](Bytes piece) {
    checksum = crc32(checksum, piece.data(), static_cast<uInt>(piece.size()));
  });
  return static_cast<std::uint32_t>(checksum);
}

std::size_t LibdeflateCompress(Bytes input, int level, Room output) {
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(level), libdeflate_free_compressor);
  Require(compressor != nullptr, "no compressor of libdeflate");
  const std::size_t length = libdeflate_deflate_compress(
      compressor.get(), input.data(), input.size(), output.data(), output.size());
  Require(length > 0, "libdeflate compression fails");
  return length;
}

std::size_t LibdeflateDecompress(Bytes stream, Room output) {
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  Require(decompressor != nullptr, "no decompressor of libdeflate");
  std::size_t read = 0;
  std::size_t written = 0;
  Require(libdeflate_deflate_decompress_ex(decompressor.get(), stream.data(), stream.size(),
                                           output.data(), output.size(), &read,
                                           &written) == LIBDEFLATE_SUCCESS,
          "libdeflate decompression fails");
  return written;
}

std::uint32_t LibdeflateChecksum(Bytes input) {
  std::uint32_t checksum = 0;
  ForEachPiece(input, [&](Bytes piece) {
    checksum = libdeflate_crc32(checksum, piece.data(), piece.size());
  });
  return checksum;
}

void IsalDecompress(Bytes stream_bytes, Sink& sink) {
  const auto state = std::make_unique<inflate_state>();
  isal_inflate_init(state.get());
  RunInPieces(stream_bytes, sink, [&](Bytes piece, Room room, bool) {
    return CountedCall(*state, piece, room, [&] {
      Require(isal_inflate(state.get()) == ISAL_DECOMP_OK, "ISA-L fails");
      return state->block_state == ISAL_BLOCK_FINISH;
    });
  });
}

}  // namespace moldex::bench
