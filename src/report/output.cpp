#include "report/output.h"

#include <cstdio>

#include "report/console.h"
#include "report/screen_text.h"
#include "report/status_line.h"

namespace moldex {

void WriteOutput(std::string_view text) {
  status_line::MakeRoom();
  std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string Shown(const std::string& line) {
  return HasControls(line) && OutputIsTerminal() ? Escaped(line) : line;
}

void WriteShown(std::string_view text) {
  if (HasControls(text)) {
    WriteOutput(Shown(std::string(text)));
  } else {
    WriteOutput(text);
  }
}

void EndLine() {
  static const bool is_terminal = OutputIsTerminal();
  WriteOutput("\n");
  if (is_terminal) FlushOutput();
}

void FlushOutput() { std::fflush(stdout); }

bool OutputFailed() { return std::ferror(stdout) != 0; }

}  // namespace moldex
