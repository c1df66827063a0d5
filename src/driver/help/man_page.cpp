// The parts of the man page that come from tables, in mdoc.
#include <cctype>

#include "driver/help/help_pages.h"
#include "report/status_table.h"

namespace moldex {
namespace {

// A text as mdoc shows it, the words in backquotes in bold.
std::string Escaped(std::string_view text) {
  std::string escaped;
  bool bold = false;
  for (const char c : text) {
    if (c == '`') {
      bold = !bold;
      escaped += bold ? "\\fB" : "\\fP";
    } else if (c == '-') {
      escaped += "\\-";
    } else if (c == '\\') {
      escaped += "\\e";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// " Ar FILE", or nothing.
std::string ArgumentMacro(const Option& option) {
  if (option.argument == Argument::kNone) return {};
  return " Ar " + std::string(ArgumentName(option.argument));
}

bool GoesWith(const Option& option, char command) {
  return option.command == kNoCommand && option.commands.find(command) != std::string_view::npos;
}

// ".Fl c Ns Oo Cm irv Oc Ns Oo Cm f Ar ARCHIVE Oc"
std::string CommandMacro(char command) {
  std::string letters = GroupLetters({&command, 1});
  const bool names_archive = letters.ends_with('f');
  if (names_archive) letters.pop_back();
  std::string line = std::string(".Fl ") + command;
  if (!letters.empty()) line += " Ns Oo Cm " + letters + " Oc";
  if (names_archive) line += " Ns Oo Cm f Ar ";
  if (!names_archive) return line + "\n";
  return line + (command == 'm' ? "\\(dqsource target\\(dq Oc\n" : "ARCHIVE Oc\n");
}

// "With \fB\-c\fP and \fB\-a\fP.\n"
std::string With(std::string_view commands) {
  std::string line = "With ";
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (i > 0) line += i + 1 < commands.size() ? ", " : " and ";
    line += std::string("\\fB\\-") + commands[i] + "\\fP";
  }
  return line + ".\n";
}

}  // namespace

std::string ManSynopsis() {
  std::string lines;
  for (const char command : kEveryCommand) {
    lines += ".Nm\n" + CommandMacro(command);
    for (const Option& option : Options()) {
      if (option.spelling != Spelling::kWord || option.commands == kEveryCommand) continue;
      if (!GoesWith(option, command)) continue;
      lines += ".Op Fl " + std::string(option.name) + ArgumentMacro(option) + "\n";
    }
    if (command != 'm') lines += ".Op Ar name ...\n";
  }
  return lines;
}

std::string ManOption(const Option& option) {
  std::string lines = ".It Fl " + std::string(option.name) + ArgumentMacro(option) + "\n";
  std::string text = Escaped(option.text);
  text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  lines += text + ".\n";
  if (option.command != kNoCommand) return lines;
  return lines +
         (option.commands == kEveryCommand ? "With every command.\n" : With(option.commands));
}

std::string ManLetters() {
  const std::string letters = GroupLetters(kEveryCommand);
  std::string line = ".Cm";
  for (std::size_t i = 0; i < letters.size(); ++i) {
    if (i + 1 == letters.size()) line += " No and Cm";
    line += std::string(" ") + letters[i];
    if (i + 2 < letters.size()) line += " ,";
  }
  return line + "\n";
}

std::string ManStatuses() {
  std::string lines = ".Bl -tag -width 10n -compact\n";
  for (const StatusRow& row : kStatusTable) {
    lines += ".It " + std::string(row.statuses) + "\n" + Escaped(row.meaning) + "\n";
  }
  return lines + ".El\n";
}

}  // namespace moldex
