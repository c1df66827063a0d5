#include "cscompr/lzc_string_table.h"

#include <cstring>

#include "cscompr/wide_access.h"

namespace cscompr {

void LzcStringTable::Clear() {
  for (std::uint32_t literal = 0; literal < kLzcLiterals; ++literal) {
    keys[literal] = ShortKey(literal, 1);
  }
  std::memset(pairs.data(), 0, sizeof pairs);
  std::memset(slots.data(), 0, sizeof slots);
}

LzcStringTable::Walk LzcStringTable::Follow(std::uint32_t code, const std::uint8_t* next,
                                            const std::uint8_t* end) const {
  Walk walk{code, next, {}};
  while (walk.next != end) {
    if ((keys[walk.code] & kLengthMask) == kShort &&
        end - walk.next >= static_cast<std::ptrdiff_t>(sizeof(std::uint64_t))) {
      const Leap leap = FollowAtOnce(walk);
      if (leap == Leap::kEnded) break;
      if (leap == Leap::kGoesOn) continue;
    }
    walk.place = Find(walk.code, *walk.next);
    if (walk.place.code == 0) break;
    walk.code = walk.place.code;
    ++walk.next;
  }
  return walk;
}

// Goes on from a string that fills its key, as the encoder's hot loop goes on from a pair. Where
// that fails, the next byte has to be looked up alone.
LzcStringTable::Leap LzcStringTable::FollowAtOnce(Walk& walk) const {
  constexpr unsigned kCodeBytes = 2;
  const std::uint64_t word = Load64(walk.next) << (8 * kCodeBytes) | walk.code;
  const std::uint64_t hashes = HashesOf(word, kLongSalt);
  const auto [code, length] = Longest(hashes, walk.code);
  if (length > kCodeBytes && keys[code] != (ShortKey(word, length) | kLong)) return Leap::kFailed;
  walk.code = code;
  walk.next += length - kCodeBytes;
  if (length == kShort) return Leap::kGoesOn;
  const std::uint32_t hash = HashOf(hashes, length + 1);
  const std::uint32_t home = hash >> 16;
  if ((slots[home] & kPassedBy) != 0) return Leap::kFailed;
  std::uint32_t slot = home;
  while (slots[slot] != 0)
    slot = (slot + 1) % kSlots;
  walk.place = {ShortKey(word, length + 1) | kLong, home, slot, static_cast<std::uint16_t>(hash),
                0};
  return Leap::kEnded;
}

LzcStringTable::Place LzcStringTable::Find(std::uint32_t prefix, std::uint32_t byte) const {
  const std::uint64_t prefix_key = keys[prefix];
  unsigned length = prefix_key & kLengthMask;
  std::uint64_t mark = prefix_key & kLong;
  std::uint64_t word = prefix_key >> (64 - 8 * length);
  if (length == kShort) {  // the prefix fills its key: its code begins the next one
    word = prefix;
    length = 2;
    mark = kLong;
  }
  word |= std::uint64_t{byte} << (8 * length);
  const std::uint64_t key = ShortKey(word, length + 1) | mark;
  if (length == 1) {
    const auto pair = static_cast<std::uint32_t>(word);
    return {key, 0, pair, 0, pairs[pair]};
  }
  const std::uint32_t hash = HashOf(HashesOf(word, mark != 0 ? kLongSalt : kSalt), length + 1);
  for (std::uint32_t slot = hash >> 16;; slot = (slot + 1) % kSlots) {
    const auto code = static_cast<std::uint16_t>(CodeOf(slots[slot]));
    if (keys[code] == key || code == 0)
      return {key, hash >> 16, slot, static_cast<std::uint16_t>(hash), code};
  }
}

void LzcStringTable::Add(std::uint32_t code, const Place& place) {
  keys[code] = place.key;
  if ((place.key & 0xFF) == 2) {
    pairs[place.slot] = static_cast<std::uint16_t>(code);
  } else {
    slots[place.home] |= kPassedBy;  // unless the next line removes it again
    slots[place.slot] = code << 16 | place.tag;
  }
}

}  // namespace cscompr
