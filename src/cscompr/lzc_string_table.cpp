#include "cscompr/lzc_string_table.h"

#include <cstring>

namespace cscompr {

void LzcStringTable::Clear() {
  for (std::uint32_t literal = 0; literal < kLzcLiterals; ++literal) {
    keys[literal] = KeyOf(literal, 1, 0);
  }
  std::memset(pairs.data(), 0, sizeof pairs);
  std::memset(tags.data(), 0, sizeof tags);
}

LzcStringTable::Walk LzcStringTable::Follow(std::uint32_t code, const std::uint8_t* next,
                                            const std::uint8_t* end) const {
  Walk walk{code, next, {}};
  for (; walk.next != end; ++walk.next) {
    walk.place = Find(walk.code, *walk.next);
    if (walk.place.code == 0) break;
    walk.code = walk.place.code;
  }
  return walk;
}

LzcStringTable::Place LzcStringTable::Find(std::uint32_t prefix, std::uint32_t byte) const {
  const std::uint64_t prefix_key = keys[prefix];
  unsigned mark = prefix_key >> 56 & kLong;
  unsigned length = prefix_key >> 56 & ~kLong;
  std::uint64_t word = prefix_key & kFirstBytes[kShort];
  if (length == kShort) {  // the prefix fills its key: its code begins the next one
    word = prefix;
    length = kCodeBytes;
    mark = kLong;
  }
  word |= std::uint64_t{byte} << (8 * length);
  ++length;
  const std::uint64_t key = KeyOf(word, length, mark);
  if (length == 2) {
    const auto pair = static_cast<std::uint32_t>(word);
    return {key, 0, pair, 0, pairs[pair]};
  }
  const std::uint64_t hashes = HashesOf(word);
  const std::uint8_t tag = TagOf(hashes, length);
  const std::uint32_t home = SlotOf(hashes, length);
  std::uint32_t slot = home;
  for (; tags[slot] != 0; ++slot) {
    const auto code = static_cast<std::uint16_t>(CodeIn(slot));
    if (keys[code] == key) return {key, home, slot, tag, code};
  }
  return {key, home, slot, tag, 0};
}

void LzcStringTable::Add(std::uint32_t code, const Place& place) {
  keys[code] = place.key;
  if (place.tag == 0) {
    pairs[place.slot] = static_cast<std::uint16_t>(code);
  } else {
    codes[place.home] |= kPassedBy;  // unless the next line removes it again
    codes[place.slot] = static_cast<std::uint16_t>(code);
    tags[place.slot] = place.tag;
  }
}

}  // namespace cscompr
