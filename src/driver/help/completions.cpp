// The tables of the completions for shells.
#include "driver/help/help_pages.h"

namespace moldex {
namespace {

std::string_view KindOf(Argument argument) {
  switch (argument) {
    case Argument::kNone:
      return "";
    case Argument::kArchive:
      return "archive";
    case Argument::kDirectory:
      return "directory";
    case Argument::kFile:
      return "file";
    case Argument::kMode:
      return "mode";
  }
  return "";
}

// The words that go with any of the commands, and are no letters of a group.
std::string Words(std::string_view commands) {
  std::string words;
  for (const Option& option : Options()) {
    if (option.spelling != Spelling::kWord) continue;
    if (option.commands.find_first_of(commands) == std::string_view::npos) continue;
    words += (words.empty() ? "-" : " -") + std::string(option.name);
  }
  return words;
}

// "    [NAME]='VALUE'\n"; no value of the tables has a quote in it.
std::string Element(std::string_view name, std::string_view value) {
  return "    [" + std::string(name) + "]='" + std::string(value) + "'\n";
}

// In single quotes of PowerShell.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string BashOptions() {
  std::string argument = "  argument=(\n";
  for (const Option& option : Options()) {
    const std::string_view kind = KindOf(option.argument);
    argument += Element("-" + std::string(option.name), kind.empty() ? "none" : kind);
  }
  std::string words = "  words=(\n" + Element("none", Words(kEveryCommand));
  std::string letters = "  letters=(\n" + Element("all", GroupLetters(kEveryCommand)) +
                        Element("none", kEveryCommand);
  for (const char& command : kEveryCommand) {
    const std::string_view name(&command, 1);
    words += Element(name, Words(name));
    letters += Element(name, GroupLetters(name));
  }
  return "  commands='" + std::string(kEveryCommand) + "'\n" + argument + "  )\n" + words +
         "  )\n" + letters + "  )\n";
}

std::string PowerShellOptions() {
  std::string lines;
  for (const Option& option : Options()) {
    lines += "        [pscustomobject]@{ Name = " + Quoted("-" + std::string(option.name)) +
             "; Group = " + (option.spelling == Spelling::kLetter ? "$true" : "$false") +
             "; Argument = " + Quoted(KindOf(option.argument)) +
             "; Commands = " + Quoted(option.commands) + "; Text = " + Quoted(option.text) + " }\n";
  }
  return lines;
}

}  // namespace moldex
