#include "cscompr/lzc_string_table.h"

#include <cstring>

namespace cscompr {
namespace {

constexpr unsigned kLongMark = 0xFF;  // stands in a key where short strings have their length
constexpr std::uint16_t kLongTag = 1;
constexpr std::uint32_t kGoldenRatio = 0x9E3779B1;  // its multiples lie evenly in 32 bits

std::uint64_t LongKey(std::uint32_t prefix, std::uint32_t byte) {
  return std::uint64_t{prefix} << 16 | byte << 8 | kLongMark;
}

// The codes with one last byte lie at as many different slots as there are prefixes, and the
// multiplication does not wait for the prefix, which is what a search waits for.
std::uint32_t LongSlot(std::uint32_t prefix, std::uint32_t byte) {
  return (byte * kGoldenRatio) >> 16 ^ prefix;
}

}  // namespace

void LzcStringTable::Clear() {
  for (std::uint32_t literal = 0; literal < kLzcLiterals; ++literal) {
    keys[literal] = ShortKey(literal, 1);
  }
  std::memset(pairs.data(), 0, sizeof pairs);
  std::memset(slots.data(), 0, sizeof slots);
}

LzcStringTable::Walk LzcStringTable::Follow(std::uint32_t code, const std::uint8_t* next,
                                            const std::uint8_t* end) const {
  for (; next != end; ++next) {
    if ((keys[code] & 0xFF) >= kShort) return FollowLong(code, next, end);
    const Place place = Find(code, *next);
    if (place.code == 0) return {code, next, place};
    code = place.code;
  }
  return {code, end, {}};
}

LzcStringTable::Walk LzcStringTable::FollowLong(std::uint32_t code, const std::uint8_t* next,
                                                const std::uint8_t* end) const {
  for (; next != end; ++next) {
    const std::uint32_t byte = *next;
    const std::uint64_t key = LongKey(code, byte);
    std::uint32_t slot = LongSlot(code, byte);
    std::uint32_t found = slots[slot] >> 16;
    while (keys[found] != key) {
      if (found == 0) return {code, next, {key, slot, kLongTag, 0}};
      slot = (slot + 1) % kSlots;
      found = slots[slot] >> 16;
    }
    code = found;
  }
  return {code, end, {}};
}

// Of a short string and one more byte.
LzcStringTable::Place LzcStringTable::Find(std::uint32_t prefix, std::uint32_t byte) const {
  const std::uint64_t prefix_key = keys[prefix];
  const unsigned length = prefix_key & 0xFF;
  const std::uint64_t word = prefix_key >> (64 - 8 * length) | std::uint64_t{byte} << (8 * length);
  const std::uint64_t key = ShortKey(word, length + 1);
  if (length == 1) return {key, static_cast<std::uint32_t>(word), 0, pairs[word]};
  const std::uint32_t hash = HashOf(HashesOf(word), length + 1);
  for (std::uint32_t slot = hash >> 16;; slot = (slot + 1) % kSlots) {
    const auto code = static_cast<std::uint16_t>(slots[slot] >> 16);
    if (keys[code] == key || code == 0) return {key, slot, static_cast<std::uint16_t>(hash), code};
  }
}

void LzcStringTable::Add(std::uint32_t code, const Place& place) {
  keys[code] = place.key;
  if ((place.key & 0xFF) == 2) {
    pairs[place.slot] = static_cast<std::uint16_t>(code);
  } else {
    slots[place.slot] = code << 16 | place.tag;
  }
}

}  // namespace cscompr
