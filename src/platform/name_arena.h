// Names packed into one block of memory, so that as many as possible fit into a budget: a name
// takes its bytes, a zero, and an offset of four bytes.
#ifndef MOLDEX_PLATFORM_NAME_ARENA_H_
#define MOLDEX_PLATFORM_NAME_ARENA_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace moldex {

class CNameArena {
 public:
  bool IsEmpty() const { return offsets_.empty(); }
  std::size_t Count() const { return offsets_.size(); }
  // Bytes that the names take, with dropped ones that still take memory.
  std::size_t HeldBytes() const { return bytes_.size() + offsets_.size() * sizeof(offsets_[0]); }

  // `name` is not empty.
  void Add(std::string_view name);

  // Puts the names in byte order. Until the next Add the smallest one can be asked for and dropped.
  void Sort();
  const char* Smallest() const { return At(offsets_.back()); }
  void DropSmallest();

  // Drops the `count` largest names, and returns the smallest of them. Sorted names stay sorted.
  std::string DropLargest(std::size_t count);

  // Frees the memory that DropLargest keeps for further names.
  void FreeUnused();

 private:
  const char* At(std::uint32_t offset) const { return bytes_.data() + offset; }
  void Mark(std::uint32_t offset);
  void Compact();

  std::vector<char> bytes_;  // a dropped name begins with a zero instead of its first byte
  std::vector<std::uint32_t> offsets_;  // the largest name first while sorted
  std::size_t dropped_bytes_ = 0;       // of bytes_
  bool sorted_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_NAME_ARENA_H_
