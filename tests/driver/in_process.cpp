#include "driver/in_process.h"

#include <gtest/gtest.h>

#include "report/exit_status.h"
#include "run/run_context.h"

int MoldexMain(int argument_count, char** arguments);

namespace moldex::test {

RunResult RunInProcess(const std::filesystem::path& folder, const std::string& line,
                       const std::function<void(CCmdLineOptions&)>& prepare) {
  Words words = SplitAtBlanks("moldex " + line);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);

  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  SetExitStatus(0);
  if (prepare) prepare(CRunContext::GetInstance().options());
  RunResult result;
  ::testing::internal::CaptureStdout();
  result.status = MoldexMain(static_cast<int>(words.size()), arguments.data());
  result.out = ::testing::internal::GetCapturedStdout();
  std::filesystem::current_path(before);
  return result;
}

}  // namespace moldex::test
