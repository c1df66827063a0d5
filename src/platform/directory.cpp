#include "platform/directory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace moldex {
namespace {

std::size_t Cost(const std::string& name) { return sizeof(std::string) + name.size(); }

}  // namespace

CSortedDirectory::CSortedDirectory(std::string path, std::size_t budget_bytes)
    : path_(std::move(path)), budget_bytes_(budget_bytes) {}

std::optional<std::string> CSortedDirectory::Next() {
  if (names_.empty() && !complete_) ReadBatch();
  if (names_.empty()) return std::nullopt;
  std::string name = std::move(names_.back());
  names_.pop_back();
  held_bytes_ -= Cost(name);
  if (names_.empty()) {
    last_ = name;
    names_.shrink_to_fit();
  }
  return name;
}

void CSortedDirectory::ReadBatch() {
  complete_ = true;  // until a name has to be left for the next batch
  result_ = VisitDirectory(path_, [this](const char* name) {
    if (!accept_ || accept_(name)) Keep(name);
  });
  if (result_ != DirectoryResult::kComplete) {
    complete_ = true;
    names_.clear();
    held_bytes_ = 0;
  }
  std::sort(names_.begin(), names_.end(), std::greater<>());
}

void CSortedDirectory::Keep(const char* name) {
  if (!last_.empty() && std::strcmp(name, last_.c_str()) <= 0) return;
  // Once names were left out, only smaller ones than the largest kept can be part of this batch.
  if (!complete_ && std::strcmp(name, names_.front().c_str()) >= 0) return;
  names_.emplace_back(name);
  held_bytes_ += Cost(names_.back());
  if (complete_ && held_bytes_ <= budget_bytes_) return;
  if (complete_) {
    complete_ = false;
    std::make_heap(names_.begin(), names_.end());
  } else {
    std::push_heap(names_.begin(), names_.end());
  }
  while (held_bytes_ > budget_bytes_ && names_.size() > 1) {
    std::pop_heap(names_.begin(), names_.end());
    held_bytes_ -= Cost(names_.back());
    names_.pop_back();
  }
}

}  // namespace moldex
