// The compression library: bytes in, bytes out.
//
// It turns one stream of bytes into one compressed stream, and back, over as many calls as the
// caller's buffers need. Every compressed stream starts with an 8-byte header that holds the
// original length and the algorithm: LZH (the bit stream of RFC 1951 with a 16 KB window, never a
// stored block) or LZC (the LZW codes of the Unix compress utility, 9 to 13 bits wide).
//
// In either direction a stream takes one first call (kCsFirstCall), then further calls until the
// result is kCsEndOfStream or negative. Nothing is opened or closed: a stream may be abandoned at
// any time, and the next first call starts a new one. If that call is refused, no stream is in
// progress, and later calls fail.
//
// CsCompr and CsDecompr have one compression and one decompression in progress at a time for the
// whole process, interleaved as the caller likes. No two calls of them may run at the same time.
// CsEncode and CsDecode do the same with objects of the caller, one stream in each: different
// threads may use different objects at the same time.
//
// The first stream of each algorithm and direction allocates its encoder or decoder, at most half a
// megabyte. It is kept for later streams until the object is destroyed, or the process ends.
// Nothing else is allocated; nothing is thrown or printed.
//
// All lengths are in bytes. Input and output belong to the caller, do not overlap, and are not used
// after a call returns. The two counters are never null. The loops below are from a program in
// docs/examples: `Take` fills a buffer with the next piece of input and returns its length, 0 after
// the last, and `Put` tells whether it had space for a piece.
#ifndef MOLDEX_CSCOMPR_CSCOMPR_H_
#define MOLDEX_CSCOMPR_CSCOMPR_H_

#include <stdint.h>  // NOLINT(modernize-deprecated-headers): C callers include this header too

#ifdef __cplusplus
extern "C" {
#endif

// The version of this header for #if: 10000 * major + 100 * minor + patch.
#define CSCOMPR_VERSION 10000

// The results of the calls. Positive: the stream is sound. Negative: it cannot be continued, and
// only the first call of a new stream is valid. The bytes written up to then are not a whole
// stream.
enum CsResult {
  kCsEndOfStream = 1,       // everything was read and all output delivered
  kCsOutputFull = 2,        // offer space again, and the input that was not read
  kCsInputExhausted = 3,    // all input was read; the stream needs more
  kCsBadOutput = -10,       // output length negative, or too small for the header
  kCsBadInput = -11,        // input length negative, or a first piece shorter than the header
  kCsNoMemory = -12,        // a first call finds no memory for its encoder or decoder
  kCsBadLength = -13,       // original length negative (LZH), or not positive (LZC)
  kCsSameBuffer = -14,      // LZC: input and output are the same buffer, in either direction
  kCsNullBuffer = -15,      // a buffer that is needed is null
  kCsBadState = -19,        // a later call of CsCompr without a stream in progress
  kCsNothingToDo = -20,     // LZH decompression with neither input nor space
  kCsBadAlgorithm = -21,    // the algorithm is neither LZC nor LZH
  kCsBadBlockType = -22,    // LZH: a stored block or block type 3
  kCsNotAStream = -50,      // the header's magic bytes are wrong
  kCsBadCodeWidth = -51,    // LZC: the header's largest code width is not 9 to 14 bits
  kCsOversubscribed = -52,  // LZH: code lengths that claim more codes than there are
  kCsIncomplete = -53,      // LZH: code lengths that leave codes unused
  kCsBadCode = -54,         // a code without a meaning, or a distance before the start
  kCsBadBlockHeader = -55,  // LZH: counts or code lengths of a dynamic block out of range
  kCsTooLong = -56,         // the stream holds more bytes than its header says
  kCsCodeChain = -60        // LZC: a code whose string does not end
};

// The option word of a call, for example kCsFirstCall | kCsLzh | 6 << kCsLevelShift. Higher levels
// take longer and most often give shorter streams.
enum CsOption {
  kCsFirstCall = 0x01,  // this call starts a stream
  kCsLzc = 0x00,        // algorithm of a first call of CsCompr
  kCsLzh = 0x02,
  kCsAlgorithmMask = 0x0E,
  kCsLevelShift = 4  // LZH level 1 to 9 from this bit on; anything else means level 2
};

enum { kCsHeaderBytes = 8 };

// A result in words, in English; never null, also for a number that is no result. The text is
// constant.
const char* CsErrorText(int32_t code);

// Compresses one piece.
//
// `original_length` is the length of the whole stream, up to 2^31 - 1, and for LZC at least 1. It
// is read on the first call only. The stream is complete when that many bytes were read; input
// beyond them is left unread. The bytes produced do not depend on how input and output are cut into
// calls. A first call needs space for the 8-byte header. Both counters are set on every return,
// also with a negative code.
//
// For n bytes LZH writes at most n + n / 8 + n / 2048 + 16 bytes, and LZC n + n / 2 + n / 8 + 16,
// header included, divisions rounded down. In LZH a byte takes at most 9 bits, as a literal or in a
// match, and a block 10 bits more; every block but the last holds 4096 bytes or more. In LZC a code
// takes at most 13 bits and stands for a byte or more. To clear the table and to fill groups of
// codes takes less than the narrower codes before them save. For the largest n the bounds are
// beyond the range of int32_t.
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

// Decompresses one piece. Only kCsFirstCall matters in `option`. A first call needs the whole
// 8-byte header in its input. Any input is safe: nothing is read or written outside the buffers,
// and the work is bounded by the lengths of input and output. When the stream ends, the whole input
// is reported as read. Both counters are set on every return, also with a negative code. A damaged
// LZH stream may end before it reaches the length in its header: compare the lengths, or keep a
// checksum.
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

// Checks the first 8 bytes of a compressed stream. Returns 0 when they are a header, else a
// negative code. It also starts the decompression of that stream: continue with CsDecompr, without
// kCsFirstCall, from the byte after the header.
int32_t CsCheckHeader(const uint8_t* header);

// An encoder for one stream at a time.
typedef struct CsEncoder CsEncoder;  // NOLINT(modernize-use-using): for C

// Returns null when there is no memory.
CsEncoder* CsCreateEncoder(void);

// Does what CsCompr does, with the stream of `encoder`, which is never null.
int32_t CsEncode(CsEncoder* encoder, int32_t original_length, const uint8_t* input,
                 int32_t input_length, uint8_t* output, int32_t output_length, int32_t option,
                 int32_t* bytes_read, int32_t* bytes_written);

// Frees the encoder, whether its stream is complete or not. It may be null.
void CsDestroyEncoder(CsEncoder* encoder);

// A decoder for one stream at a time.
typedef struct CsDecoder CsDecoder;  // NOLINT(modernize-use-using): for C

// Returns null when there is no memory.
CsDecoder* CsCreateDecoder(void);

// Does what CsDecompr does, with the stream of `decoder`, which is never null.
int32_t CsDecode(CsDecoder* decoder, const uint8_t* input, int32_t input_length, uint8_t* output,
                 int32_t output_length, int32_t option, int32_t* bytes_read,
                 int32_t* bytes_written);

// Frees the decoder, whether its stream is complete or not. It may be null.
void CsDestroyDecoder(CsDecoder* decoder);

#ifdef __cplusplus
}
#endif

#endif  // MOLDEX_CSCOMPR_CSCOMPR_H_
