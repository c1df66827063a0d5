// The compression library: compressed streams, bytes in and bytes out.
//
// A logical stream of bytes becomes one compressed stream, and back, over as many calls as the
// caller's buffers need. Every compressed stream starts with an 8-byte header that carries the
// original length and the algorithm: LZH (the bit stream of RFC 1951 with a 16 KB window, never a
// stored block) or LZC (the LZW codes of the Unix compress utility, 9 to 13 bits wide).
//
// Calling order, in either direction: one first call (kCsFirstCall), then further ones until the
// result is kCsEndOfStream or negative. Nothing is opened or closed: a stream may be given up at
// any time. The next first call starts a new one; if it is refused, there is none, and later calls
// fail. One compression and one decompression may be in progress at a time, interleaved as the
// caller likes; the state of both is library-wide and no call may run at the same time as another.
// The first stream of each algorithm and direction allocates its encoder or decoder, at most half a
// megabyte, which is kept until the process ends. Nothing else is allocated; nothing is thrown or
// printed.
//
// All lengths are bytes. Input and output are the caller's, do not overlap, and are kept by no
// call; the two counters are never null. docs/examples holds the program that the loops below are
// from: `Take` fills a buffer with the next piece of input and returns its length, 0 behind the
// last, and `Put` says whether it had room for a piece.
#ifndef MOLDEX_CSCOMPR_CSCOMPR_H_
#define MOLDEX_CSCOMPR_CSCOMPR_H_

#include <stdint.h>  // NOLINT(modernize-deprecated-headers): C callers include this header too

#ifdef __cplusplus
extern "C" {
#endif

// What the calls return. Positive: the stream is fine. Negative: it cannot go on, and only a first
// call of a new stream is valid afterwards; what was written before and by this call is no whole
// stream.
enum CsResult {
  kCsEndOfStream = 1,       // everything was read and all output delivered
  kCsOutputFull = 2,        // offer room again, and the input that was not read
  kCsInputExhausted = 3,    // all input was read; the stream wants more
  kCsBadOutput = -10,       // output length negative, or too small for the header
  kCsBadInput = -11,        // input length negative, or a first piece shorter than the header
  kCsNoMemory = -12,        // a first call finds no memory for its encoder or decoder
  kCsBadLength = -13,       // original length negative (LZH), or not positive (LZC)
  kCsSameBuffer = -14,      // LZC: input and output are the same buffer, in either direction
  kCsNullBuffer = -15,      // a buffer that is needed is null
  kCsBadState = -19,        // a later call of CsCompr, and no stream of its own is in progress
  kCsNothingToDo = -20,     // LZH decompression with neither input nor room
  kCsBadAlgorithm = -21,    // the algorithm is neither LZC nor LZH
  kCsBadBlockType = -22,    // LZH: a stored block or block type 3
  kCsNotAStream = -50,      // the header's magic bytes are wrong
  kCsBadCodeWidth = -51,    // LZC: the header's largest code width is not 9 to 14 bits
  kCsOversubscribed = -52,  // LZH: code lengths that claim more codes than there are
  kCsIncomplete = -53,      // LZH: code lengths that leave codes unused
  kCsBadCode = -54,         // a code that means nothing, or a distance before the window's start
  kCsBadBlockHeader = -55,  // LZH: counts or code lengths of a dynamic block out of range
  kCsTooLong = -56,         // the stream holds more bytes than its header says
  kCsCodeChain = -60        // LZC: a code whose string does not end
};

// The option word of a call, for example kCsFirstCall | kCsLzh | 6 << kCsLevelShift. Higher levels
// take longer, and most often give shorter streams.
enum CsOption {
  kCsFirstCall = 0x01,  // this call starts a stream
  kCsLzc = 0x00,        // algorithm of a first call of CsCompr
  kCsLzh = 0x02,
  kCsAlgorithmMask = 0x0E,
  kCsLevelShift = 4  // LZH level 1 to 9 above this bit; anything else means level 2
};

enum { kCsHeaderBytes = 8 };

// Compresses one piece.
//
// `original_length` is the length of the whole stream, up to 2^31 - 1, for LZC at least 1; it is
// read on the first call only, and the stream is complete when that many bytes were read. Input
// beyond it is left unread. The bytes produced do not depend on how input and output are cut into
// calls. A first call needs room for the 8-byte header. Sets both counters on every return, also
// with a negative code.
//
//     const uint8_t* next = in;
//     int32_t left = Take(from, in, sizeof in);
//     int32_t option = kCsFirstCall | algorithm;
//     for (;;) {
//       int32_t read, written;
//       const int32_t code =
//           CsCompr(from->length, next, left, out, sizeof out, option, &read, &written);
//       if (code < 0) return code;
//       if (!Put(to, out, written)) return kNoRoom;
//       if (code == kCsEndOfStream) return code;
//       next += read;
//       left -= read;
//       option = 0;
//       if (code == kCsInputExhausted) {
//         next = in;
//         left = Take(from, in, sizeof in);
//         if (left == 0) return kEndsEarly;
//       }
//     }
int32_t CsCompr(int32_t original_length, const uint8_t* input, int32_t input_length,
                uint8_t* output, int32_t output_length, int32_t option, int32_t* bytes_read,
                int32_t* bytes_written);

// Decompresses one piece. Of `option` only kCsFirstCall is read; a first call needs the whole
// 8-byte header in its input. Any input is safe: nothing is read or written outside the buffers,
// and the work is bounded by the input and the output. When the stream ends, the whole input is
// reported as read. Sets both counters on every return, also with a negative code. A damaged LZH
// stream may end before the length in its header is reached: compare, or keep a checksum.
//
//     const uint8_t* next = in;
//     int32_t left = Take(from, in, sizeof in);
//     int32_t option = kCsFirstCall;
//     for (;;) {
//       int32_t read, written;
//       const int32_t code = CsDecompr(next, left, out, sizeof out, option, &read, &written);
//       if (code < 0) return code;
//       if (!Put(to, out, written)) return kNoRoom;
//       if (code == kCsEndOfStream) return code;
//       next += read;
//       left -= read;
//       option = 0;
//       if (code == kCsInputExhausted) {
//         next = in;
//         left = Take(from, in, sizeof in);
//         if (left == 0) return kEndsEarly;
//       }
//     }
int32_t CsDecompr(const uint8_t* input, int32_t input_length, uint8_t* output,
                  int32_t output_length, int32_t option, int32_t* bytes_read,
                  int32_t* bytes_written);

// Checks the first 8 bytes of a compressed stream: 0 when they are a header, else the negative
// code. Leaves the decompressor started on that stream: go on with CsDecompr, without kCsFirstCall,
// from the byte behind the header.
int32_t CsCheckHeader(const uint8_t* header);

#ifdef __cplusplus
}
#endif

#endif  // MOLDEX_CSCOMPR_CSCOMPR_H_
