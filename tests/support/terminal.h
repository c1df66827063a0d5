// Runs the program under test at a terminal of its own, and shows what somebody sees there.
#ifndef MOLDEX_TESTS_SUPPORT_TERMINAL_H_
#define MOLDEX_TESTS_SUPPORT_TERMINAL_H_

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/run_program.h"

namespace moldex::test {

struct TerminalRun {
  int status = -1;    // the exit status; -1 when a signal ended the program
  std::string bytes;  // all that the terminal got
  double seconds = 0;
};

struct Terminal {
  unsigned short columns = 80;
  // Where standard output goes instead, in the folder of the run; the terminal when empty.
  std::string output_file;
  // Gets what has arrived so far, whenever more has; what it returns is typed at the keyboard.
  std::function<std::string(const std::string& bytes)> typed;
};

TerminalRun RunAt(const Terminal& terminal, const std::filesystem::path& folder,
                  const Words& arguments);

// The lines of a screen after the bytes that a terminal got, without blanks at their ends and
// empty lines at the end. A line that is too long goes on in the next.
std::vector<std::string> ScreenOf(const std::string& bytes, std::size_t columns);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_TERMINAL_H_
