// Runs the program under test as a user would: in a folder, with arguments, and looks at what it
// printed, how it ended and how much memory it took.
//
// The program is the one named by the environment variable MOLDEX_PROGRAM (words separated by
// blanks, so that it may be "wine moldex.exe"), else the one the build made. It runs in UTC; what a
// sanitizer finds ends it with a signal, so that it cannot pass for an exit status.
#ifndef MOLDEX_TESTS_SUPPORT_RUN_PROGRAM_H_
#define MOLDEX_TESTS_SUPPORT_RUN_PROGRAM_H_

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace moldex::test {

struct RunResult {
  int status = -1;  // the exit status; -1 when a signal ended the program
  int signal = 0;   // SIGALRM when the time limit did
  std::string out;
  std::string err;
  // Never less than the memory of the process that runs the tests: the system counts what a new
  // process inherits before the program replaces it.
  long peak_rss_kib = 0;
};

enum class User {
  kSame,
  kNobody  // one without rights; owns the folder and all in it. The same user unless that is root.
};

using Words = std::vector<std::string>;

// The words of a command line without quoting.
Words SplitAtBlanks(std::string_view line);
// The arguments of main, with a null pointer at the end. They point into the words.
std::vector<char*> ArgumentsOf(Words& words);

// `meanwhile` is called with the process's number while the program runs.
RunResult RunProgram(const std::filesystem::path& folder, const Words& arguments,
                     User user = User::kSame, unsigned time_limit_seconds = 60,
                     const std::function<void(pid_t)>& meanwhile = {});

// The words that a new process executes to become the program: env, with the folder, UTC and the
// signals as they are by default, in case whoever runs the tests ignores some, before the program.
Words LaunchWords(const std::filesystem::path& folder, const Words& arguments,
                  bool as_nobody = false);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_RUN_PROGRAM_H_
