// The numbers that messages end with and that become the exit status. The manual lists them for
// users; FailureKind (last_failure.h) has the failures without a number.
#ifndef MOLDEX_REPORT_ERROR_CODES_H_
#define MOLDEX_REPORT_ERROR_CODES_H_

namespace moldex {

enum ErrorCode : int {
  kErrorOutOfMemory = 2,
  kErrorCreateDirectory = 3,
  kErrorWrite = 4,
  kErrorRead = 5,
  kErrorOpen = 6,
  kErrorChecksum = 12,
  kErrorSetPermissions = 13,
  kErrorSetDate = 14,
  kErrorWorkingDirectory = 17,
  kErrorOptionTwice = 18,
  kErrorOptionValue = 19,
  kErrorUnknownOption = 20,
  kErrorNoCommand = 21,
  kErrorAbsoluteAndChange = 22,
  kErrorChangeOption = 23,
  kErrorRenameOption = 24,
  kErrorExcludeOption = 25,
  kErrorTargetOption = 26,
  kErrorNoOctalValue = 27,
  kErrorOpenForWriting = 28,
  kErrorNoFiles = 29,
  kErrorNoSpace = 30,
  kErrorSpaceOption = 31,
  kErrorUnexpected = 32,
  kErrorOutOfRange = 33,
  kErrorLength = 34,
  kErrorFreeSpaceQuery = 38,
  kErrorOldFormat = 40,
  kErrorListFormat = 43,
  kErrorInaccessible = 44,
  kErrorNoLinkTarget = 45,
  kErrorLowerOption = 46,
  kErrorConversion = 47,
  kErrorSetAttributes = 48,
  kErrorAclOption = 49,
  kErrorPrivileges = 50,
  kErrorLongNamesOption = 51,
  kErrorInvalidHandle = 52,
  kErrorGetPosition = 53,
  kErrorSetPosition = 54,
  kErrorLeavesTarget = 55,
  kErrorNameTooLong = 56,
  kErrorBadLength = 57,
  kErrorMergeWithItself = 58,
  kErrorNameNotAllowed = 59,
  kErrorReplacesArchive = 60,
  kErrorGeneric = 100,
  kErrorErrnoBase = 100  // failures of the stat family: this plus errno
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_ERROR_CODES_H_
