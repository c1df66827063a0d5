// The fast loop of the LZH decoder, alone in its file because nearly all of the decoder's time is
// spent here and every line is there for a reason.
//
// A turn of the loop decodes up to four literals, or some of them and a match. It looks at the ends
// of the buffers once, at its start; the margins below prove that no turn gets past them. The bit
// buffer is filled at most twice a turn, with a load of eight bytes that does not branch. The table
// entry of the next symbol is loaded before a match is copied, so that both go on at the same time.
#include <algorithm>
#include <array>
#include <cstring>

#include "cscompr/lzh_symbol_run.h"

namespace cscompr {
namespace {

constexpr unsigned kFilledBits = BitReader::kFilledBits;
constexpr int kLiteralsPerTurn = 4;
constexpr std::size_t kChunk = 16;  // bytes that a match copy moves at once

// After the literals of a turn the next entry is looked up without filling the bit buffer.
static_assert((kLiteralsPerTurn + 1) * kLiteralRootBits <= static_cast<int>(kFilledBits));
// So it is after a match, which begins on a filled buffer less the root bits of a longer length
// code: the rest of that code and its extra bits, or the whole of a shorter one, then the longest
// distance code with the extra bits of the farthest distance in the window.
static_assert(kLiteralRootBits + 5 + kMaxCodeBits + 12 + kLiteralRootBits <=
              static_cast<int>(kFilledBits));

// Three fills a turn (behind the literals, behind a link, at the end). Each takes at most 7 bytes,
// and the last loads 8.
constexpr std::ptrdiff_t kInputMargin = 2 * 7 + BitReader::kWideLoadBytes;
// A match copies two chunks, or one more than it fills.
constexpr std::ptrdiff_t kOutputMargin =
    kLiteralsPerTurn + 1 + kMaxMatch + static_cast<std::ptrdiff_t>(kChunk);
static_assert(kMaxMatch >= 2 * kChunk && 2 * kChunk <= SlidingWindow::kReadAhead);

template <std::size_t kBytes>
void Move(std::uint8_t* to, const std::uint8_t* from) {
  std::array<std::uint8_t, kBytes> word;
  std::memcpy(word.data(), from, kBytes);
  std::memcpy(to, word.data(), kBytes);
}

// Source and target lie at least a chunk apart. Two chunks hold most matches, so that a branch on
// the length is seldom mispredicted.
inline void CopyFar(std::uint8_t* to, const std::uint8_t* from, std::size_t length) {
  Move<kChunk>(to, from);
  Move<kChunk>(to + kChunk, from + kChunk);
  for (std::size_t done = 2 * kChunk; done < length; done += kChunk) {
    Move<kChunk>(to + done, from + done);
  }
}

// The most bytes up to 8 that whole patterns of a length make, by that length.
constexpr std::array<std::uint8_t, 8> kPatternSteps = {0, 8, 8, 6, 8, 5, 6, 7};

// A match that overlaps itself within a chunk. Below eight bytes of distance its pattern is laid
// out in a word once, and stored at steps of as many whole patterns as the word holds: loading what
// the store before left behind would wait for it every time.
inline void CopyNear(std::uint8_t* to, const std::uint8_t* from, std::size_t distance,
                     std::size_t length) {
  const std::uint8_t* const end = to + length;
  if (distance >= 8) {
    for (; to < end; to += 8, from += 8)
      Move<8>(to, from);
    return;
  }
  const auto pattern_bits = static_cast<unsigned>(8 * distance);
  std::uint64_t word = LowBits(Load64(from), pattern_bits);
  if (distance == 1) {
    word *= 0x0101010101010101U;
  } else {
    word |= word << pattern_bits;
    if (distance < 4) word |= word << 2 * pattern_bits;
  }
  for (; to < end; to += kPatternSteps[distance])
    Store64(to, word);
}

// A match that begins in the window and goes on in the output, or begins before the window: false.
[[gnu::noinline]] bool CopyAcross(SymbolRun& run, std::uint8_t* out, std::size_t distance,
                                  std::size_t length) {
  run.out = out;
  if (!run.Reaches(distance)) return false;
  CopyMatchBytes(run, distance, length);
  return true;
}

// The bit reader as the loop keeps it: of `count` only the lowest 6 bits mean something, so that a
// table entry can be subtracted as it is, flags and value and all.
struct LoopBits {
  std::uint64_t bits;
  std::uint32_t count;
  const std::uint8_t* next;

  void Fill() {
    bits |= Load64(next) << (count & 63);
    next += (~count >> 3) & 7;
    count |= kFilledBits;
  }
  void Skip(TableEntry entry) {
    bits >>= SkipBits(entry);
    count -= entry;
  }
  TableEntry Find(const TableEntry* table, unsigned root_bits) const {
    return table[LowBits(bits, root_bits)];
  }
  TableEntry FollowLink(TableEntry link, const TableEntry* table) {
    Skip(link);
    return table[Value(link) + LowBits(bits, CodeBits(link))];
  }
  // Skips the code and its extra bits, whose value it gives.
  std::size_t TakeExtra(TableEntry entry) {
    const std::uint64_t extra = LowBits(bits, SkipBits(entry)) >> CodeBits(entry);
    Skip(entry);
    return static_cast<std::size_t>(extra);
  }
};
static_assert(kSkipMask == 63 && kFilledBits == 56);

inline void PutLiteral(TableEntry entry, std::uint8_t*& out) { *out++ = Literal(entry); }

[[gnu::always_inline]] inline FastStop Loop(const TableEntry* literals, const TableEntry* distances,
                                            SymbolRun& run) {
  if (run.reader.end - run.reader.next < kInputMargin || run.out_end - run.out < kOutputMargin) {
    return FastStop::kEdge;
  }
  LoopBits in{run.reader.bits, run.reader.count, run.reader.next};
  std::uint8_t* out = run.out;
  std::uint8_t* const out_begin = run.out_begin;
  const std::uint8_t* const in_limit = run.reader.end - kInputMargin;
  const std::uint8_t* const out_limit = run.out_end - kOutputMargin;
  const std::uint8_t* const window_end = run.window->end();
  const auto window_size = static_cast<std::ptrdiff_t>(run.window->size());
  FastStop stop = FastStop::kEdge;

  in.Fill();
  TableEntry entry = in.Find(literals, kLiteralRootBits);
  do {
    if (IsLiteral(entry)) {
      PutLiteral(entry, out);
      in.Skip(entry);
      entry = in.Find(literals, kLiteralRootBits);
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        in.Skip(entry);
        entry = in.Find(literals, kLiteralRootBits);
        if (IsLiteral(entry)) {
          PutLiteral(entry, out);
          in.Skip(entry);
          entry = in.Find(literals, kLiteralRootBits);
          if (IsLiteral(entry)) {
            PutLiteral(entry, out);
            in.Skip(entry);
            entry = in.Find(literals, kLiteralRootBits);
            in.Fill();
            continue;
          }
        }
      }
      in.Fill();
    }
    if (IsExceptional(entry)) {
      if (IsLink(entry)) {
        entry = in.FollowLink(entry, literals);
        in.Fill();
      }
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        in.Skip(entry);
        entry = in.Find(literals, kLiteralRootBits);
        in.Fill();
        continue;
      }
      if (IsExceptional(entry)) {
        in.Skip(entry);
        stop = (entry & kEndOfBlockFlag) != 0 ? FastStop::kBlockEnd : FastStop::kBadCode;
        break;
      }
    }
    *out = Literal(entry);  // nothing that stays when the entry has none
    out += LiteralCount(entry);
    const std::size_t length = LengthBase(entry) + in.TakeExtra(entry);
    entry = in.Find(distances, kDistanceRootBits);
    if (IsExceptional(entry)) {
      if (IsLink(entry)) entry = in.FollowLink(entry, distances);
      if (IsExceptional(entry)) {
        stop = FastStop::kBadCode;
        break;
      }
    }
    const std::size_t distance = Value(entry) + in.TakeExtra(entry);
    entry = in.Find(literals, kLiteralRootBits);
    in.Fill();
    // How far the match begins behind this call's output: in the window when that is positive. A
    // select, not a branch, tells the two apart, since they alternate without a pattern for the
    // first 16 KB. The branch is for matches that go across, and for those that begin nowhere.
    const std::ptrdiff_t back = static_cast<std::ptrdiff_t>(distance) - (out - out_begin);
    const bool behind = back > 0;
    if (back > window_size || static_cast<std::size_t>(back - 1) < length - 1) {
      if (!CopyAcross(run, out, distance, length)) {
        stop = FastStop::kBadCode;
        break;
      }
      out += length;
      continue;
    }
    const std::uint8_t* const from = (behind ? window_end : out_begin) - back;
    if (distance >= kChunk) {
      CopyFar(out, from, length);
    } else {
      CopyNear(out, from, distance, length);
    }
    out += length;
  } while (in.next <= in_limit && out <= out_limit);

  run.reader.bits = in.bits;
  run.reader.count = in.count & 63;
  run.reader.next = in.next;
  run.reader.Trim();
  run.out = out;
  return stop;
}

#if defined(__x86_64__)
// The same loop with the shifts and bit extractions of BMI2, which need no flags and any register.
[[gnu::target("bmi,bmi2")]] FastStop LoopBmi2(const TableEntry* literals,
                                              const TableEntry* distances, SymbolRun& run) {
  return Loop(literals, distances, run);
}
#endif

}  // namespace

FastStop RunFast(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                 [[maybe_unused]] bool portable) {
#if defined(__x86_64__)
  if (!portable && __builtin_cpu_supports("bmi2") != 0) {
    return LoopBmi2(literals, distances, run);
  }
#endif
  return Loop(literals, distances, run);
}

}  // namespace cscompr
