// The interface of the program's commands (create, extract, list and so on), and the numbers that
// stand for them. driver/run.h makes one command for each run and executes it once.
#ifndef MOLDEX_RUN_COMMAND_H_
#define MOLDEX_RUN_COMMAND_H_

namespace moldex {

class CCommand {
 public:
  virtual ~CCommand() = default;
  // Runs the command once. Failures that it does not survive leave it as CExcept.
  virtual void Execute() = 0;
};

// The numbers that the command letters set.
enum CommandCode : int {
  kNoCommand = 0,
  kCommandCreate = 1,   // c
  kCommandVerify = 2,   // d
  kCommandExtract = 3,  // x
  kCommandList = 4,     // t
  kCommandAppend = 5,   // a
  kCommandMerge = 6,    // m
  kCommandScan = 7      // l
};

// A set of commands, one bit each.
using CommandSet = unsigned;

constexpr CommandSet SetOf(int command) { return 1U << static_cast<unsigned>(command); }

inline constexpr CommandSet kAnyCommand = ~0U;
inline constexpr CommandSet kEntryWriters = SetOf(kCommandCreate) | SetOf(kCommandAppend);

constexpr bool IsOneOf(int command, CommandSet commands) {
  return (commands & SetOf(command)) != 0;
}

}  // namespace moldex

#endif  // MOLDEX_RUN_COMMAND_H_
