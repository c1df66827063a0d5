#include "report/output.h"

#include <cstdio>

#include "report/console.h"
#include "report/error_codes.h"
#include "report/screen_text.h"

namespace moldex {
namespace {

bool TextIsForTerminal() {
  switch (OutcomeOfText().place) {
    case TextPlace::kStandardOutput:
      return OutputIsTerminal();
    case TextPlace::kStandardError:
      return ErrorIsTerminal();
    case TextPlace::kFile:
    case TextPlace::kNowhere:
      return false;
  }
  return false;
}

}  // namespace

bool TextMayReachScreen() {
  const TextPlace place = OutcomeOfText().place;
  return place == TextPlace::kStandardOutput ? OutputMayReachScreen()
                                             : place == TextPlace::kStandardError;
}

std::string EscapedForTerminal(const std::string& line) {
  return HasControls(line) && TextIsForTerminal() ? Escaped(line) : line;
}

void WriteEscapedForTerminal(std::string_view text) {
  if (HasControls(text)) {
    WriteOutput(EscapedForTerminal(std::string(text)));
  } else {
    WriteOutput(text);
  }
}

void EndLine() {
  static const bool is_terminal = TextIsForTerminal();
  WriteOutput("\n");
  if (is_terminal) FlushOutput();
}

void PrintTextFailure() {
  const TextOutcome& outcome = OutcomeOfText();
  const CSystemErrorGuard guard;
  RestoreSystemError(outcome.error);
  std::string line = std::string("MOLDEX: error writing to ") + outcome.name + " (error " +
                     std::to_string(kErrorWrite) + "). " + LastSystemErrorText();
  if (!line.ends_with('\n')) line += '\n';
  std::fputs(line.c_str(), stderr);
}

}  // namespace moldex
