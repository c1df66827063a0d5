// Every failure's message, number and exit status.
#include "report/except.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>

#include "report/exit_status.h"
#include "report/system_error.h"

namespace moldex::test {
namespace {

using Failure = std::unique_ptr<CExcept>;

template <class Kind>
Failure Named() {
  return std::make_unique<Kind>("n");
}

template <class Kind>
Failure Plain() {
  return std::make_unique<Kind>();
}

// What stands behind the message.
enum class Tail { kNothing, kCode, kCodeAndSystemText };

struct FailureCase {
  Failure (*make)();
  const char* message;  // without "MOLDEX: "
  int code;
  Tail tail;
};

constexpr int kErrno = ENOENT;

const FailureCase kCases[] = {
    {Named<COpenExcept>, "error opening n", 6, Tail::kCodeAndSystemText},
    {Named<COpenForWritingExcept>, "could not open for writing n", 28, Tail::kCodeAndSystemText},
    {Named<CWriteExcept>, "error writing to n", 4, Tail::kCodeAndSystemText},
    {Named<CReadExcept>, "error reading from n", 5, Tail::kCode},
    {Named<CCreateDirExcept>, "can not create directory n", 3, Tail::kCodeAndSystemText},
    {Named<CChgModExcept>, "can not set permissions for n", 13, Tail::kCodeAndSystemText},
    {Named<CChgDateExcept>, "can not change date for n", 14, Tail::kCodeAndSystemText},
    {Plain<CGetCwdExcept>, "can not get working directory ", 17, Tail::kCodeAndSystemText},
    {Named<CChgDirExcept>, "can not change to dir n", 100 + kErrno, Tail::kCodeAndSystemText},
    {Named<CStatExcept>, "stat() failed for n", 100 + kErrno, Tail::kCodeAndSystemText},
    {Named<CAccessExcept>, "access() failed for n", 100 + kErrno, Tail::kCodeAndSystemText},
    {Named<CDiskSpaceExcept>, "error determining disk space for n", 30, Tail::kNothing},
    {Named<CConversionExcept>, "could not convert n to UTF8.", 47, Tail::kNothing},
    {[]() -> Failure { return std::make_unique<CConversionExcept>(""); },
     "could not convert from UTF8 string", 47, Tail::kNothing},
    {Named<CSetFileAttrExcept>, "setting file attributes failed forn", 48,
     Tail::kCodeAndSystemText},
    {Named<CAddPrivilegeExcept>, "adding privileges failed.n", 50, Tail::kNothing},
    {Plain<CInvalidHandle>, "invalid file handle specified", 52, Tail::kNothing},
    {Plain<CGetFilePosExcept>, "could not get position of file pointer.", 53,
     Tail::kCodeAndSystemText},
    {Plain<CSetFilePointerExcept>, "could not set position of file pointer.", 54,
     Tail::kCodeAndSystemText},
    {[]() -> Failure { return std::make_unique<CExcept>("MOLDEX: any"); }, "any", 100,
     Tail::kCodeAndSystemText},
    {[]() -> Failure { return std::make_unique<CExcept>("MOLDEX: any", 7, true); }, "any", 7,
     Tail::kCodeAndSystemText},
    {[]() -> Failure { return std::make_unique<CExcept>("MOLDEX: any", 7, false); }, "any", 7,
     Tail::kCode},
    // Without number: code 0, and the exit status stays what it was.
    {Named<CInvalExcept>, "invalid archive n", 0, Tail::kNothing},
    {Named<CCompExcept>, "error compressing n", 0, Tail::kNothing},
    {[]() -> Failure { return std::make_unique<CDecompExcept>("n", -5); },
     "error decompressing n; error code is -5", 0, Tail::kNothing}};

TEST(Failures, SayWhatHappenedAndSetTheExitStatus) {
  constexpr int kEarlier = 77;
  RememberErrno(kErrno);
  for (const FailureCase& c : kCases) {
    SetExitStatus(kEarlier);
    const Failure failure = c.make();
    std::string message = std::string("MOLDEX: ") + c.message;
    if (c.tail != Tail::kNothing) message += " (error " + std::to_string(c.code) + "). ";
    if (c.tail == Tail::kCodeAndSystemText) message += std::strerror(kErrno);
    EXPECT_EQ(failure->message(), message);
    EXPECT_EQ(failure->code(), c.code) << message;
    EXPECT_EQ(ExitStatus(), c.code == 0 ? kEarlier : c.code) << message;
  }
}

TEST(Failures, WithoutASystemErrorTheMessageEndsBehindTheCode) {
  RememberErrno(0);
  EXPECT_EQ(COpenExcept("n").message(), "MOLDEX: error opening n (error 6). ");
  EXPECT_EQ(CChgDirExcept("n").message(), "MOLDEX: can not change to dir n (error 100). ");
}

TEST(Failures, ShowTheRememberedErrorAndNotTheLatest) {
  errno = EACCES;
  RememberSystemError();
  errno = ENOENT;
  EXPECT_EQ(CStatExcept("n").code(), 100 + EACCES);
  EXPECT_EQ(LastSystemErrorText(), std::strerror(EACCES));
}

TEST(Failures, NamesAreNoFormats) {
  RememberErrno(0);
  EXPECT_EQ(CReadExcept("%s%n%d").message(), "MOLDEX: error reading from %s%n%d (error 5). ");
  const std::string longest(5000, 'x');
  EXPECT_EQ(CInvalExcept(longest).message(), "MOLDEX: invalid archive " + longest);
}

}  // namespace
}  // namespace moldex::test
