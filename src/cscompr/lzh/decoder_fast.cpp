// How the fast path of the LZH decoder gets close to the buffers' ends, where a small file spends
// most of its time. The central loop runs once with margins, so that it need not check for the
// ends. Then it runs in careful mode, and a third time on a copy of the last input that is followed
// by zeros.
#include <algorithm>
#include <array>

#include "cscompr/lzh/decoder_loop.h"

namespace cscompr {
namespace {

// Runs the loop while input and output keep their margins. Once this call has produced as many
// bytes as the window holds, no match begins in the window any more.
FastStop RunFarFromEnds(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                        bool portable) {
  const auto is_far = [&run] {
    return run.reader.end - run.reader.next >= kInputMargin &&
           run.out_end - run.out >= kOutputMargin;
  };
  if (!is_far()) return FastStop::kEdge;
  LoopLimits limits;
  limits.in = run.reader.end - kInputMargin;
  limits.out = run.out_end - kOutputMargin;
  if (run.window->size() > 0 && run.produced() < SlidingWindow::kBytes) {
    LoopLimits nearer = limits;
    const auto to_come = static_cast<std::ptrdiff_t>(SlidingWindow::kBytes - run.produced());
    if (limits.out - run.out > to_come) nearer.out = run.out + to_come;
    const FastStop stop =
        RunLoop(LoopMode::kWithWindow, literals, distances, run, nearer, portable);
    if (stop != FastStop::kEdge || run.produced() < SlidingWindow::kBytes || !is_far()) return stop;
  }
  return RunLoop(LoopMode::kWithoutWindow, literals, distances, run, limits, portable);
}

// Decodes all turns that are whole.
FastStop RunCareful(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                    const std::uint8_t* input_end, const std::uint8_t* readable_end,
                    bool portable) {
  if (run.buffer_end - run.out < kCopyMargin + kLiteralMargin) return FastStop::kEdge;
  LoopLimits limits;
  limits.in = readable_end - kInputMargin;
  limits.match = run.buffer_end - kCopyMargin;
  limits.out = limits.match - kLiteralMargin;
  limits.input_end = input_end;
  limits.output_end = run.out_end;
  return RunLoop(LoopMode::kCareful, literals, distances, run, limits, portable);
}

// Decodes up to the last symbol that is whole in the input, on a copy of the last input that is
// followed by zeros.
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
  run.reader.DropBeyondEnd();
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
