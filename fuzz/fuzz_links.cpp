// Any name and target of a symbolic link, under the rules of both systems: a link that is allowed
// stays within the target directory.
#include <string>
#include <vector>

#include "base/name_rules.h"
#include "base/path_rules.h"
#include "fuzz/target.h"

namespace moldex::fuzz {
namespace {

std::vector<std::string> Components(const PathRules& rules, const std::string& path) {
  std::vector<std::string> components(1);
  for (const char c : path) {
    if (!IsSeparator(rules, c)) components.back() += c;
    if (IsSeparator(rules, c)) components.emplace_back();
  }
  std::erase_if(components, [](const auto& part) { return part.empty() || part == "."; });
  return components;
}

// Where a link leads: its directory, then its target. A ".." is allowed only at the target's
// beginning, because a component before it may be a link, too.
bool StaysBelow(const PathRules& rules, const std::string& written, const std::string& target) {
  if (!target.empty() && (IsSeparator(rules, target[0]) || target.find(':') == 1)) return false;
  std::size_t depth = Components(rules, written).size() - 1;
  bool descended = false;
  for (const std::string& part : Components(rules, target)) {
    descended |= part != "..";
    if (part != "..") continue;
    if (descended || --depth == 0) return false;
  }
  return true;
}

void TryLink(const PathRules& rules, const std::string& name, const std::string& target) {
  const std::string written = TargetName(rules, "out", name);
  const std::string_view last = LastComponent(rules, written);
  if (!IsRelative(name) || HasParentComponent(rules, name) || last.empty() || last == ".") return;
  if (!IsAllowedName(rules, written)) return;
  Require(written.starts_with("out/"));
  if (LinkLeaves(rules, written.substr(4), target)) return;
  Require(StaysBelow(rules, written, target));
}

}  // namespace

// The length of the name, the name, the target.
void TryInput(ByteSpan input) {
  if (input.empty()) return;
  const std::string text(input.begin() + 1, input.end());
  for (const PathRules rules : {PathRules::kPosix, PathRules::kWindows})
    TryLink(rules, text.substr(0, input[0]),
            text.substr(std::min<std::size_t>(input[0], text.size())));
}

}  // namespace moldex::fuzz
