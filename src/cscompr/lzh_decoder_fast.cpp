// The fast loop of the LZH decoder, alone in its file because nearly all of the decoder's time is
// spent here and every line is there for a reason.
//
// A turn of the loop decodes up to four literals, or some of them and a match. It looks at the ends
// of the buffers once, at its start; the margins below prove that no turn gets past them. The bit
// buffer is filled at most twice a turn, with a load of eight bytes that does not branch. The table
// entry of the next symbol is loaded before a match is copied, so that both go on at the same time.
//
// Near the ends, where a small file spends most of its time, the same loop runs once more, on a
// copy of the last input with zeros behind it. There it remembers where each turn began, and takes
// a turn back that used bits or promised bytes which are not there.
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
constexpr std::ptrdiff_t kCopyMargin = 2 * kChunk;
constexpr std::ptrdiff_t kLiteralMargin = kLiteralsPerTurn + 1;
constexpr std::ptrdiff_t kOutputMargin =
    kLiteralMargin + kMaxMatch + static_cast<std::ptrdiff_t>(kChunk);
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
  // Whether no bit was taken behind the byte before `end`.
  bool UsedUpTo(const std::uint8_t* end) const {
    return 8 * (next - end) <= static_cast<std::ptrdiff_t>(count & 63);
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

// Where the loop begins no further turn; beyond that, for the careful loop, what a turn must keep.
struct Limits {
  const std::uint8_t* in = nullptr;
  const std::uint8_t* out = nullptr;
  const std::uint8_t* match = nullptr;      // where a match may end
  const std::uint8_t* input_end = nullptr;  // of the bytes that are not padding
  const std::uint8_t* output_end = nullptr;
};

template <bool kCareful>
[[gnu::always_inline]] inline FastStop Loop(const TableEntry* literals, const TableEntry* distances,
                                            SymbolRun& run, const Limits& limits) {
  LoopBits in{run.reader.bits, run.reader.count, run.reader.next};
  std::uint8_t* out = run.out;
  std::uint8_t* const out_begin = run.out_begin;
  const std::uint8_t* const in_limit = limits.in;
  const std::uint8_t* const out_limit = limits.out;
  const std::uint8_t* const window_end = run.window->end();
  const auto window_size = static_cast<std::ptrdiff_t>(run.window->size());
  FastStop stop = FastStop::kEdge;
  LoopBits turn_in = in;
  std::uint8_t* turn_out = out;
  const auto is_sound = [&] { return out <= limits.output_end && in.UsedUpTo(limits.input_end); };

  in.Fill();
  TableEntry entry = in.Find(literals, kLiteralRootBits);
  do {
    if constexpr (kCareful) {
      turn_in = in;
      turn_out = out;
    }
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
    if constexpr (kCareful) {
      if (limits.match - out < static_cast<std::ptrdiff_t>(length)) {
        stop = FastStop::kBadCode;  // for which it is taken back
        break;
      }
    }
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
  } while (in.next <= in_limit && out <= out_limit && (!kCareful || is_sound()));

  if constexpr (kCareful) {
    if (stop == FastStop::kBadCode || !is_sound()) {
      in = turn_in;
      out = turn_out;
      stop = FastStop::kEdge;
    }
  }
  run.reader.bits = in.bits;
  run.reader.count = in.count & 63;
  run.reader.next = in.next;
  run.reader.Trim();
  run.out = out;
  return stop;
}

using LoopFunction = FastStop (*)(const TableEntry*, const TableEntry*, SymbolRun&, const Limits&);

template <bool kCareful>
FastStop LoopPortable(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                      const Limits& limits) {
  return Loop<kCareful>(literals, distances, run, limits);
}

#if defined(__x86_64__)
// The same loop with the shifts and bit extractions of BMI2, which need no flags and any register.
template <bool kCareful>
[[gnu::target("bmi,bmi2")]] FastStop LoopBmi2(const TableEntry* literals,
                                              const TableEntry* distances, SymbolRun& run,
                                              const Limits& limits) {
  return Loop<kCareful>(literals, distances, run, limits);
}
#endif

template <bool kCareful>
LoopFunction ChooseLoop([[maybe_unused]] bool portable) {
#if defined(__x86_64__)
  if (!portable && __builtin_cpu_supports("bmi2") != 0) return LoopBmi2<kCareful>;
#endif
  return LoopPortable<kCareful>;
}

FastStop RunCareful(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                    const std::uint8_t* input_end, const std::uint8_t* readable_end,
                    bool portable) {
  if (run.room_end - run.out < kCopyMargin + kLiteralMargin) return FastStop::kEdge;
  Limits limits;
  limits.in = readable_end - kInputMargin;
  limits.match = run.room_end - kCopyMargin;
  limits.out = limits.match - kLiteralMargin;
  limits.input_end = input_end;
  limits.output_end = run.out_end;
  return ChooseLoop<true>(portable)(literals, distances, run, limits);
}

// Goes on to the last symbol that the input holds in full, in a copy with zeros behind it.
FastStop RunPadded(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                   bool portable) {
  std::array<std::uint8_t, 3 * kInputMargin> padded{};
  const std::uint8_t* const end = run.reader.end;
  const std::ptrdiff_t left = end - run.reader.next;
  std::copy_n(run.reader.next, left, padded.begin());
  run.reader.next = padded.data();
  run.reader.end = padded.data() + left;
  const FastStop stop =
      RunCareful(literals, distances, run, run.reader.end, padded.data() + padded.size(), portable);
  run.reader.DropBehindEnd();
  run.reader.next = end - (run.reader.end - run.reader.next);
  run.reader.end = end;
  return stop;
}

}  // namespace

FastStop RunFast(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                 bool portable) {
  FastStop stop = FastStop::kEdge;
  const std::uint8_t* const end = run.reader.end;
  if (end - run.reader.next >= kInputMargin && run.out_end - run.out >= kOutputMargin) {
    Limits limits;
    limits.in = end - kInputMargin;
    limits.out = run.out_end - kOutputMargin;
    stop = ChooseLoop<false>(portable)(literals, distances, run, limits);
  }
  if (stop == FastStop::kEdge && end - run.reader.next >= kInputMargin) {
    stop = RunCareful(literals, distances, run, end, end, portable);
  }
  if (stop == FastStop::kEdge && end - run.reader.next < kInputMargin) {
    stop = RunPadded(literals, distances, run, portable);
  }
  return stop;
}

}  // namespace cscompr
