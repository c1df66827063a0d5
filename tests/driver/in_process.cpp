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

std::vector<int> DamageTest::Try(const std::string& name, const std::string& archive,
                                 const std::vector<std::string>& lines) const {
  Remove("out");
  Make({{"out", DirectoryNode()}});
  Write(name, archive);
  std::vector<int> statuses;
  for (const std::string& line : lines) {
    const RunResult run = RunInProcess(folder_.Path(), line);
    EXPECT_TRUE(run.out.starts_with("MOLDEX")) << run.out;
    statuses.push_back(run.status);
  }
  Tree tree = Below("");
  EXPECT_EQ(tree["beside"].content, "untouched");
  std::erase_if(tree, [](const auto& item) { return item.first.starts_with("out"); });
  EXPECT_EQ(tree.size(), 2U);
  return statuses;
}

}  // namespace moldex::test
