// Writes standard output without the runtime library's streams, which go on waiting for the reader
// of a pipe whatever signals arrive.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include "report/await_posix.h"
#include "report/output.h"
#include "report/status_line.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr int kNewFileMode = 0666;  // less the umask

struct Output {
  std::array<char, PIPE_BUF> buffer{};  // as much as a ready pipe takes without waiting
  std::size_t used = 0;
  int descriptor = STDOUT_FILENO;
  TextOutcome outcome;
};

Output output;

void NoteFailure() {
  if (output.outcome.state == TextState::kFailed) return;
  const CSystemErrorGuard guard;
  RememberSystemError();
  output.outcome.state = TextState::kFailed;
  output.outcome.error = LastSystemError();
}

// Writes the buffered text. Text that the system does not take is lost.
void Drain() {
  std::string_view rest(output.buffer.data(), output.used);
  output.used = 0;
  while (!rest.empty() && output.outcome.state != TextState::kGivenUp) {
    if (!AwaitReady(output.descriptor, POLLOUT)) {
      output.outcome.state = TextState::kGivenUp;
      return;
    }
    const ssize_t count = write(output.descriptor, rest.data(), rest.size());
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR && errno != EAGAIN) {
      NoteFailure();
      return;
    }
  }
}

}  // namespace

void WriteOutput(std::string_view text) {
  if (output.outcome.place == TextPlace::kNowhere) return;
  CStatusLine::MakeWayForText();
  while (!text.empty()) {
    const std::size_t piece = std::min(text.size(), output.buffer.size() - output.used);
    std::memcpy(output.buffer.data() + output.used, text.data(), piece);
    output.used += piece;
    text.remove_prefix(piece);
    if (output.used == output.buffer.size()) Drain();
  }
}

void FlushOutput() { Drain(); }

void SendTextToError() {
  Drain();
  output.descriptor = STDERR_FILENO;
  output.outcome.place = TextPlace::kStandardError;
  output.outcome.name = "standard error";
}

void DropText() {
  Drain();
  output.outcome.place = TextPlace::kNowhere;
}

bool SendTextToFile(const char* name, bool keep_standard_output) {
  Drain();
  int descriptor = open(name, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
  if (descriptor < 0) return false;
  if (!keep_standard_output && dup2(descriptor, STDOUT_FILENO) == STDOUT_FILENO) {
    (void)close(descriptor);
    descriptor = STDOUT_FILENO;
  }
  output.descriptor = descriptor;
  output.outcome.place = TextPlace::kFile;
  output.outcome.name = name;
  return true;
}

const TextOutcome& OutcomeOfText() { return output.outcome; }

}  // namespace moldex
