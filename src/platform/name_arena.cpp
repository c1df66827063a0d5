#include "platform/name_arena.h"

#include <algorithm>
#include <cstring>

namespace moldex {

void CNameArena::Add(std::string_view name) {
  sorted_ = false;
  offsets_.push_back(static_cast<std::uint32_t>(bytes_.size()));
  bytes_.insert(bytes_.end(), name.begin(), name.end());
  bytes_.push_back('\0');
}

void CNameArena::Sort() {
  sorted_ = true;
  std::sort(offsets_.begin(), offsets_.end(), [this](std::uint32_t left, std::uint32_t right) {
    return std::strcmp(At(left), At(right)) > 0;
  });
}

// Memory is freed once the dropped names take half of it, and with the last name.
void CNameArena::DropSmallest() {
  Mark(offsets_.back());
  offsets_.pop_back();
  if (offsets_.empty()) {
    *this = {};
  } else if (dropped_bytes_ > bytes_.size() / 2) {
    Compact();
    FreeUnused();
  }
}

std::string CNameArena::DropLargest(std::size_t count) {
  const auto end = offsets_.begin() + static_cast<std::ptrdiff_t>(count);
  if (!sorted_) {
    std::nth_element(offsets_.begin(), end - 1, offsets_.end(),
                     [this](std::uint32_t left, std::uint32_t right) {
                       return std::strcmp(At(left), At(right)) > 0;
                     });
  }
  std::string smallest = At(*(end - 1));
  std::for_each(offsets_.begin(), end, [this](std::uint32_t offset) { Mark(offset); });
  offsets_.erase(offsets_.begin(), end);
  Compact();
  return smallest;
}

void CNameArena::FreeUnused() {
  bytes_.shrink_to_fit();
  offsets_.shrink_to_fit();
}

void CNameArena::Mark(std::uint32_t offset) {
  dropped_bytes_ += std::strlen(At(offset)) + 1;
  bytes_[offset] = '\0';
}

// Moves the names that are left together, in the order in which they stand in the block.
void CNameArena::Compact() {
  std::size_t end = 0;
  offsets_.clear();
  for (std::size_t at = 0; at < bytes_.size();) {
    const char* name = bytes_.data() + at;
    const bool is_dropped = *name == '\0';
    const std::size_t length = std::strlen(name + 1) + 2;
    if (!is_dropped) {
      offsets_.push_back(static_cast<std::uint32_t>(end));
      std::memmove(bytes_.data() + end, name, length);
      end += length;
    }
    at += length;
  }
  bytes_.resize(end);
  dropped_bytes_ = 0;
  if (sorted_) Sort();
}

}  // namespace moldex
