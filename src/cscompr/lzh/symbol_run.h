// The position of one call of the LZH decoder in its buffers, and the fast path that decodes the
// symbols of a block.
#ifndef MOLDEX_CSCOMPR_LZH_SYMBOL_RUN_H_
#define MOLDEX_CSCOMPR_LZH_SYMBOL_RUN_H_

#include <cstddef>
#include <cstdint>

#include "cscompr/bit_reader.h"
#include "cscompr/lzh/decoding_tables.h"
#include "cscompr/lzh/sliding_window.h"

namespace cscompr {

struct SymbolRun {
  BitReader reader;
  std::uint8_t* out = nullptr;         // where the next byte goes
  std::uint8_t* out_begin = nullptr;   // of this call
  std::uint8_t* out_end = nullptr;     // of the buffer, or of the stream if that is nearer
  std::uint8_t* buffer_end = nullptr;  // of the output
  const SlidingWindow* window = nullptr;

  std::size_t space() const { return static_cast<std::size_t>(out_end - out); }
  std::size_t produced() const { return static_cast<std::size_t>(out - out_begin); }
  bool Reaches(std::size_t distance) const { return distance <= produced() + window->size(); }
};

// Copies a match byte by byte. It must fit, and its distance must be within reach.
void CopyMatchBytes(SymbolRun& run, std::size_t distance, std::size_t length);

enum class FastStop : std::uint8_t {
  kEdge,      // near the ends of the buffers: continue symbol by symbol
  kBlockEnd,  // its code was read
  kBadCode
};

// Decodes symbols with few checks of the buffers' ends, and stops near them.
// Overwrites output beyond `out`, never beyond `buffer_end`. With `portable` it uses no
// instructions that only some processors have.
FastStop RunFast(const TableEntry* literals, const TableEntry* distances, SymbolRun& run,
                 bool portable);

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_SYMBOL_RUN_H_
