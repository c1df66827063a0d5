// Log files by handle, and lines on standard output.
#include "report/log_manager.h"

#include <gtest/gtest.h>

#include <string>

#include "report/system_error.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

class LogManager : public testing::Test {
 protected:
  std::string Path(const char* name) const { return (folder_.Path() / name).string(); }

  TempDir folder_;
  CConsoleLogMan log_;
};

TEST_F(LogManager, LinesGoToTheLogOfTheirHandleAtOnce) {
  WriteFile(Path("0"), "from an earlier run");
  for (int handle = 0; handle < 20; ++handle)
    ASSERT_EQ(log_.OpenLog(Path(std::to_string(handle).c_str())), handle);
  for (int handle = 19; handle >= 0; --handle)
    EXPECT_TRUE(log_.WriteLog(handle, "a" + std::to_string(handle)));
  EXPECT_TRUE(log_.WriteLog(0, "b"));
  EXPECT_EQ(ReadFile(Path("0")), "a0\nb\n");
  EXPECT_EQ(ReadFile(Path("19")), "a19\n");
}

TEST_F(LogManager, HandlesThatWereNotGivenAreRefused) {
  EXPECT_FALSE(log_.WriteLog(0, "line"));
  ASSERT_EQ(log_.OpenLog(Path("log")), 0);
  for (const int handle : {-1, 1, 2, INT32_MIN, INT32_MAX})
    EXPECT_FALSE(log_.WriteLog(handle, "line")) << handle;
  EXPECT_EQ(ReadFile(Path("log")), "");
}

TEST_F(LogManager, ALogThatCannotBeOpenedTakesNoHandle) {
  RememberErrno(0);
  EXPECT_EQ(log_.OpenLog(Path("missing/log")), -1);
  EXPECT_NE(LastSystemError().code, 0u);
  EXPECT_EQ(log_.OpenLog(folder_.Path().string()), -1) << "a directory";
  EXPECT_EQ(log_.OpenLog(Path("log")), 0);
}

TEST_F(LogManager, MessagesAreLines) {
  testing::internal::CaptureStdout();
  log_.PrintMessage("one");
  log_.PrintMessage("");
  log_.PrintMessage("%s two");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\n\n%s two\n");
}

}  // namespace
}  // namespace moldex::test
