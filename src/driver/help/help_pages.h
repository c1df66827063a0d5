// Makes the man page and the completions for shells from templates and the program's own tables.
// Part of a program of its own, make_help, which runs when moldex is built, also on a system that
// moldex is not built for; so it calls no operating system.
//
// Where a template has a line that begins with "@", lines made from the tables take its place:
//   @synopsis      how each command is called (mdoc)
//   @option NAME   head and description of an option (mdoc); once for every option, if at all
//   @letters       the options that may stand in a group of letters (mdoc)
//   @statuses      the exit statuses (mdoc)
//   @bash          assignments to the variables of moldex.bash.in
//   @powershell    the options as objects, for moldex.ps1.in
// Within any line, @release@, @commands@ and @letters@ stand for words.
#ifndef MOLDEX_DRIVER_HELP_HELP_PAGES_H_
#define MOLDEX_DRIVER_HELP_HELP_PAGES_H_

#include <string>
#include <string_view>

#include "run/option_table.h"

namespace moldex {

// The template with everything filled in. Throws std::runtime_error for a line that means nothing,
// and for a page that describes some options but not each of them once.
std::string FilledIn(std::string_view page_template, std::string_view release);

// The lines that take the place of "@synopsis", "@option", "@letters" and "@statuses".
std::string ManSynopsis();
std::string ManOption(const Option& option);
std::string ManLetters();
std::string ManStatuses();

// Those of "@bash" and "@powershell".
std::string BashOptions();
std::string PowerShellOptions();

// The letters that may stand in a group and go with this command, "f" last; with kEveryCommand all
// of them, commands first.
std::string GroupLetters(std::string_view commands);

}  // namespace moldex

#endif  // MOLDEX_DRIVER_HELP_HELP_PAGES_H_
