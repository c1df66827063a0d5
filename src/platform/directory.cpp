#include "platform/directory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace moldex {
namespace {

std::size_t Cost(const std::string& name) { return sizeof(std::string) + name.size(); }

}  // namespace

// Takes more than is wanted now: giving names up one by one would move the rest each time.
void CNameMemory::MakeRoomFor(const CSortedDirectory& reader) {
  const std::size_t portion = bytes_ / 8;
  for (CSortedDirectory* directory : directories_) {
    if (held_bytes_ == reader.held_bytes_ || !IsExceeded()) return;
    if (directory != &reader) directory->GiveUp(std::max(held_bytes_ - bytes_, portion));
  }
}

CSortedDirectory::CSortedDirectory(std::string path, CNameMemory& memory,
                                   std::optional<FileIdentity> identity)
    : path_(std::move(path)), memory_(memory), identity_(identity) {
  memory_.directories_.push_back(this);
}

CSortedDirectory::~CSortedDirectory() {
  memory_.held_bytes_ -= held_bytes_;
  std::erase(memory_.directories_, this);
}

std::optional<std::string> CSortedDirectory::Next() {
  if (names_.empty() && !complete_) ReadBatch();
  if (names_.empty()) return std::nullopt;
  last_ = names_.back();
  DropLast();
  if (names_.empty()) names_.shrink_to_fit();
  return last_;
}

void CSortedDirectory::ReadBatch() {
  complete_ = true;  // until a name has to be left for the next batch
  const auto keep = [this](const char* name) {
    if (!accept_ || accept_(name)) Keep(name);
  };
  outcome_ = VisitDirectory(path_, keep, identity_);
  if (!outcome_) {
    while (!names_.empty())
      DropLast();
    complete_ = true;
  }
  std::sort(names_.begin(), names_.end(), std::greater<>());
}

void CSortedDirectory::Keep(const char* name) {
  if (!last_.empty() && std::strcmp(name, last_.c_str()) <= 0) return;
  // Once names were left out, only smaller ones than the largest kept can be part of this batch.
  if (!complete_ && std::strcmp(name, names_.front().c_str()) >= 0) return;
  names_.emplace_back(name);
  held_bytes_ += Cost(names_.back());
  memory_.held_bytes_ += Cost(names_.back());
  if (memory_.IsExceeded()) memory_.MakeRoomFor(*this);
  if (complete_ && !memory_.IsExceeded()) return;
  if (complete_) {
    complete_ = false;
    std::make_heap(names_.begin(), names_.end());
  } else {
    std::push_heap(names_.begin(), names_.end());
  }
  while (memory_.IsExceeded() && names_.size() > 1) {
    std::pop_heap(names_.begin(), names_.end());
    DropLast();
  }
}

void CSortedDirectory::DropLast() {
  const std::size_t bytes = Cost(names_.back());
  held_bytes_ -= bytes;
  memory_.held_bytes_ -= bytes;
  names_.pop_back();
}

// The largest names go: they stand in front, and are needed last.
void CSortedDirectory::GiveUp(std::size_t wanted_bytes) {
  auto end = names_.begin();
  std::size_t bytes = 0;
  while (end != names_.end() && bytes < wanted_bytes)
    bytes += Cost(*end++);
  if (bytes == 0) return;
  names_.erase(names_.begin(), end);
  names_.shrink_to_fit();
  held_bytes_ -= bytes;
  memory_.held_bytes_ -= bytes;
  complete_ = false;
}

}  // namespace moldex
