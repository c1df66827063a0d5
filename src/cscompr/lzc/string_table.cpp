#include "cscompr/lzc/string_table.h"

#include <cstring>
#include <utility>

namespace cscompr {

void LzcStringTable::Clear() {
  for (std::uint32_t literal = 0; literal < kLzcLiterals; ++literal) {
    keys[literal] = KeyOf(literal, 1);
  }
  std::memset(pairs.data(), 0, sizeof pairs);
  std::memset(tags.data(), 0, sizeof tags);
}

LzcStringTable::Walk LzcStringTable::Follow(std::uint32_t code, const std::uint8_t* next,
                                            const std::uint8_t* end) {
  Walk walk{code, next, {}};
  for (; walk.next != end; ++walk.next) {
    walk.place = Find(walk.code, *walk.next);
    if (walk.place.code == 0) break;
    walk.code = walk.place.code;
  }
  return walk;
}

LzcStringTable::Place LzcStringTable::Find(std::uint32_t prefix, std::uint32_t byte) {
  std::uint64_t word = keys[prefix];
  auto form = static_cast<unsigned>(word >> kFormShift);
  if (form % kLong == kShort) {  // the prefix fills its key, so its code begins the next one
    word = prefix;
    form = kLong | kCodeBytes;
  }
  const unsigned before = form % kLong;
  word = (word & ~(~std::uint64_t{0} << 8 * before)) | std::uint64_t{byte} << 8 * before;
  const std::uint64_t key = KeyOf(word, ++form);
  const unsigned length = before + 1;
  if (form == 2) {
    const auto pair = static_cast<std::uint32_t>(word);
    return {key, 0, pair, 0, pairs[pair]};
  }
  const std::uint64_t hashes = HashesOf(word);
  const std::uint8_t tag = TagOf(hashes, length);
  const std::uint32_t home = SlotOf(hashes, length);
  std::uint32_t slot = home;
  while (tags[slot] != 0 && keys[CodeIn(slot)] != key)
    ++slot;
  if (tags[slot] == 0) return {key, home, slot, tag, 0};
  if (slot != home) Exchange(slot, home);
  return {key, home, home, tag, static_cast<std::uint16_t>(CodeIn(home))};
}

// The overflow flags stay with their slots.
void LzcStringTable::Exchange(std::uint32_t one, std::uint32_t other) {
  std::swap(tags[one], tags[other]);
  const auto both = static_cast<std::uint16_t>(CodeIn(one) ^ CodeIn(other));
  codes[one] ^= both;
  codes[other] ^= both;
}

void LzcStringTable::Add(std::uint32_t code, const Place& place) {
  keys[code] = place.key;
  if (place.tag == 0) {
    pairs[place.slot] = static_cast<std::uint16_t>(code);
  } else {
    codes[place.home] |= kOverflowed;  // the next line undoes this if the slots are the same
    codes[place.slot] = static_cast<std::uint16_t>(code);
    tags[place.slot] = place.tag;
  }
}

}  // namespace cscompr
