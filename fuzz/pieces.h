// Cuts buffers into pieces whose sizes follow from a fuzzed number.
#ifndef MOLDEX_FUZZ_PIECES_H_
#define MOLDEX_FUZZ_PIECES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace moldex::fuzz {

using Bytes = std::vector<std::uint8_t>;

class Pieces {
 public:
  // Every piece is as large as it may be.
  Pieces() = default;
  // Two bytes decide the sizes.
  explicit Pieces(const std::uint8_t* seed) : random_(seed[0] + 256u * seed[1]), whole_(false) {}

  // The size of the next piece: from `least` to `most`, small sizes more often than large ones.
  std::size_t Next(std::size_t least, std::size_t most) {
    if (whole_ || most <= least) return most;
    const std::size_t limit = std::min<std::size_t>(most - least, std::size_t{1} << random_() % 17);
    return least + random_() % (limit + 1);
  }

 private:
  std::minstd_rand random_;
  bool whole_ = true;
};

// A copy without spare memory at its end, so that a read beyond it is found. Its pointer is never
// null, even if it is empty.
inline Bytes Copy(std::span<const std::uint8_t> bytes) {
  Bytes copy;
  copy.reserve(std::max<std::size_t>(bytes.size(), 1));
  copy.assign(bytes.begin(), bytes.end());
  return copy;
}

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_PIECES_H_
