#include "extraction/entry_selection.h"

#include <algorithm>
#include <utility>

namespace moldex {
namespace {

bool IsBelow(const std::string& directory, const std::string& name) {
  if (directory.empty() || !name.starts_with(directory)) return false;
  return directory.back() == '/' ||
         (name.size() > directory.size() && name[directory.size()] == '/');
}

}  // namespace

CEntrySelection::CEntrySelection(std::vector<std::string> names, CSoughtNames& sought)
    : names_(std::move(names)), sought_(&sought) {
  std::sort(names_.begin(), names_.end());
}

CEntrySelection CEntrySelection::Forecast() const {
  CEntrySelection copy = *this;
  copy.sought_ = nullptr;
  return copy;
}

bool CEntrySelection::Selects(const std::string& name, bool is_directory) {
  if (names_.empty()) return true;
  if (sought_ != nullptr && !std::exchange(looked_for_, true)) sought_->LookFor(names_);
  if (std::binary_search(names_.begin(), names_.end(), name)) {
    if (sought_ != nullptr) sought_->Found(name);
    if (is_directory) selected_directory_ = name;
    return true;
  }
  return IsBelow(selected_directory_, name);
}

}  // namespace moldex
