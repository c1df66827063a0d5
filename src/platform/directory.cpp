#include "platform/directory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace moldex {

// Frees more than is needed now, because giving up names one by one would move the rest each time.
void CNameMemory::MakeSpaceFor(const CSortedDirectory& reader) {
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
  if (names_.IsEmpty() && !complete_) ReadBatch();
  if (names_.IsEmpty()) return std::nullopt;
  last_ = names_.Smallest();
  names_.DropSmallest();
  UpdateHeldBytes();
  return last_;
}

void CSortedDirectory::TryAgain() {
  complete_ = false;
  outcome_ = {};
  first_left_out_.clear();
}

void CSortedDirectory::ReadBatch() {
  complete_ = true;  // until a name has to be left for the next batch
  const auto keep = [this](const char* name) {
    if (!accept_ || accept_(name)) Keep(name);
  };
  outcome_ = VisitDirectory(path_, keep, identity_);
  if (!outcome_) {
    names_ = {};
    complete_ = true;
  }
  names_.Sort();
  UpdateHeldBytes();
}

void CSortedDirectory::Keep(const char* name) {
  if (!last_.empty() && std::strcmp(name, last_.c_str()) <= 0) return;
  if (!complete_ && std::strcmp(name, first_left_out_.c_str()) >= 0) return;
  names_.Add(name);
  UpdateHeldBytes();
  if (memory_.IsExceeded()) memory_.MakeSpaceFor(*this);
  while (memory_.IsExceeded() && names_.Count() > 1)
    DropLargest();
}

// Leaves the largest names for the next batch. Drops several at once, because dropping goes over
// all names.
void CSortedDirectory::DropLargest() {
  constexpr std::size_t kPart = 8;
  first_left_out_ = names_.DropLargest(std::max<std::size_t>(names_.Count() / kPart, 1));
  complete_ = false;
  UpdateHeldBytes();
}

// The largest names are given up, because they are needed last.
void CSortedDirectory::GiveUp(std::size_t wanted_bytes) {
  if (names_.IsEmpty()) return;
  const std::size_t average_bytes = held_bytes_ / names_.Count();
  const std::size_t wanted_count = wanted_bytes / average_bytes + 1;
  (void)names_.DropLargest(std::min(wanted_count, names_.Count()));
  names_.FreeUnused();
  complete_ = false;
  UpdateHeldBytes();
}

void CSortedDirectory::UpdateHeldBytes() {
  memory_.held_bytes_ += names_.HeldBytes() - held_bytes_;
  held_bytes_ = names_.HeldBytes();
}

}  // namespace moldex
