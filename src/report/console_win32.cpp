#include "report/console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>
#include <cstdio>

namespace moldex {
namespace {

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kLongestLine = 4096;  // more than a console has columns

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != FALSE;
}

bool HasDoubleBytes() {
  CPINFO info{};
  return GetCPInfo(CP_ACP, &info) != FALSE && info.MaxCharSize == 2;
}

}  // namespace

// Files are known by handles on this system, and no file gets the place of a standard handle.
void FillStandardDescriptors() {}

// More than a line, because a console does not show a character whose bytes arrive in two writes.
constexpr std::size_t kBufferBytes = 65536;

// In text mode the runtime library converts output to a console. The library assumes the code page
// of the user's locale, which is not the process's. A console does not need that mode: it begins a
// line at every line feed.
CConsoleCodePage::CConsoleCodePage() {
  if (!OutputIsTerminal()) return;
  (void)_setmode(_fileno(stdout), _O_BINARY);
  (void)std::setvbuf(stdout, nullptr, _IOFBF, kBufferBytes);
  const UINT former = GetConsoleOutputCP();
  if (former != GetACP() && SetConsoleOutputCP(GetACP()) != FALSE) former_ = former;
}

CConsoleCodePage::~CConsoleCodePage() {
  if (former_ != 0) (void)SetConsoleOutputCP(former_);
}

bool OutputIsTerminal() { return IsConsole(GetStdHandle(STD_OUTPUT_HANDLE)); }

bool TerminalHasHighControls() { return false; }

bool ErrorIsTerminal() { return IsConsole(GetStdHandle(STD_ERROR_HANDLE)); }

bool ErrorObeysEscapes() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE &&
         (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

bool OutputMayReachScreen() {
  return OutputIsTerminal() || GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_PIPE;
}

std::size_t ErrorColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  const bool known = GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != FALSE;
  return known && info.dwSize.X > 0 ? static_cast<std::size_t>(info.dwSize.X) : kUsualColumns;
}

// In UTF-16, so that the code page that the console has at the time does not matter.
void WriteToErrorTerminal(std::string_view text) {
  std::array<wchar_t, kLongestLine> wide{};
  const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                         wide.data(), static_cast<int>(wide.size()));
  DWORD written = 0;
  (void)WriteConsoleW(GetStdHandle(STD_ERROR_HANDLE), wide.data(), static_cast<DWORD>(length),
                      &written, nullptr);
}

CodePageCharacter FirstInCodePage(std::string_view text) {
  static const bool is_utf8 = GetACP() == CP_UTF8;
  static const bool has_double_bytes = HasDoubleBytes();
  if (is_utf8) return {};
  // No second byte is as low as a control character, whatever an archive says.
  const bool is_double = has_double_bytes && text.size() > 1 &&
                         static_cast<BYTE>(text[1]) >= 0x40 &&
                         IsDBCSLeadByte(static_cast<BYTE>(text[0])) != FALSE;
  constexpr char32_t kSomeLetter = 0x4E00;
  if (is_double) return {2, kSomeLetter};
  return {1, static_cast<unsigned char>(text[0])};
}

}  // namespace moldex
