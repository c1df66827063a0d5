// Standard output through the runtime library, which gives files and pipes the system's line ends.
#include <cerrno>
#include <cstdio>

#include "report/output.h"
#include "report/status_line.h"
#include "report/system_error.h"

namespace moldex {
namespace {

std::FILE* text_stream = nullptr;  // null for standard output
TextOutcome outcome;

std::FILE* TextStream() { return text_stream != nullptr ? text_stream : stdout; }

// `complete` is how the call ended that was made just before.
void NoteEnd(bool complete) {
  if (complete || outcome.state == TextState::kFailed) return;
  const int why = errno;
  const CSystemErrorGuard guard;
  RememberErrno(why);
  outcome.state = TextState::kFailed;
  outcome.error = LastSystemError();
}

void SendTextTo(std::FILE* stream, TextPlace place, const char* name) {
  text_stream = stream;
  outcome.place = place;
  outcome.name = name;
}

}  // namespace

void WriteOutput(std::string_view text) {
  if (outcome.place == TextPlace::kNowhere) return;
  CStatusLine::MakeWayForText();
  NoteEnd(std::fwrite(text.data(), 1, text.size(), TextStream()) == text.size());
}

void FlushOutput() { NoteEnd(std::fflush(TextStream()) == 0); }

void SendTextToError() { SendTextTo(stderr, TextPlace::kStandardError, "standard error"); }

void DropText() { outcome.place = TextPlace::kNowhere; }

// freopen closes standard output before it opens the file, so the caller has to try the file first.
bool SendTextToFile(const char* name, bool keep_standard_output) {
  std::FILE* file =
      keep_standard_output ? std::fopen(name, "w+") : std::freopen(name, "w+", stdout);
  if (file == nullptr) return false;
  SendTextTo(file, TextPlace::kFile, name);
  return true;
}

const TextOutcome& OutcomeOfText() { return outcome; }

}  // namespace moldex
