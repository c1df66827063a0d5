#include "driver/program.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/ascii.h"
#include "driver/hint.h"
#include "driver/run.h"
#include "driver/text_target.h"
#include "driver/usage.h"
#include "driver/version.h"
#include "platform/arguments.h"
#include "platform/interrupt.h"
#include "platform/memory.h"
#include "report/console.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/output.h"
#include "run/run_context.h"

namespace moldex {
namespace {

constexpr char kOutOfMemory[] = "MOLDEX: can not allocate new memory";
constexpr char kUnexpected[] = "MOLDEX: unexpected exception thrown";

// Ends the run after a failure that no handler can receive: there may not even be memory to throw
// it.
[[noreturn]] void EndWithoutHandler() {
  const char* text = kOutOfMemory;
  int status = kErrorOutOfMemory;
  try {
    if (const auto failure = std::current_exception()) std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {  // as expected
  } catch (...) {
    text = kUnexpected;
    status = kErrorUnexpected;
  }
  WriteOutput(text);
  WriteOutput("\n");
  FlushOutput();
  std::_Exit(status);
}

bool IsVersionWord(std::string_view word) { return LowerAscii(word) == "-version"; }

void Dispatch(CRunContext& context, int argument_count, char** arguments) {
  if (argument_count < 2) {
    CUsage usage;
    context.log().PrintInfo(usage);
  } else if (IsVersionWord(arguments[1])) {
    WriteOutput(VersionText() + "\n");
  } else {
    try {
      context.options().Parse(argument_count, arguments);
    } catch (const CExcept&) {
      KeepTextOutOfArchives(context.options());
      throw;
    }
    Run(context);
  }
}

// A failure that has no number of its own must not look like success.
void PrintUnnumbered(CRunContext& context, CExcept& failure) {
  context.log().PrintInfo(failure);
  if (ExitStatus() == 0) SetExitStatus(kErrorGeneric);
}

void RunProgram(CRunContext& context, int argument_count, char** arguments) {
  // Made before anything can fail, because reporting a lack of memory must not need memory.
  const std::string out_of_memory = kOutOfMemory;
  try {
    if (!StackSuffices() || !MemorySuffices(kCommandBytes)) throw std::bad_alloc();
    const Arguments local = LocalArguments(argument_count, arguments);
    Dispatch(context, local.count, local.words);
  } catch (CDecompExcept& failure) {
    PrintUnnumbered(context, failure);
  } catch (CCompExcept& failure) {
    PrintUnnumbered(context, failure);
  } catch (CExcept& failure) {
    context.log().PrintInfo(failure);
  } catch (const std::out_of_range&) {
    context.log().PrintMessage("string: out_of_range-exception");
    SetExitStatus(kErrorOutOfRange);
  } catch (const std::length_error&) {
    context.log().PrintMessage("string: length_error");
    SetExitStatus(kErrorLength);
  } catch (const std::bad_alloc&) {
    context.log().PrintMessage(out_of_memory);
    SetExitStatus(kErrorOutOfMemory);
  } catch (...) {
    context.log().PrintMessage(kUnexpected);
    SetExitStatus(kErrorUnexpected);
  }
}

// A run whose text could not be written in full is no success, even if nobody is left to be told. A
// user who asked the run to end, or who reads no more, need not be told.
void JudgeText() {
  if (OutcomeOfText().state == TextState::kWritten) return;
  const int asked_to_end = interrupt::status;
  if (ExitStatus() == 0) SetExitStatus(asked_to_end != 0 ? asked_to_end : kErrorWrite);
  if (asked_to_end == 0) PrintTextFailure();
}

// Words that other programs take for a wish for help. Here they are unknown options, or no command,
// and the run fails with that status and message.
constexpr std::string_view kHelpWords[] = {"-h", "-help", "--help", "help", "-?", "/?"};
constexpr std::string_view kVersionWord = "--version";

// Whether the run failed because of such a word, with nothing else on the command line. Its user
// then gets the usage or the version, too, on standard error.
bool ShowHelp(CRunContext& context, int argument_count, char** arguments) {
  const int status = ExitStatus();
  const bool failed = status == kErrorUnknownOption || status == kErrorNoCommand;
  if (!failed || argument_count != 2) return false;
  const std::string word = LowerAscii(arguments[1]);
  const bool wants_usage = std::ranges::find(kHelpWords, word) != std::end(kHelpWords);
  if (!wants_usage && word != kVersionWord) return false;
  SendTextPastArchives(context.options());
  WriteOutput((wants_usage ? iaxxusage() : std::string()) + VersionText());
  FlushOutput();
  return true;
}

}  // namespace

int Main(int argument_count, char** arguments) {
  std::set_terminate(EndWithoutHandler);
  FillStandardDescriptors();
  // Names are in the code page of the user's locale; everything else stays as it is everywhere.
  std::setlocale(LC_CTYPE, "");
  CatchInterrupts();
  const CConsoleCodePage console;
  CRunContext& context = CRunContext::GetInstance();
  RunProgram(context, argument_count, arguments);
  FlushOutput();
  JudgeText();
  if (!ShowHelp(context, argument_count, arguments)) PrintHints(context.command_code());
  const int status = ExitStatus();
  CRunContext::Destroy();
  return status;
}

}  // namespace moldex
