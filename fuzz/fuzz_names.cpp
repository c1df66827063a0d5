// Any text as a name, under the rules of both systems: the promises that the rules make about one
// another.
#include <cstdlib>
#include <string>

#include "base/name_rules.h"
#include "base/path_rules.h"
#include "fuzz/target.h"
#include "platform/long_name.h"

namespace {

using moldex::PathRules;
using moldex::fuzz::Require;

void TryName(const PathRules& rules, const std::string& name) {
  const std::string normal = moldex::NormalisedName(rules, name);
  Require(moldex::NormalisedName(rules, normal) == normal);
  Require(moldex::HasParentComponent(PathRules::kPosix, name) <=
          moldex::HasParentComponent(PathRules::kWindows, name));
  const std::string stored = moldex::StoredName(rules, name, false);
  Require(stored.empty() || stored[0] != '/');
  Require(!moldex::IsAbsolutePath(rules, stored));
  Require(moldex::LinkLeaves(rules, "a/b", "../../" + name));
  // A name that is allowed and does not climb stays below the target.
  const std::string path = moldex::TargetName(rules, "target", name);
  if (moldex::IsRelative(name) && !moldex::HasParentComponent(rules, name) &&
      moldex::IsAllowedName(rules, path)) {
    Require(path.starts_with("target/") && !moldex::HasParentComponent(rules, path));
  }
}

void TryLongName(const std::string& text) {
  const std::wstring name(text.begin(), text.end());
  const std::wstring form = moldex::LongNameForm(name, L"C:\\here");
  Require(name.empty() == form.empty());
  Require(moldex::LongNameForm(form, L"D:\\there") == form);
}

}  // namespace

// The length of a pattern, the pattern, a name.
void moldex::fuzz::TryInput(ByteSpan input) {
  if (input.empty()) return;
  const std::string text(input.begin() + 1, input.end());
  const std::string name = text.substr(std::min<std::size_t>(input[0], text.size()));
  moldex::IsShortcutName(PathRules::kWindows, name);
  for (const PathRules rules : {PathRules::kPosix, PathRules::kWindows}) {
    moldex::MatchesPattern(rules, text.substr(0, input[0]), name);
    TryName(rules, name);
  }
  TryLongName(name);
}
