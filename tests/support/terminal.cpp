#include "support/terminal.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>

namespace moldex::test {
namespace {

constexpr unsigned kTimeLimitSeconds = 60;

// In the child.
void SendOutputTo(const std::filesystem::path& file) {
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (descriptor < 0 || dup2(descriptor, STDOUT_FILENO) < 0) _exit(127);
  (void)close(descriptor);
}

// A UTF-8 character's bytes.
std::size_t LengthOf(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  return byte < 0xC2 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

}  // namespace

TerminalRun RunAt(const Terminal& terminal, const std::filesystem::path& folder,
                  const Words& arguments) {
  const auto start = std::chrono::steady_clock::now();
  const winsize size{24, terminal.columns, 0, 0};
  const std::filesystem::path output = folder / terminal.output_file;
  Words words = LaunchWords(folder, arguments);
  const std::vector<char*> argv = ArgumentsOf(words);
  int keyboard = -1;
  const pid_t child = forkpty(&keyboard, nullptr, nullptr, &size);
  if (child < 0) throw std::runtime_error("forkpty");
  if (child == 0) {
    if (!terminal.output_file.empty()) SendOutputTo(output);
    (void)alarm(kTimeLimitSeconds);
    (void)execvp(argv[0], argv.data());
    _exit(127);
  }
  TerminalRun run;
  std::array<char, 4096> buffer{};
  for (ssize_t count = 0; (count = read(keyboard, buffer.data(), buffer.size())) > 0;) {
    run.bytes.append(buffer.data(), static_cast<std::size_t>(count));
    const std::string keys = terminal.typed ? terminal.typed(run.bytes) : std::string();
    if (write(keyboard, keys.data(), keys.size()) < 0) break;
  }
  (void)close(keyboard);
  int state = 0;
  if (waitpid(child, &state, 0) != child) throw std::runtime_error("waitpid");
  if (WIFEXITED(state)) run.status = WEXITSTATUS(state);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return run;
}

std::vector<std::string> ScreenOf(const std::string& bytes, std::size_t columns) {
  std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(columns, " "));
  std::size_t column = 0;
  const auto next_row = [&] { rows.emplace_back(columns, " "); };
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = LengthOf(bytes[at]);
    const std::string character = bytes.substr(at, length);
    at += length;
    if (character == "\r") {
      column = 0;
    } else if (character == "\n") {
      next_row();
    } else {
      const std::size_t width = length < 3 ? 1 : 2;
      if (column + width > columns) {
        next_row();
        column = 0;
      }
      rows.back()[column] = character;
      if (width == 2) rows.back()[column + 1].clear();
      column += width;
    }
  }
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    std::string line;
    for (const std::string& cell : row)
      line += cell;
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(line);
  }
  while (!lines.empty() && lines.back().empty())
    lines.pop_back();
  return lines;
}

}  // namespace moldex::test
