// Streams of RFC 1951 as zlib writes and reads them.
#ifndef MOLDEX_TESTS_CSCOMPR_ZLIB_STREAMS_H_
#define MOLDEX_TESTS_CSCOMPR_ZLIB_STREAMS_H_

#include <zlib.h>

#include <array>

#include "cscompr/stream_steps.h"

namespace cscompr::test {

struct ZlibSettings {
  int level = 6;
  int strategy = Z_DEFAULT_STRATEGY;
  int window_bits = -14;
  int memory_level = 8;
  std::array<int, 3> tuning = {};  // good length, lazy length and chain of deflateTune; 0: zlib's
};

inline Bytes ZlibDeflate(const Bytes& data, const ZlibSettings& settings) {
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, settings.level, Z_DEFLATED, settings.window_bits,
                         settings.memory_level, settings.strategy),
            Z_OK);
  const auto [good, lazy, chain] = settings.tuning;
  if (chain != 0) deflateTune(&z, good, lazy, 258, chain);
  Bytes stream(deflateBound(&z, data.size()) + 1);
  z.next_in = const_cast<Bytef*>(data.data());
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = stream.data();
  z.avail_out = static_cast<uInt>(stream.size());
  EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
  stream.resize(z.total_out);
  deflateEnd(&z);
  return stream;
}

// The stream after its 8-byte header, inflated by zlib; code Z_STREAM_END when it ends well.
inline Result ZlibInflate(const Bytes& stream, std::size_t room, int window_bits) {
  z_stream z{};
  EXPECT_EQ(inflateInit2(&z, window_bits), Z_OK);
  Result result{0, Bytes(room)};
  z.next_in = const_cast<Bytef*>(stream.data() + kCsHeaderBytes);
  z.avail_in = static_cast<uInt>(stream.size() - kCsHeaderBytes);
  z.next_out = result.bytes.data();
  z.avail_out = static_cast<uInt>(room);
  result.code = inflate(&z, Z_FINISH);
  result.bytes.resize(z.total_out);
  result.read = z.total_in;
  inflateEnd(&z);
  return result;
}

}  // namespace cscompr::test

#endif  // MOLDEX_TESTS_CSCOMPR_ZLIB_STREAMS_H_
