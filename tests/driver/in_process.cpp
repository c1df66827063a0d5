#include "driver/in_process.h"

#include "driver/program.h"
#include "report/exit_status.h"
#include "run/run_context.h"

namespace moldex::test {

RunResult RunInProcess(const std::filesystem::path& folder, const std::string& line,
                       const std::function<void(CCmdLineOptions&)>& prepare) {
  Words words = SplitAtBlanks("moldex " + line);
  std::vector<char*> arguments = ArgumentsOf(words);
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  SetExitStatus(0);
  if (prepare) prepare(CRunContext::GetInstance().options());
  RunResult result;
  ::testing::internal::CaptureStdout();
  result.status = Main(static_cast<int>(words.size()), arguments.data());
  result.out = ::testing::internal::GetCapturedStdout();
  std::filesystem::current_path(before);
  return result;
}

}  // namespace moldex::test
