#include "support/run_program.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "support/target.h"

namespace moldex::test {
namespace {

constexpr unsigned kNobodyId = 65534;

struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File NewCapture() {
  File file(std::tmpfile());
  if (!file) throw std::runtime_error("no temporary file");
  return file;
}

std::string WholeText(std::FILE* file) {
  std::rewind(file);
  std::string text;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, file))
    text.append(piece, count);
  return text;
}

void GiveToNobody(const std::filesystem::path& folder) {
  if (chown(folder.c_str(), kNobodyId, kNobodyId) != 0) throw std::runtime_error("chown");
  for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
    if (lchown(item.path().c_str(), kNobodyId, kNobodyId) != 0) throw std::runtime_error("lchown");
  }
}

}  // namespace

Words LaunchWords(const std::filesystem::path& folder, const Words& arguments, bool as_nobody) {
  Words words = {"env", "-C", folder.string(), "--default-signal=INT,TERM,HUP,PIPE", "TZ=UTC"};
  for (const std::string sanitizer : {"ASAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (std::getenv(sanitizer.c_str()) == nullptr) words.push_back(sanitizer + "=abort_on_error=1");
  }
  if (as_nobody) {
    const std::string id = std::to_string(kNobodyId);
    words.insert(words.end(), {"setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups"});
  }
  const char* named = std::getenv("MOLDEX_PROGRAM");
  for (const std::string& word : SplitAtBlanks(named != nullptr ? named : MOLDEX_PROGRAM))
    words.push_back(word);
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

Words SplitAtBlanks(std::string_view line) {
  Words words;
  std::size_t at = 0;
  while ((at = line.find_first_not_of(' ', at)) != std::string_view::npos) {
    const std::size_t end = std::min(line.find(' ', at), line.size());
    words.emplace_back(line.substr(at, end - at));
    at = end;
  }
  return words;
}

std::vector<char*> ArgumentsOf(Words& words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  return arguments;
}

RunResult RunProgram(const std::filesystem::path& folder, const Words& arguments, User user,
                     unsigned time_limit_seconds, const std::function<void(pid_t)>& meanwhile) {
  const bool as_nobody = user == User::kNobody && geteuid() == 0;
  Words words = LaunchWords(folder, arguments, as_nobody);
  const std::vector<char*> argv =
      ArgumentsOf(words);  // memory must not be asked for after the fork
  if (as_nobody) GiveToNobody(folder);
  const File out = NewCapture();
  const File err = NewCapture();

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    (void)dup2(fileno(out.get()), STDOUT_FILENO);
    (void)dup2(fileno(err.get()), STDERR_FILENO);
    (void)alarm(time_limit_seconds);  // outlives the call
    (void)execvp(argv[0], argv.data());
    _exit(127);
  }
  if (meanwhile) meanwhile(child);
  int state = 0;
  rusage usage{};
  if (wait4(child, &state, 0, &usage) != child) throw std::runtime_error("wait4");

  RunResult result;
  if (WIFEXITED(state)) result.status = WEXITSTATUS(state);
  if (WIFSIGNALED(state)) result.signal = WTERMSIG(state);
  result.out = WithLineFeeds(WholeText(out.get()));
  result.err = WithLineFeeds(WholeText(err.get()));
  result.peak_rss_kib = usage.ru_maxrss;
  return result;
}

}  // namespace moldex::test
