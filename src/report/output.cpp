#include "report/output.h"

#include <cstdio>

#include "report/console.h"
#include "report/screen_text.h"
#include "report/status_line.h"

namespace moldex {
namespace {

std::FILE* text_stream = nullptr;  // null for standard output

std::FILE* TextStream() { return text_stream != nullptr ? text_stream : stdout; }

bool TextIsForTerminal() {
  if (text_stream == nullptr) return OutputIsTerminal();
  return text_stream == stderr && ErrorIsTerminal();
}

}  // namespace

void SendTextTo(std::FILE* stream) { text_stream = stream; }

bool TextMayReachScreen() {
  return text_stream == nullptr ? OutputMayReachScreen() : text_stream == stderr;
}

void WriteOutput(std::string_view text) {
  status_line::MakeRoom();
  std::fwrite(text.data(), 1, text.size(), TextStream());
}

std::string Shown(const std::string& line) {
  return HasControls(line) && TextIsForTerminal() ? Escaped(line) : line;
}

void WriteShown(std::string_view text) {
  if (HasControls(text)) {
    WriteOutput(Shown(std::string(text)));
  } else {
    WriteOutput(text);
  }
}

void EndLine() {
  static const bool is_terminal = TextIsForTerminal();
  WriteOutput("\n");
  if (is_terminal) FlushOutput();
}

void FlushOutput() { std::fflush(TextStream()); }

bool OutputFailed() { return std::ferror(TextStream()) != 0; }

}  // namespace moldex
