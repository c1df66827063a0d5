#include "run/sought_names.h"

#include "report/hints.h"

namespace moldex {
namespace {

constexpr std::size_t kMostNames = 5;

}  // namespace

void CSoughtNames::LookFor(const std::vector<std::string>& names) {
  if (!HintsAreWanted()) return;
  for (const std::string& name : names)
    found_.try_emplace(name, false);
}

void CSoughtNames::Found(const std::string& name) {
  const auto place = found_.find(name);
  if (place != found_.end()) place->second = true;
}

void CSoughtNames::HintAtMissing() const {
  std::size_t missing = 0;
  for (const auto& [name, found] : found_) {
    if (!found && ++missing <= kMostNames) KeepHint("no entry has the name " + name);
  }
  if (missing > kMostNames) {
    KeepHint("the same goes for " + std::to_string(missing - kMostNames) + " more of the names");
  }
}

}  // namespace moldex
