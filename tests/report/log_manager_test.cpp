// Log files by handle.
#include "report/log_manager.h"

#include <gtest/gtest.h>

#include <string>

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
  EXPECT_EQ(log_.OpenLog(folder_.Path().string()), -1) << "a directory";
  for (const int handle : {-1, 1, INT32_MIN, INT32_MAX})
    EXPECT_FALSE(log_.WriteLog(handle, "line")) << handle;
  EXPECT_EQ(ReadFile(Path("log")), "");
}

}  // namespace
}  // namespace moldex::test
