// Turns bytes into tokens, literals and matches, by LZ77 with a sliding window, hash chains over
// all strings of three bytes, and lazy matching (RFC 1951, section 4, describes the method).
//
// The tokens depend on the bytes and the level alone, never on the pieces in which the bytes
// arrive: no position is decided before kMinLookahead bytes after it are known, or all bytes up to
// the end of the stream. The window has 32 KB, so that matches of up to 16 KB can be found without
// moving the bytes at every step.
#ifndef MOLDEX_CSCOMPR_LZH_MATCHER_H_
#define MOLDEX_CSCOMPR_LZH_MATCHER_H_

#include <array>
#include <cstdint>
#include <span>

#include "cscompr/lzh/deflate_format.h"
#include "cscompr/lzh/token.h"

namespace cscompr {

// Where a matcher stands between two decisions. Its future tokens depend on nothing else but the
// bytes of the stream.
struct LzhPlace {
  std::uint32_t position = 0;        // of the next byte to decide, in the stream
  std::uint32_t pending_length = 0;  // of the match at position - 1 that waits; 0: none
  std::uint32_t pending_distance = 0;

  bool operator==(const LzhPlace&) const = default;
};

class LzhMatcher {
 public:
  static constexpr std::uint32_t kHalfWindow = 16384;
  // Positions are decided when this many bytes from them on are known.
  static constexpr std::uint32_t kMinLookahead = kMaxMatch + kMinMatch + 1;

  // `level` is 1 to 9; `stream_length` is what all calls of Feed together will bring.
  void Reset(int level, std::uint32_t stream_length) { ResetAt(level, stream_length, 0, {}); }

  // Starts within a stream. Feed then takes the bytes from `origin` on, a multiple of kHalfWindow
  // that is not after the place. Their strings are entered into the chains, but nothing is decided
  // before the place.
  void ResetAt(int level, std::uint32_t stream_length, std::uint32_t origin, const LzhPlace& place);

  [[nodiscard]] LzhPlace Place() const {
    return {origin_ + position_, pending_.length, pending_.distance};
  }

  // Copies as much of `input` into the window as fits, and returns the number of bytes.
  std::uint32_t Feed(std::span<const std::uint8_t> input);

  enum class Pause {
    kNeedsInput,    // Feed has space again
    kTokensAtStop,  // call again once the stop has moved on
    kStreamEnd      // every token was added
  };

  // Adds tokens until it has to pause. A literal for the last byte of the stream does not count as
  // reaching the stop: it belongs to the block that is open when the stream ends.
  Pause Run(LzhTokens& tokens);

 private:
  static constexpr std::uint32_t kWindow = 2 * kHalfWindow;
  static constexpr std::uint32_t kMaxDistance = kHalfWindow - kMinLookahead;
  static constexpr std::uint32_t kSlidePosition = kHalfWindow + kMaxDistance;
  static constexpr std::uint32_t kHashBatch = 32;  // strings that are hashed at a time
  // Wide loads and the hashing of a whole batch reach this far beyond the window.
  static constexpr std::uint32_t kSlackBytes = kHashBatch + kMinMatch;
  static constexpr std::uint32_t kHashEntries = 16384;
  static constexpr std::uint32_t kLongHashEntries = 32768;
  // For shorter chains a plain walk takes less time than the tables of a deep search.
  static constexpr std::uint32_t kDeepChain = 32;

  struct Effort {
    std::uint32_t good_length;  // from this length on the search for a better match is cut short
    std::uint32_t max_lazy;     // from this length on there is no such search
    std::uint32_t max_chain;    // candidates to compare
  };

  static const std::array<Effort, 9> kEfforts;

  struct Match {
    std::uint32_t length = 0;  // 0: none
    std::uint32_t distance = 0;
  };

  [[nodiscard]] bool EndIsInWindow() const { return remaining_ == 0; }
  [[nodiscard]] bool AtStreamEnd() const { return EndIsInWindow() && position_ == end_; }
  [[nodiscard]] bool IsDeep() const { return effort_.max_chain >= kDeepChain; }
  void Slide();
  // Decides the positions below `limit`. Each of them is followed by kMinLookahead bytes, or by at
  // least three and the end of the stream.
  void Decide(LzhTokens& tokens, std::uint32_t limit);
  void DecideDeep(LzhTokens& tokens, std::uint32_t limit);
  void DecideShort(LzhTokens& tokens, std::uint32_t limit);
  // Both enter the strings from inserted_ up to `limit` into the chains.
  void InsertUpTo(std::uint32_t limit);
  void InsertDeepUpTo(std::uint32_t limit);
  void DecideTail(LzhTokens& tokens);

  // Positions are indices into the window. In the tables 0 means none, so the byte at index 0 is
  // never found. A link leads from a position to its predecessor in the chain. The tables from
  // long_heads_ on are for deep searches.
  std::array<std::uint8_t, kWindow + kSlackBytes> window_{};
  std::array<std::uint16_t, kHashEntries> heads_{};
  std::array<std::uint16_t, kWindow> links_{};
  std::array<std::uint16_t, kLongHashEntries> long_heads_{};  // chains over strings of four bytes
  std::array<std::uint32_t, kWindow> long_links_{};           // rank << 16 | link
  std::uint32_t inserted_ = 0;   // the next string to enter into the chains
  std::uint32_t position_ = 0;   // the next byte to decide
  std::uint32_t end_ = 0;        // the end of the bytes in the window
  std::uint32_t remaining_ = 0;  // bytes of the stream not yet in the window
  Match pending_{};              // at position_ - 1, unless a longer one replaces it
  Effort effort_{};
  std::uint32_t origin_ = 0;  // of the window, in the stream
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LZH_MATCHER_H_
