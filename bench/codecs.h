// The codecs that are measured: those of this project, and peers that do the same work. All
// functions throw std::runtime_error when a library reports a failure. The streams of the peers are
// those of RFC 1951 without a header.
#ifndef MOLDEX_BENCH_CODECS_H_
#define MOLDEX_BENCH_CODECS_H_

#include <cstdint>

#include "pieces.h"

namespace moldex::bench {

// The codecs of this project, called through the interface that the archiver uses. `option` is the
// option word of the library without kCsFirstCall.
void CsCompress(Bytes input, std::int32_t option, Sink& sink);
void CsDecompress(Bytes stream, Sink& sink);
std::uint32_t ArchiveChecksum(Bytes input);

// zlib with the window and the matcher parameters of this project's `level`: 1, 2, 6 or 9. The hash
// of zlib has 7 bits more than `memory_level`. With level 7 zlib finds exactly the same matches.
// With level 8, its default, it meets fewer candidates that only share a hash.
void ZlibCompress(Bytes input, int level, int memory_level, Sink& sink);
void ZlibDecompress(Bytes stream, Sink& sink);
std::uint32_t ZlibChecksum(Bytes input);

// libdeflate takes whole buffers only. `level` is one of its own levels. The first two functions
// return the number of bytes written.
std::size_t LibdeflateCompress(Bytes input, int level, Room output);
std::size_t LibdeflateDecompress(Bytes stream, Room output);
std::uint32_t LibdeflateChecksum(Bytes input);

void IsalDecompress(Bytes stream, Sink& sink);

}  // namespace moldex::bench

#endif  // MOLDEX_BENCH_CODECS_H_
