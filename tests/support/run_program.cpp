#include "support/run_program.h"

#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

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

bool BecomeNobody() {
  return setgroups(0, nullptr) == 0 && setgid(kNobodyId) == 0 && setuid(kNobodyId) == 0;
}

Words CommandLine(const Words& arguments) {
  const char* named = std::getenv("MOLDEX_PROGRAM");
  Words words = SplitAtBlanks(named != nullptr ? named : MOLDEX_PROGRAM);
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

Words Environment() {
  Words variables = {"TZ=UTC"};
  for (const char* sanitizer : {"ASAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (std::getenv(sanitizer) == nullptr)
      variables.push_back(std::string(sanitizer) + "=abort_on_error=1");
  }
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (!std::string_view(*variable).starts_with("TZ=")) variables.emplace_back(*variable);
  }
  return variables;
}

}  // namespace

Launch::Launch(std::filesystem::path folder, const Words& arguments, bool as_nobody,
               unsigned time_limit_seconds)
    : folder_(std::move(folder)),
      words_(CommandLine(arguments)),
      environment_(Environment()),
      argv_(ArgumentsOf(words_)),
      envp_(ArgumentsOf(environment_)),
      as_nobody_(as_nobody),
      time_limit_seconds_(time_limit_seconds) {}

void Launch::Become() const {
  if (chdir(folder_.c_str()) != 0 || (as_nobody_ && !BecomeNobody())) return;
  // Whoever runs the tests in the background may have these ignored.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
    (void)std::signal(signal, SIG_DFL);
  (void)alarm(time_limit_seconds_);  // outlives the call
  (void)execvpe(argv_[0], argv_.data(), envp_.data());
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
  const Launch launch(folder, arguments, as_nobody, time_limit_seconds);
  if (as_nobody) GiveToNobody(folder);
  const File out = NewCapture();
  const File err = NewCapture();

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    (void)dup2(fileno(out.get()), STDOUT_FILENO);
    (void)dup2(fileno(err.get()), STDERR_FILENO);
    launch.Become();
    constexpr std::string_view kFailure = "the program under test could not be started\n";
    (void)!write(STDERR_FILENO, kFailure.data(), kFailure.size());
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
