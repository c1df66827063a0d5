// Every failure's message, number and exit status, and log files by handle.
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

enum class Tail { kNothing, kCode, kSystemText };  // what stands behind the message; the last after
using enum Tail;                                   // the code

struct FailureCase {
  CExcept (*make)();
  const char* message;  // without "MOLDEX: "
  int code;
  Tail tail;
};

constexpr int kErrno = ENOENT;

const FailureCase kCases[] = {
    {Named<COpenExcept>, "error opening n", 6, kSystemText},
    {Named<COpenForWritingExcept>, "could not open for writing n", 28, kSystemText},
    {Named<CWriteExcept>, "error writing to n", 4, kSystemText},
    {Named<CReadExcept>, "error reading from n", 5, kCode},
    {Named<CCreateDirExcept>, "can not create directory n", 3, kSystemText},
    {Named<CChgModExcept>, "can not set permissions for n", 13, kSystemText},
    {Named<CChgDateExcept>, "can not change date for n", 14, kSystemText},
    {Plain<CGetCwdExcept>, "can not get working directory ", 17, kSystemText},
    {Named<CChgDirExcept>, "can not change to dir n", 100 + kErrno, kSystemText},
    {Named<CStatExcept>, "stat() failed for n", 100 + kErrno, kSystemText},
    {Named<CAccessExcept>, "access() failed for n", 100 + kErrno, kSystemText},
    {Named<CDiskSpaceExcept>, "error determining disk space for n", 30, kNothing},
    {Named<CConversionExcept>, "could not convert n to UTF8.", 47, kNothing},
    {[]() -> CExcept { return CConversionExcept(""); }, "could not convert from UTF8 string", 47,
     kNothing},
    {Named<CSetFileAttrExcept>, "setting file attributes failed forn", 48, kSystemText},
    {Named<CAddPrivilegeExcept>, "adding privileges failed.n", 50, kNothing},
    {Plain<CInvalidHandle>, "invalid file handle specified", 52, kNothing},
    {Plain<CGetFilePosExcept>, "could not get position of file pointer.", 53, kSystemText},
    {Plain<CSetFilePointerExcept>, "could not set position of file pointer.", 54, kSystemText},
    {[] { return CExcept("MOLDEX: any"); }, "any", 100, kSystemText},
    {[] { return CExcept("MOLDEX: any", 7, true); }, "any", 7, kSystemText},
    {[] { return CExcept("MOLDEX: any", 7, false); }, "any", 7, kCode},
    // Without number: code 0, and the exit status stays what it was.
    {Named<CInvalExcept>, "invalid archive n", 0, kNothing},
    {Named<CCompExcept>, "error compressing n", 0, kNothing},
    {[]() -> CExcept { return CDecompExcept("n", -5); }, "error decompressing n; error code is -5",
     0, kNothing}};

TEST(Failures, SayWhatHappenedAndSetTheExitStatus) {
  constexpr int kEarlier = 77;
  RememberErrno(kErrno);
  for (const FailureCase& c : kCases) {
    SetExitStatus(kEarlier);
    const CExcept failure = c.make();
    std::string message = std::string("MOLDEX: ") + c.message;
    if (c.tail != kNothing) message += " (error " + std::to_string(c.code) + "). ";
    if (c.tail == kSystemText) message += std::strerror(kErrno);
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

TEST(Failures, NamesAreNoFormats) {
  RememberErrno(0);
  EXPECT_EQ(CReadExcept("%s%n%d").message(), "MOLDEX: error reading from %s%n%d (error 5). ");
  const std::string longest(5000, 'x');
  EXPECT_EQ(CInvalExcept(longest).message(), "MOLDEX: invalid archive " + longest);
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
