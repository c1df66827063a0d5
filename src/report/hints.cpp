#include "report/hints.h"

#include <algorithm>
#include <vector>

#include "report/console.h"
#include "report/output.h"
#include "report/screen_text.h"
#include "report/status_line.h"

namespace moldex {
namespace {

constexpr std::size_t kMostHints = 10;

std::vector<std::string> kept_hints;

}  // namespace

bool HintsAreWanted() {
  const TextPlace place = OutcomeOfText().place;
  return place != TextPlace::kFile && place != TextPlace::kNowhere && ErrorIsTerminal();
}

void ShowHint(const std::string& text) {
  if (!HintsAreWanted() || ErrorColumns() == 0) return;
  CStatusLine::MakeWayOnTerminal();
  WriteToErrorTerminal("hint: " + Escaped(text) + "\n");
}

void KeepHint(const std::string& text) {
  const bool is_new = std::find(kept_hints.begin(), kept_hints.end(), text) == kept_hints.end();
  if (is_new && kept_hints.size() < kMostHints && HintsAreWanted()) kept_hints.push_back(text);
}

void ShowKeptHints() {
  for (const std::string& hint : kept_hints)
    ShowHint(hint);
  kept_hints.clear();
}

}  // namespace moldex
