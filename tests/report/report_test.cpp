// Failures: their messages' ends, numbers and exit statuses; and log files by handle.
#include "report/except.h"

#include <cerrno>
#include <cstring>

#include "report/exit_status.h"
#include "report/log_manager.h"
#include "report/system_error.h"
#include "support/folder_test.h"

namespace moldex::test {
namespace {

// A failure is made when its turn comes: that sets the exit status.
template <class Kind>
CExcept Named() {
  return Kind("n");
}
template <class Kind>
CExcept Plain() {
  return Kind();
}

struct FailureCase {
  CExcept (*make)();
  const char* message;  // without "MOLDEX: "; the system's text stands for "%"
  int code;             // 0: none, and the exit status stays what it was
};

constexpr int kErrno = ENOENT;

const FailureCase kCases[] = {
    {Plain<CGetCwdExcept>, "can not get working directory  (error 17). %", 17},
    {Named<CStatExcept>, "stat() failed for n (error 102). %", 100 + kErrno},
    {Named<CAccessExcept>, "access() failed for n (error 102). %", 100 + kErrno},
    {Named<CDiskSpaceExcept>, "error determining disk space for n", 30},
    {Named<CConversionExcept>, "could not convert n to UTF8.", 47},
    {Named<CReadExcept>, "error reading from n (error 5). ", 5},
    {Plain<CInvalidHandle>, "invalid file handle specified", 52},
    {[] { return CExcept("MOLDEX: any"); }, "any (error 100). %", 100},
    {Named<CCompExcept>, "error compressing n", 0},
    {[]() -> CExcept { return CDecompExcept("n", -5); }, "error decompressing n; error code is -5",
     0}};

TEST(Failures, SayWhatHappenedAndSetTheExitStatus) {
  constexpr int kEarlier = 77;
  RememberErrno(kErrno);
  for (const FailureCase& c : kCases) {
    SetExitStatus(kEarlier);
    const CExcept failure = c.make();
    std::string message = std::string("MOLDEX: ") + c.message;
    if (message.ends_with('%')) message.replace(message.size() - 1, 1, std::strerror(kErrno));
    EXPECT_EQ(failure.message(), message);
    EXPECT_EQ(failure.code(), c.code) << message;
    EXPECT_EQ(ExitStatus(), c.code == 0 ? kEarlier : c.code) << message;
  }
}

TEST(Failures, ShowTheRememberedErrorAndNotTheLatest) {
  errno = EACCES;
  RememberSystemError();
  errno = ENOENT;
  EXPECT_EQ(CStatExcept("n").code(), 100 + EACCES);
  EXPECT_EQ(LastSystemErrorText(), std::strerror(EACCES));
  RememberErrno(0);
  EXPECT_EQ(COpenExcept("n").message(), "MOLDEX: error opening n (error 6). ");
  EXPECT_EQ(CChgDirExcept("n").message(), "MOLDEX: can not change to dir n (error 100). ");
}

using LogManager = FolderTest;

TEST_F(LogManager, LinesGoToTheLogOfTheirHandleAtOnceOrNowhere) {
  CConsoleLogMan log;
  EXPECT_FALSE(log.WriteLog(0, "line"));
  Write("0", "from an earlier run");
  for (int handle = 0; handle < 20; ++handle)
    ASSERT_EQ(log.OpenLog(Name(std::to_string(handle))), handle);
  for (int handle = 19; handle >= 0; --handle)
    EXPECT_TRUE(log.WriteLog(handle, "a" + std::to_string(handle)));
  EXPECT_TRUE(log.WriteLog(0, "b"));
  EXPECT_EQ(log.OpenLog(Name("")), -1) << "a directory";
  for (const int handle : {-1, 20, INT32_MIN, INT32_MAX})
    EXPECT_FALSE(log.WriteLog(handle, "line")) << handle;
  EXPECT_EQ(Bytes("0"), "a0\nb\n");
  EXPECT_EQ(Bytes("19"), "a19\n");
}

}  // namespace
}  // namespace moldex::test
