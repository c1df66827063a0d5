#include "report/console.h"

#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace moldex {
namespace {

constexpr std::size_t kUsualColumns = 80;

// A file that takes the place of a standard descriptor.
struct StandIn {
  const char* path;
  int flags;
};

// Standard output is opened for reading only, so that writing to it fails. It gets the full device
// because an archive may be named /dev/stdout. That name opens the device anew, and the null device
// would swallow the archive.
constexpr StandIn kStandIns[][2] = {{{"/dev/null", O_RDWR}, {"/", O_RDONLY}},
                                    {{"/dev/full", O_RDONLY}, {"/dev/null", O_RDONLY}},
                                    {{"/dev/null", O_RDWR}, {"/", O_RDONLY}}};

}  // namespace

// A file gets the lowest free descriptor. All descriptors below the one in question are in use by
// then, so it gets that one.
void FillStandardDescriptors() {
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    for (const StandIn& stand_in : kStandIns[descriptor]) {
      if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) break;
      (void)open(stand_in.path, stand_in.flags);
    }
  }
}

CConsoleCodePage::CConsoleCodePage() = default;

CConsoleCodePage::~CConsoleCodePage() { former_ = 0; }

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool TerminalHasHighControls() { return true; }

bool ErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

bool ErrorObeysEscapes() {
  const char* kind = std::getenv("TERM");
  return kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

bool OutputMayReachScreen() {
  struct stat record {};
  if (OutputIsTerminal() || fstat(STDOUT_FILENO, &record) != 0) return true;
  return S_ISFIFO(record.st_mode) || S_ISSOCK(record.st_mode);
}

std::size_t ErrorColumns() {
  const pid_t in_front =
      tcgetpgrp(STDERR_FILENO);  // fails on a terminal that is not ours to control
  if (in_front > 0 && in_front != getpgrp()) return 0;
  pollfd space{STDERR_FILENO, POLLOUT, 0};
  if (poll(&space, 1, 0) == 0) return 0;
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kUsualColumns;
}

// Does not wait: a signal that arrives while the terminal takes nothing asks the run to end.
void WriteToErrorTerminal(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

CodePageCharacter FirstInCodePage(std::string_view text) {
  // The locale is set when a run begins.
  static const bool is_utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  if (is_utf8) return {};
  const CodePageCharacter byte = {1, static_cast<unsigned char>(text[0])};
  if (MB_CUR_MAX == 1) return byte;
  std::mbstate_t state{};
  wchar_t wide = 0;
  const std::size_t length = std::mbrtowc(&wide, text.data(), text.size(), &state);
  const bool is_character = length > 0 && length <= text.size();
  return is_character ? CodePageCharacter{length, static_cast<char32_t>(wide)} : byte;
}

}  // namespace moldex
