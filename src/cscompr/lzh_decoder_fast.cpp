// The fast loop of the LZH decoder, alone in its file because nearly all of the decoder's time is
// spent here and every line is there for a reason.
//
// A turn of the loop decodes up to four entries of literals (two bytes each at most), or some of
// them and a match. It looks at the ends of the buffers once, at its start; the margins below prove
// that no turn gets past them. The bit buffer is filled at most twice a turn, with a load of eight
// bytes that does not branch. The table entry of the next symbol is loaded before a match is
// copied, so that both go on at the same time.
#include <algorithm>
#include <array>
#include <cstring>

#include "cscompr/lzh_symbol_run.h"

namespace cscompr {
namespace {

constexpr unsigned kFilledBits = BitReader::kFilledBits;
constexpr int kLiteralEntriesPerTurn = 4;
constexpr std::ptrdiff_t kLiteralBytesPerTurn = 2 * kLiteralEntriesPerTurn;
constexpr std::size_t kChunk = 16;  // bytes that a match copy moves at once

// After the literals of a turn the next entry is looked up without filling the bit buffer.
static_assert((kLiteralEntriesPerTurn + 1) * kLiteralRootBits <= static_cast<int>(kFilledBits));
// A literal whose code is longer than the root bits goes through a subtable and ends the turn.
// A match takes one fill: the longest length code with its extra bits, and the longest distance
// code with the extra bits of the farthest distance in the window.
static_assert(kMaxCodeBits + 5 + kMaxCodeBits + 12 <= kFilledBits);

// Two fills a turn: the first takes at most 7 bytes, the second loads 8.
constexpr std::ptrdiff_t kInputMargin = 7 + BitReader::kWideLoadBytes;
// The last chunk of a match begins before its end.
constexpr std::ptrdiff_t kOutputMargin =
    kLiteralBytesPerTurn + kMaxMatch + static_cast<std::ptrdiff_t>(kChunk);
// Chunks copied from the window read behind the match by less than one of them.
static_assert(kChunk <= SlidingWindow::kReadAhead);

template <std::size_t kBytes>
void Move(std::uint8_t* to, const std::uint8_t* from) {
  std::array<std::uint8_t, kBytes> word;
  std::memcpy(word.data(), from, kBytes);
  std::memcpy(to, word.data(), kBytes);
}

// Source and target lie at least a chunk apart.
inline void CopyChunks(std::uint8_t* to, const std::uint8_t* from, std::size_t length) {
  const std::uint8_t* const end = to + length;
  do {
    Move<kChunk>(to, from);
    to += kChunk;
    from += kChunk;
  } while (to < end);
}

// A match that overlaps itself within a chunk. Each move of eight bytes gets `distance` of them
// right, and all eight once it is that far away.
inline void CopyNear(std::uint8_t* to, std::size_t distance, std::size_t length) {
  const std::uint8_t* const end = to + length;
  if (distance == 1) {
    const std::uint8_t value = to[-1];
    do {
      std::memset(to, value, kChunk);
      to += kChunk;
    } while (to < end);
    return;
  }
  const std::size_t step = std::min<std::size_t>(distance, 8);
  const std::uint8_t* from = to - distance;
  do {
    Move<8>(to, from);
    to += step;
    from += step;
  } while (to < end);
}

// A match that begins in the window, that is before this call's output. False when it would begin
// before the window, too.
[[gnu::noinline]] bool CopyFromWindow(SymbolRun& run, std::size_t distance, std::size_t length) {
  if (!run.Reaches(distance)) return false;
  const auto stretch = run.window->Back(distance - run.produced());
  if (stretch.length >= length) {
    CopyChunks(run.out, stretch.bytes, length);
    run.out += length;
  } else {
    CopyMatchBytes(run, distance, length);
  }
  return true;
}

inline void PutLiterals(TableEntry entry, std::uint8_t*& out) {
  out[0] = static_cast<std::uint8_t>(Value(entry));
  out[1] = static_cast<std::uint8_t>(Value(entry) >> 8);
  out += LiteralCount(entry);
}

// Base value and extra bits; skips the code and them.
inline std::size_t TakeRange(TableEntry entry, BitReader& reader) {
  const std::uint64_t extra = LowBits(reader.bits, SkipBits(entry)) >> CodeBits(entry);
  reader.Skip(SkipBits(entry));
  return Value(entry) + static_cast<std::size_t>(extra);
}

inline TableEntry FollowLink(TableEntry link, const TableEntry* table, BitReader& reader) {
  reader.Skip(SkipBits(link));
  return table[Value(link) + LowBits(reader.bits, CodeBits(link))];
}

[[gnu::always_inline]] inline FastStop Loop(const TableEntry* literals, const TableEntry* distances,
                                            SymbolRun& run) {
  if (run.reader.end - run.reader.next < kInputMargin || run.out_end - run.out < kOutputMargin) {
    return FastStop::kEdge;
  }
  BitReader reader = run.reader;
  std::uint8_t* out = run.out;
  const std::uint8_t* const in_limit = run.reader.end - kInputMargin;
  const std::uint8_t* const out_limit = run.out_end - kOutputMargin;
  const auto next_entry = [&] { return literals[LowBits(reader.bits, kLiteralRootBits)]; };
  FastStop stop = FastStop::kEdge;

  reader.FillWide();
  TableEntry entry = next_entry();
  while (true) {
    if (IsLiteral(entry)) {
      int left = kLiteralEntriesPerTurn;
      do {
        PutLiterals(entry, out);
        reader.Skip(SkipBits(entry));
        entry = next_entry();
      } while (--left > 0 && IsLiteral(entry));
      reader.FillWide();
      if (left == 0) {
        if (reader.next > in_limit || out > out_limit) break;
        continue;
      }
    }
    if (IsExceptional(entry)) {
      if (IsLink(entry)) entry = FollowLink(entry, literals, reader);
      if (IsLiteral(entry)) {
        PutLiterals(entry, out);
        reader.Skip(SkipBits(entry));
        reader.FillWide();
        entry = next_entry();
        if (reader.next > in_limit || out > out_limit) break;
        continue;
      }
      if (IsExceptional(entry)) {
        reader.Skip(SkipBits(entry));
        stop = (entry & kEndOfBlockFlag) != 0 ? FastStop::kBlockEnd : FastStop::kBadCode;
        break;
      }
    }
    const std::size_t length = TakeRange(entry, reader);
    TableEntry distance_entry = distances[LowBits(reader.bits, kDistanceRootBits)];
    if (IsExceptional(distance_entry)) {
      if (IsLink(distance_entry)) distance_entry = FollowLink(distance_entry, distances, reader);
      if (IsExceptional(distance_entry)) {
        stop = FastStop::kBadCode;
        break;
      }
    }
    const std::size_t distance = TakeRange(distance_entry, reader);
    reader.FillWide();
    entry = next_entry();
    if (distance > static_cast<std::size_t>(out - run.out_begin)) {
      run.out = out;
      if (!CopyFromWindow(run, distance, length)) {
        stop = FastStop::kBadCode;
        break;
      }
      out = run.out;
    } else {
      if (distance >= kChunk) {
        CopyChunks(out, out - distance, length);
      } else {
        CopyNear(out, distance, length);
      }
      out += length;
    }
    if (reader.next > in_limit || out > out_limit) break;
  }
  reader.Trim();
  run.reader = reader;
  run.out = out;
  return stop;
}

#if defined(__x86_64__)
// The same loop with the shifts and bit extractions of BMI2, which need no flags and any register.
[[gnu::target("bmi2")]] FastStop LoopBmi2(const TableEntry* literals, const TableEntry* distances,
                                          SymbolRun& run) {
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
