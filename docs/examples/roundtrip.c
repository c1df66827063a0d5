/* Compresses a text and restores it with both algorithms, through buffers much smaller than the
 * text. Then tries a stream that is cut off and one that is damaged.
 *
 *     cc roundtrip.c $(pkg-config --cflags --libs cscompr) -o roundtrip
 */
#include <cscompr/cscompr.h>
#include <stdio.h>
#include <string.h>

enum { kTextBytes = 20000, kPieceBytes = 64, kRoomBytes = 48 };

/* Bytes in memory, a stand-in for files or sockets: Take removes a piece at the front, Put adds one
 * at the end. */
struct Bytes {
  uint8_t data[2 * kTextBytes];
  int32_t length; /* of all bytes in data */
  int32_t taken;  /* bytes that were taken */
};

/* Moves up to `room` bytes into `piece`. Returns their number, 0 at the end. */
static int32_t Take(struct Bytes* from, uint8_t* piece, int32_t room) {
  const int32_t left = from->length - from->taken;
  const int32_t count = left < room ? left : room;
  memcpy(piece, from->data + from->taken, (size_t)count);
  from->taken += count;
  return count;
}

/* Returns 0 if there is no space. */
static int Put(struct Bytes* to, const uint8_t* piece, int32_t count) {
  if (count > (int32_t)sizeof to->data - to->length) return 0;
  memcpy(to->data + to->length, piece, (size_t)count);
  to->length += count;
  return 1;
}

/* Two more reasons to stop: the input ends before its stream, and there is no space for the output.
 * The library returns neither. */
enum { kEndsEarly = -1, kNoRoom = -2 };

/* `algorithm` is kCsLzc, or kCsLzh with a level. Returns kCsEndOfStream or the code of a failure.
 */
static int32_t Compress(struct Bytes* from, struct Bytes* to, int32_t algorithm) {
  uint8_t in[kPieceBytes], out[kRoomBytes];
  const uint8_t* next = in;
  int32_t left = Take(from, in, sizeof in);
  int32_t option = kCsFirstCall | algorithm;
  for (;;) {
    int32_t read, written;
    const int32_t code =
        CsCompr(from->length, next, left, out, sizeof out, option, &read, &written);
    if (code < 0) return code;
    if (!Put(to, out, written)) return kNoRoom;
    if (code == kCsEndOfStream) return code;
    next += read;
    left -= read;
    option = 0;
    if (code == kCsInputExhausted) {
      next = in;
      left = Take(from, in, sizeof in);
      if (left == 0) return kEndsEarly;
    }
  }
}

/* Returns kCsEndOfStream or the code of a failure. */
static int32_t Restore(struct Bytes* from, struct Bytes* to) {
  uint8_t in[kPieceBytes], out[kRoomBytes];
  const uint8_t* next = in;
  int32_t left = Take(from, in, sizeof in);
  int32_t option = kCsFirstCall;
  for (;;) {
    int32_t read, written;
    const int32_t code = CsDecompr(next, left, out, sizeof out, option, &read, &written);
    if (code < 0) return code;
    if (!Put(to, out, written)) return kNoRoom;
    if (code == kCsEndOfStream) return code;
    next += read;
    left -= read;
    option = 0;
    if (code == kCsInputExhausted) {
      next = in;
      left = Take(from, in, sizeof in);
      if (left == 0) return kEndsEarly;
    }
  }
}

/* The meaning of a code in words. */
static const char* Meaning(int32_t code) {
  if (code == kEndsEarly) return "the input ends early";
  if (code == kNoRoom) return "no room for the output";
  return CsErrorText(code);
}

static struct Bytes text, packed, restored;

/* Compresses and restores. Returns 0 on failure. */
static int RoundTrip(const char* name, int32_t algorithm) {
  int32_t code;
  text.taken = packed.length = packed.taken = restored.length = 0;
  code = Compress(&text, &packed, algorithm);
  if (code == kCsEndOfStream) code = Restore(&packed, &restored);
  if (code != kCsEndOfStream) {
    printf("%s: %s (%d)\n", name, Meaning(code), (int)code);
    return 0;
  }
  if (restored.length != text.length ||
      memcmp(restored.data, text.data, (size_t)text.length) != 0) {
    printf("%s: something else came back\n", name);
    return 0;
  }
  printf("%s: %d bytes packed to %d and restored\n", name, (int)text.length, (int)packed.length);
  return 1;
}

static void RestoreSpoiled(const char* what) {
  int32_t code;
  packed.taken = restored.length = 0;
  code = Restore(&packed, &restored);
  printf("%s: %s (%d)\n", what, Meaning(code), (int)code);
}

int main(void) {
  int good = 1;
  while (text.length + 40 <= kTextBytes) {
    char line[48];
    const int length = sprintf(line, "line %d of a text\n", (int)text.length);
    Put(&text, (const uint8_t*)line, length);
  }
  good &= RoundTrip("LZC", kCsLzc);
  good &= RoundTrip("LZH, level 2", kCsLzh | 2 << kCsLevelShift);
  good &= RoundTrip("LZH, level 9", kCsLzh | 9 << kCsLevelShift);

  packed.length /= 2;
  RestoreSpoiled("half a stream");
  packed.data[kCsHeaderBytes] = 0xFF; /* no type of a block */
  RestoreSpoiled("a damaged stream");
  packed.data[5] = 0;
  RestoreSpoiled("no stream");
  return good ? 0 : 1;
}
