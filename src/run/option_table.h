// Every option of the command line, in one table: its spelling, its argument, the field that it
// sets, the commands that it goes with, and its effect in one line.
//
// The parser, the rules on combinations and the usage text read the table. A test compares it with
// the man page and the completions in share/. "-version" is no option: it counts only as the first
// word, and the driver looks for it.
#ifndef MOLDEX_RUN_OPTION_TABLE_H_
#define MOLDEX_RUN_OPTION_TABLE_H_

#include <span>
#include <string_view>

#include "run/command.h"
#include "run/options.h"

namespace moldex {

enum class Spelling {
  kWord,   // a word of its own: "-flat"
  kLetter  // a letter that may also stand in a group of such: "-cvf"
};

// The kind of argument that the next word of the command line is.
enum class Argument { kNone, kArchive, kDirectory, kFile, kMode };

struct Option {
  std::string_view name;      // without the "-"
  std::string_view commands;  // the letters of the commands that it goes with
  std::string_view text;

  // The field that the option sets: one of these three, or none.
  bool CCmdLineOptions::*flag = nullptr;
  const char* CCmdLineOptions::*value = nullptr;
  CommandCode command = kNoCommand;

  bool flag_value = true;
  Spelling spelling = Spelling::kWord;
  Argument argument = Argument::kNone;
};

// The letters of all commands, in the order in which a user first needs them.
inline constexpr std::string_view kEveryCommand = "catdxml";

// In alphabetical order, each small letter before its capital.
std::span<const Option> Options();

// The option of this name, or null.
const Option* FindOption(std::string_view name);

// The option that this letter stands for in a group, or null.
const Option* FindLetter(char letter);

// The name of the argument in texts; empty when there is no argument.
std::string_view ArgumentName(Argument argument);

// The commands that an option of the table goes with; none for a name that is not in the table.
CommandSet CommandsOf(std::string_view name);

}  // namespace moldex

#endif  // MOLDEX_RUN_OPTION_TABLE_H_
