// The LZH decoder's central loop. It stands alone because nearly all of the decoder's time is spent
// here. It is one long function because its state must stay in registers, and the order of its
// lines was measured.
//
// The loop looks at the ends of the buffers once a turn. The margins prove that no turn gets past
// them. The bit buffer is filled two to four times a turn, with a load of eight bytes and without a
// branch.
//
// A processor cannot predict whether a literal or a match comes next. So everything that either of
// them needs is started before the branch that decides: the symbol's bits are skipped, and the bits
// after it are looked up both as a symbol and as a distance. When the branch was mispredicted, the
// lookups are done by the time the right path is entered. A match is copied after the next symbol
// was looked up, so that both proceed at the same time.
//
// In careful mode the loop remembers where each turn began, and undoes a turn that used bits which
// are not there, or wrote more bytes than the stream promises.
#include "cscompr/lzh/decoder_loop.h"

namespace cscompr {
namespace {

constexpr unsigned kFilledBits = BitReader::kFilledBits;

// The longest literal or length that a lookup in the root table finds, with its extra bits.
constexpr int kShortSymbolBits = kLiteralRootBits + 5;
// The bit buffer is filled after every second symbol: it holds two of them, and the lookup of the
// next.
static_assert(2 * kLiteralRootBits + 5 + kLiteralRootBits <= static_cast<int>(kFilledBits));
// At the start of a turn, and after a link, which has a fill of its own, it holds one symbol, the
// longest distance in the window, and the lookup of the next symbol.
static_assert(kShortSymbolBits + kMaxCodeBits + 12 + kLiteralRootBits <=
              static_cast<int>(kFilledBits));

// Copies a match that begins in the window and continues in the output. False when it begins before
// the window.
[[gnu::noinline]] bool CopyAcross(SymbolRun& run, std::uint8_t* out, std::size_t distance,
                                  std::size_t length) {
  run.out = out;
  if (!run.Reaches(distance)) return false;
  CopyMatchBytes(run, distance, length);
  return true;
}

// Skips the code and the extra bits of an entry.
inline void SkipSymbol(BitReader& in, TableEntry entry) { in.SkipPacked(entry); }
static_assert(kSkipMask == BitReader::kCountMask);

inline TableEntry Find(const BitReader& in, const TableEntry* table, unsigned root_bits) {
  return table[in.Peek(root_bits)];
}

// The entry that a link leads to, whose own bits are skipped already.
inline TableEntry FollowLink(const BitReader& in, TableEntry link, const TableEntry* table) {
  return table[Value(link) + in.Peek(CodeBits(link))];
}

// Whether no bit at `end` or beyond it was used.
inline bool UsesNothingBeyond(const BitReader& in, const std::uint8_t* end) {
  return 8 * (in.next - end) <= static_cast<std::ptrdiff_t>(in.count & BitReader::kCountMask);
}

// The value of the extra bits that follow the code at the start of `bits`.
inline std::size_t Extra(std::uint64_t bits, TableEntry entry) {
  return static_cast<std::size_t>(LowBits(bits, SkipBits(entry)) >> CodeBits(entry));
}

inline void PutLiteral(TableEntry entry, std::uint8_t*& out) { *out++ = Literal(entry); }

template <LoopMode kMode>
[[gnu::always_inline]] inline FastStop Loop(const TableEntry* literals, const TableEntry* distances,
                                            SymbolRun& run, const LoopLimits& limits) {
  BitReader in = run.reader;
  std::uint8_t* out = run.out;
  std::uint8_t* const out_begin = run.out_begin;
  const std::uint8_t* const in_limit = limits.in;
  const std::uint8_t* const out_limit = limits.out;
  const std::uint8_t* const window_end = run.window->end();
  const auto window_size = static_cast<std::ptrdiff_t>(run.window->size());
  FastStop stop = FastStop::kEdge;
  BitReader turn_in = in;
  std::uint8_t* turn_out = out;
  const auto is_sound = [&] {
    return out <= limits.output_end && UsesNothingBeyond(in, limits.input_end);
  };

  in.FillWide();
  TableEntry entry = Find(in, literals, kLiteralRootBits);
  do {
    if constexpr (kMode == LoopMode::kCareful) {
      turn_in = in;
      turn_out = out;
    }
    std::uint64_t symbol_bits = in.bits;  // before the skip, for the extra bits
    SkipSymbol(in, entry);
    TableEntry next_symbol = Find(in, literals, kLiteralRootBits);
    TableEntry next_distance = Find(in, distances, kDistanceRootBits);
    if (IsLiteral(entry)) {
      PutLiteral(entry, out);
      entry = next_symbol;
      symbol_bits = in.bits;
      SkipSymbol(in, entry);
      next_symbol = Find(in, literals, kLiteralRootBits);
      next_distance = Find(in, distances, kDistanceRootBits);
      in.FillWide();
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        entry = next_symbol;
        symbol_bits = in.bits;
        SkipSymbol(in, entry);
        next_symbol = Find(in, literals, kLiteralRootBits);
        next_distance = Find(in, distances, kDistanceRootBits);
        if (IsLiteral(entry)) {
          PutLiteral(entry, out);
          entry = next_symbol;
          symbol_bits = in.bits;
          SkipSymbol(in, entry);
          next_symbol = Find(in, literals, kLiteralRootBits);
          next_distance = Find(in, distances, kDistanceRootBits);
          in.FillWide();
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
        entry = FollowLink(in, entry, literals);
        in.FillWide();
        symbol_bits = in.bits;
        SkipSymbol(in, entry);
        next_distance = Find(in, distances, kDistanceRootBits);
      }
      if (IsLiteral(entry)) {
        PutLiteral(entry, out);
        entry = Find(in, literals, kLiteralRootBits);
        in.FillWide();
        continue;
      }
      if (IsExceptional(entry)) {
        stop = (entry & kEndOfBlockFlag) != 0 ? FastStop::kBlockEnd : FastStop::kBadCode;
        break;
      }
    }
    *out = Literal(entry);  // overwritten later when the entry has none
    out += LiteralCount(entry);
    const std::size_t length = LengthBase(entry) + Extra(symbol_bits, entry);
    entry = next_distance;
    if (IsExceptional(entry)) [[unlikely]] {
      if (IsLink(entry)) {
        SkipSymbol(in, entry);
        entry = FollowLink(in, entry, distances);
      }
      if (IsExceptional(entry)) {
        stop = FastStop::kBadCode;
        break;
      }
    }
    const std::size_t distance = Value(entry) + Extra(in.bits, entry);
    SkipSymbol(in, entry);
    entry = Find(in, literals, kLiteralRootBits);
    in.FillWide();
    if constexpr (kMode == LoopMode::kCareful) {
      if (limits.match - out < static_cast<std::ptrdiff_t>(length)) {
        stop = FastStop::kBadCode;  // so that the turn is undone
        break;
      }
    }
    // How far before this call's output the match begins: if positive, it begins in the window.
    const std::ptrdiff_t back = static_cast<std::ptrdiff_t>(distance) - (out - out_begin);
    const std::uint8_t* base = out_begin;
    if constexpr (kMode == LoopMode::kWithoutWindow) {
      if (back > 0) [[unlikely]] {
        stop = FastStop::kBadCode;
        break;
      }
    } else {
      // Window and output alternate without a pattern, so a select tells them apart and not a
      // branch. The branch is for matches that cross from one to the other or begin before both.
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
  } while (in.next <= in_limit && out <= out_limit && (kMode != LoopMode::kCareful || is_sound()));

  if constexpr (kMode == LoopMode::kCareful) {
    if (stop == FastStop::kBadCode || !is_sound()) {
      in = turn_in;
      out = turn_out;
      stop = FastStop::kEdge;
    }
  }
  in.RestoreCount();
  in.Trim();
  run.reader.bits = in.bits;  // all but `end`, which would take a register through the loop
  run.reader.count = in.count;
  run.reader.next = in.next;
  run.out = out;
  return stop;
}

using LoopFunction = FastStop (*)(const TableEntry*, const TableEntry*, SymbolRun&,
                                  const LoopLimits&);

template <LoopMode kMode>
FastStop LoopPortable(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                      const LoopLimits& limits) {
  return Loop<kMode>(literals, distances, run, limits);
}

#if defined(__x86_64__)
// The same loop compiled with the shifts and bit extractions of BMI2, which leave the flags alone
// and work with any register.
template <LoopMode kMode>
[[gnu::target("bmi,bmi2")]] FastStop LoopBmi2(const TableEntry* literals,
                                              const TableEntry* distances, SymbolRun& run,
                                              const LoopLimits& limits) {
  return Loop<kMode>(literals, distances, run, limits);
}
#endif

template <LoopMode kMode>
LoopFunction ChooseLoop([[maybe_unused]] bool portable) {
#if defined(__x86_64__)
  if (!portable && __builtin_cpu_supports("bmi2") != 0) return LoopBmi2<kMode>;
#endif
  return LoopPortable<kMode>;
}

}  // namespace

FastStop RunLoop(LoopMode mode, const TableEntry* literals, const TableEntry* distances,
                 SymbolRun& run, const LoopLimits& limits, bool portable) {
  switch (mode) {
    case LoopMode::kWithoutWindow:
      return ChooseLoop<LoopMode::kWithoutWindow>(portable)(literals, distances, run, limits);
    case LoopMode::kWithWindow:
      return ChooseLoop<LoopMode::kWithWindow>(portable)(literals, distances, run, limits);
    case LoopMode::kCareful:
      break;
  }
  return ChooseLoop<LoopMode::kCareful>(portable)(literals, distances, run, limits);
}

}  // namespace cscompr
