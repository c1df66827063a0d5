// The codecs that are measured: this project's, and peers that do the same work. All of them throw
// std::runtime_error when a library reports a failure. Streams of peers are those of RFC 1951,
// without any frame.
#ifndef MOLDEX_BENCH_CODECS_H_
#define MOLDEX_BENCH_CODECS_H_

#include <cstdint>

#include "pieces.h"

namespace moldex::bench {

// This project's, through the interface that the archiver uses. `option` selects the algorithm and
// the level as the library's option word does, without the bit of the first call.
void CsCompress(Bytes input, std::int32_t option, Sink& sink);
void CsDecompress(Bytes stream, Sink& sink);
std::uint32_t ArchiveChecksum(Bytes input);

// zlib with the window and the matcher's parameters of this project's `level`: 1, 2, 6 or 9. Its
// hash has 7 bits more than `memory_level`: at 7 it takes the same decisions, byte for byte, at 8,
// zlib's default, it meets fewer candidates that share nothing but their hash.
void ZlibCompress(Bytes input, int level, int memory_level, Sink& sink);
void ZlibDecompress(Bytes stream, Sink& sink);
std::uint32_t ZlibChecksum(Bytes input);

// libdeflate takes whole buffers only. `level` is its own. The first two return the bytes written.
std::size_t LibdeflateCompress(Bytes input, int level, Room output);
std::size_t LibdeflateDecompress(Bytes stream, Room output);
std::uint32_t LibdeflateChecksum(Bytes input);

void IsalDecompress(Bytes stream, Sink& sink);

}  // namespace moldex::bench

#endif  // MOLDEX_BENCH_CODECS_H_
