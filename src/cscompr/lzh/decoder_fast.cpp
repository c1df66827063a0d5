// The fast loop of the LZH decoder, alone in its file because nearly all of the decoder's time is
// spent here and every line is there for a reason.
//
// A turn of the loop decodes up to four literals, or some of them and a match. It looks at the
// ends of the buffers once, at its start; the margins below prove that no turn gets past them. The
// bit buffer is filled two to four times a turn, with a load of eight bytes that does not branch.
//
// Whether a literal or a match comes next is what a processor cannot predict. So all that either
// needs is under way before the branch that tells: the symbol's bits are skipped, and what follows
// is looked up both as a symbol and as a distance. When the branch was mispredicted, the lookups
// are done by the time that the right way is entered. A match is copied after the next symbol was
// looked up, so that both go on at the same time.
//
// Near the ends, where a small file spends most of its time, the same loop runs once more, on a
// copy of the last input with zeros behind it. There it remembers where each turn began, and takes
// a turn back that used bits or promised bytes which are not there.
#include <algorithm>
#include <array>
#include <cstring>

#include "cscompr/lzh/decoder_copy.h"
#include "cscompr/lzh/symbol_run.h"

namespace cscompr {
namespace {

constexpr unsigned kFilledBits = BitReader::kFilledBits;
constexpr int kLiteralsPerTurn = 4;

// The longest literal or length that a lookup in the root table finds, with its extra bits.
constexpr int kShortSymbolBits = kLiteralRootBits + 5;
// The bit buffer is filled behind every second symbol: two of them, and a look at the next.
static_assert(2 * kLiteralRootBits + 5 + kLiteralRootBits <= static_cast<int>(kFilledBits));
// Then one symbol and the longest distance in the window may follow, and a look at the next. So
// they may at a turn's start, and behind a link, whose own fill comes first.
static_assert(kShortSymbolBits + kMaxCodeBits + 12 + kLiteralRootBits <=
              static_cast<int>(kFilledBits));

// Four fills a turn (behind the second symbol and the fourth, behind a link, at the end). Each
// takes at most 7 bytes, and the last loads 8.
constexpr std::ptrdiff_t kInputMargin = 3 * 7 + BitReader::kWideLoadBytes;
constexpr std::ptrdiff_t kLiteralMargin = kLiteralsPerTurn + 1;
constexpr std::ptrdiff_t kOutputMargin = kLiteralMargin + kMaxMatch + kCopyMargin;
static_assert(kMaxMatch >= kCopyMargin && kCopyMargin <= SlidingWindow::kReadAhead);

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
  // The entry that a link, skipped already, leads to.
  TableEntry BehindLink(TableEntry link, const TableEntry* table) const {
    return table[Value(link) + LowBits(bits, CodeBits(link))];
  }
};
static_assert(kSkipMask == 63 && kFilledBits == 56);

// The value of the extra bits behind a code that `bits` begin with.
inline std::size_t Extra(std::uint64_t bits, TableEntry entry) {
  return static_cast<std::size_t>(LowBits(bits, SkipBits(entry)) >> CodeBits(entry));
}

inline void PutLiteral(TableEntry entry, std::uint8_t*& out) { *out++ = Literal(entry); }

enum class Mode : std::uint8_t {
  kWithoutWindow,  // all matches begin in this call's output, or nowhere
  kWithWindow,
  kCareful  // takes a turn back when it went too far
};

// Where the loop begins no further turn; beyond that, for the careful loop, what a turn must keep.
struct Limits {
  const std::uint8_t* in = nullptr;
  const std::uint8_t* out = nullptr;
  const std::uint8_t* match = nullptr;      // where a match may end
  const std::uint8_t* input_end = nullptr;  // of the bytes that are not padding
  const std::uint8_t* output_end = nullptr;
};

template <Mode kMode>
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
    if constexpr (kMode == Mode::kCareful) {
      turn_in = in;
      turn_out = out;
    }
    std::uint64_t symbol_bits = in.bits;  // with the symbol's own, for its extra bits
    in.Skip(entry);
    TableEntry next_symbol = in.Find(literals, kLiteralRootBits);
    TableEntry next_distance = in.Find(distances, kDistanceRootBits);
    if (IsLiteral(entry)) {
      PutLiteral(entry, out);
      entry = next_symbol;
      symbol_bits = in.bits;
      in.Skip(entry);
      next_symbol = in.Find(literals, kLiteralRootBits);
      next_distance = in.Find(distances, kDistanceRootBits);
      in.Fill();
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        entry = next_symbol;
        symbol_bits = in.bits;
        in.Skip(entry);
        next_symbol = in.Find(literals, kLiteralRootBits);
        next_distance = in.Find(distances, kDistanceRootBits);
        if (IsLiteral(entry)) {
          PutLiteral(entry, out);
          entry = next_symbol;
          symbol_bits = in.bits;
          in.Skip(entry);
          next_symbol = in.Find(literals, kLiteralRootBits);
          next_distance = in.Find(distances, kDistanceRootBits);
          in.Fill();
          if (IsLiteral(entry)) {
            PutLiteral(entry, out);
            entry = next_symbol;
            continue;
          }
        }
      }
    }
    if (IsExceptional(entry)) [[unlikely]] {
      if (IsLink(entry)) {
        entry = in.BehindLink(entry, literals);
        in.Fill();
        symbol_bits = in.bits;
        in.Skip(entry);
        next_distance = in.Find(distances, kDistanceRootBits);
      }
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        entry = in.Find(literals, kLiteralRootBits);
        in.Fill();
        continue;
      }
      if (IsExceptional(entry)) {
        stop = (entry & kEndOfBlockFlag) != 0 ? FastStop::kBlockEnd : FastStop::kBadCode;
        break;
      }
    }
    *out = Literal(entry);  // nothing that stays when the entry has none
    out += LiteralCount(entry);
    const std::size_t length = LengthBase(entry) + Extra(symbol_bits, entry);
    entry = next_distance;
    if (IsExceptional(entry)) [[unlikely]] {
      if (IsLink(entry)) {
        in.Skip(entry);
        entry = in.BehindLink(entry, distances);
      }
      if (IsExceptional(entry)) {
        stop = FastStop::kBadCode;
        break;
      }
    }
    const std::size_t distance = Value(entry) + Extra(in.bits, entry);
    in.Skip(entry);
    entry = in.Find(literals, kLiteralRootBits);
    in.Fill();
    if constexpr (kMode == Mode::kCareful) {
      if (limits.match - out < static_cast<std::ptrdiff_t>(length)) {
        stop = FastStop::kBadCode;  // for which it is taken back
        break;
      }
    }
    // How far the match begins behind this call's output: in the window when that is positive.
    const std::ptrdiff_t back = static_cast<std::ptrdiff_t>(distance) - (out - out_begin);
    const std::uint8_t* base = out_begin;
    if constexpr (kMode == Mode::kWithoutWindow) {
      if (back > 0) [[unlikely]] {
        stop = FastStop::kBadCode;
        break;
      }
    } else {
      // A select, not a branch, tells the two apart, since they alternate without a pattern. The
      // branch is for matches that go across, and for those that begin nowhere.
      if (back > window_size || static_cast<std::size_t>(back - 1) < length - 1) [[unlikely]] {
        if (!CopyAcross(run, out, distance, length)) {
          stop = FastStop::kBadCode;
          break;
        }
        out += length;
        continue;
      }
      base = back > 0 ? window_end : out_begin;
    }
    const std::uint8_t* const from = base - back;
    CopyWords(out, from, distance, length);
    out += length;
  } while (in.next <= in_limit && out <= out_limit && (kMode != Mode::kCareful || is_sound()));

  if constexpr (kMode == Mode::kCareful) {
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

template <Mode kMode>
FastStop LoopPortable(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                      const Limits& limits) {
  return Loop<kMode>(literals, distances, run, limits);
}

#if defined(__x86_64__)
// The same loop with the shifts and bit extractions of BMI2, which need no flags and any register.
template <Mode kMode>
[[gnu::target("bmi,bmi2")]] FastStop LoopBmi2(const TableEntry* literals,
                                              const TableEntry* distances, SymbolRun& run,
                                              const Limits& limits) {
  return Loop<kMode>(literals, distances, run, limits);
}
#endif

template <Mode kMode>
LoopFunction ChooseLoop([[maybe_unused]] bool portable) {
#if defined(__x86_64__)
  if (!portable && __builtin_cpu_supports("bmi2") != 0) return LoopBmi2<kMode>;
#endif
  return LoopPortable<kMode>;
}

// No match needs the window once the output of this call is as long.
FastStop RunFarFromEnds(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                        bool portable) {
  const auto is_far = [&run] {
    return run.reader.end - run.reader.next >= kInputMargin &&
           run.out_end - run.out >= kOutputMargin;
  };
  if (!is_far()) return FastStop::kEdge;
  Limits limits;
  limits.in = run.reader.end - kInputMargin;
  limits.out = run.out_end - kOutputMargin;
  if (run.window->size() > 0 && run.produced() < SlidingWindow::kBytes) {
    Limits nearer = limits;
    const auto to_come = static_cast<std::ptrdiff_t>(SlidingWindow::kBytes - run.produced());
    if (limits.out - run.out > to_come) nearer.out = run.out + to_come;
    const FastStop stop = ChooseLoop<Mode::kWithWindow>(portable)(literals, distances, run, nearer);
    if (stop != FastStop::kEdge || run.produced() < SlidingWindow::kBytes || !is_far()) return stop;
  }
  return ChooseLoop<Mode::kWithoutWindow>(portable)(literals, distances, run, limits);
}

// Takes the run as far as whole symbols go.
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
  return ChooseLoop<Mode::kCareful>(portable)(literals, distances, run, limits);
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
  const std::uint8_t* const end = run.reader.end;
  FastStop stop = RunFarFromEnds(literals, distances, run, portable);
  if (stop == FastStop::kEdge && end - run.reader.next >= kInputMargin) {
    stop = RunCareful(literals, distances, run, end, end, portable);
  }
  if (stop == FastStop::kEdge && end - run.reader.next < kInputMargin) {
    stop = RunPadded(literals, distances, run, portable);
  }
  return stop;
}

}  // namespace cscompr
