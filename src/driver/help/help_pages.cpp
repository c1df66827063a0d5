#include "driver/help/help_pages.h"

#include <map>
#include <stdexcept>

namespace moldex {
namespace {

void ReplaceAll(std::string* text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text->find(from, at)) != std::string::npos; at += to.size())
    text->replace(at, from.size(), to);
}

class Filler {
 public:
  // What takes the place of a line that begins with "@".
  std::string Line(const std::string& line) {
    if (line == "@synopsis") return ManSynopsis();
    if (line == "@letters") return ManLetters();
    if (line == "@statuses") return ManStatuses();
    if (line == "@bash") return BashOptions();
    if (line == "@powershell") return PowerShellOptions();
    constexpr std::string_view kOption = "@option ";
    const Option* option =
        line.starts_with(kOption) ? FindOption(line.substr(kOption.size())) : nullptr;
    if (option == nullptr) throw std::runtime_error("nothing is known of " + line);
    ++described_[option];
    return ManOption(*option);
  }

  void CheckThatEachIsDescribedOnce() const {
    if (described_.empty()) return;
    for (const Option& option : Options()) {
      const auto found = described_.find(&option);
      if (found != described_.end() && found->second == 1) continue;
      throw std::runtime_error("-" + std::string(option.name) + " is not described once");
    }
  }

 private:
  std::map<const Option*, int> described_;
};

}  // namespace

std::string FilledIn(std::string_view page_template, std::string_view release) {
  Filler filler;
  std::string page;
  while (!page_template.empty()) {
    const std::size_t end = page_template.find('\n');
    std::string line(page_template.substr(0, end));
    page_template.remove_prefix(end == std::string_view::npos ? page_template.size() : end + 1);
    if (line.starts_with('@')) {
      page += filler.Line(line);
      continue;
    }
    ReplaceAll(&line, "@release@", release);
    ReplaceAll(&line, "@commands@", kEveryCommand);
    ReplaceAll(&line, "@letters@", GroupLetters(kEveryCommand));
    page += line + "\n";
  }
  filler.CheckThatEachIsDescribedOnce();
  return page;
}

std::string GroupLetters(std::string_view commands) {
  std::string letters(commands == kEveryCommand ? commands : "");
  bool names_archive = false;
  for (const Option& option : Options()) {
    if (option.spelling != Spelling::kLetter || option.command != kNoCommand) continue;
    if (option.commands.find_first_of(commands) == std::string_view::npos) continue;
    if (option.argument == Argument::kNone) {
      letters += option.name;
    } else {
      names_archive = true;
    }
  }
  return letters + (names_archive ? "f" : "");
}

}  // namespace moldex
