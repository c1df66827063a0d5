#include "report/except.h"

#include "report/exit_status.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {
namespace {

int ErrnoCode() { return kErrorErrnoBase + LastSystemError().errno_value; }

}  // namespace

CExcept::CExcept(const std::string& message)
    : CExcept(message, kErrorGeneric, Ending::kCodeAndSystemText) {}

CExcept::CExcept(const std::string& message, int code, bool with_system_text)
    : CExcept(message, code, with_system_text ? Ending::kCodeAndSystemText : Ending::kCode) {}

CExcept::CExcept(const std::string& message, int code, Ending ending)
    : message_(EscapedForTerminal(message)), code_(code) {
  if (ending != Ending::kNothing) message_ += " (error " + std::to_string(code) + "). ";
  note_.what = code;
  if (ending == Ending::kCodeAndSystemText) {
    message_ += LastSystemErrorText();
    note_.errno_value = LastSystemError().errno_value;
  }
  SetExitStatus(code);
}

CExcept::CExcept(const std::string& message, Unnumbered unnumbered)
    : message_(EscapedForTerminal(message)), note_{unnumbered.kind, 0} {}

void CExcept::AddLine(const std::string& line) {
  if (!message_.ends_with('\n')) message_ += '\n';
  message_ += line;
}

void CExcept::Print() {
  NoteFailure(note_);
  WriteOutput(message_);
  WriteOutput("\n");
  FlushOutput();
}

COpenExcept::COpenExcept(const std::string& name)
    : CExcept("MOLDEX: error opening " + name, kErrorOpen, true) {}

COpenForWritingExcept::COpenForWritingExcept(const std::string& name)
    : CExcept("MOLDEX: could not open for writing " + name, kErrorOpenForWriting, true) {}

CWriteExcept::CWriteExcept(const std::string& name)
    : CExcept("MOLDEX: error writing to " + name, kErrorWrite, true) {}

CReadExcept::CReadExcept(const std::string& name)
    : CExcept("MOLDEX: error reading from " + name, kErrorRead, false) {}

CShortArchiveExcept::CShortArchiveExcept(const std::string& name) : CReadExcept(name) {
  SetKind(kFailureShortArchive);
}

CCreateDirExcept::CCreateDirExcept(const std::string& name)
    : CExcept("MOLDEX: can not create directory " + name, kErrorCreateDirectory, true) {}

CChgModExcept::CChgModExcept(const std::string& name)
    : CExcept("MOLDEX: can not set permissions for " + name, kErrorSetPermissions, true) {}

CChgDateExcept::CChgDateExcept(const std::string& name)
    : CExcept("MOLDEX: can not change date for " + name, kErrorSetDate, true) {}

CGetCwdExcept::CGetCwdExcept()
    : CExcept("MOLDEX: can not get working directory ", kErrorWorkingDirectory, true) {}

CChgDirExcept::CChgDirExcept(const std::string& name)
    : CExcept("MOLDEX: can not change to dir " + name, ErrnoCode(), true) {}

CStatExcept::CStatExcept(const std::string& name)
    : CExcept("MOLDEX: stat() failed for " + name, ErrnoCode(), true) {}

CAccessExcept::CAccessExcept(const std::string& name)
    : CExcept("MOLDEX: access() failed for " + name, ErrnoCode(), true) {}

CDiskSpaceExcept::CDiskSpaceExcept(const std::string& path)
    : CExcept("MOLDEX: error determining disk space for " + path, kErrorNoSpace, Ending::kNothing) {
}

CConversionExcept::CConversionExcept(const std::string& text)
    : CExcept(text.empty() ? "MOLDEX: could not convert from UTF8 string"
                           : "MOLDEX: could not convert " + text + " to UTF8.",
              kErrorConversion, Ending::kNothing) {}

CSetFileAttrExcept::CSetFileAttrExcept(const std::string& name)
    : CExcept("MOLDEX: setting file attributes failed for" + name, kErrorSetAttributes, true) {}

CAddPrivilegeExcept::CAddPrivilegeExcept(const std::string& privilege)
    : CExcept("MOLDEX: adding privileges failed." + privilege, kErrorPrivileges, Ending::kNothing) {
}

CInvalidHandle::CInvalidHandle()
    : CExcept("MOLDEX: invalid file handle specified", kErrorInvalidHandle, Ending::kNothing) {}

CGetFilePosExcept::CGetFilePosExcept()
    : CExcept("MOLDEX: could not get position of file pointer.", kErrorGetPosition, true) {}

CSetFilePointerExcept::CSetFilePointerExcept()
    : CExcept("MOLDEX: could not set position of file pointer.", kErrorSetPosition, true) {}

CInvalExcept::CInvalExcept(const std::string& name)
    : CExcept("MOLDEX: invalid archive " + name, Unnumbered{kFailureInvalidArchive}) {}

CDecompExcept::CDecompExcept(const std::string& name, int library_code)
    : CExcept(
          "MOLDEX: error decompressing " + name + "; error code is " + std::to_string(library_code),
          Unnumbered{kFailureDamagedData}) {}

CInterruptExcept::CInterruptExcept(int status)
    : CExcept("MOLDEX: interrupted", status, Ending::kCode) {}

CCompExcept::CCompExcept(const std::string& name)
    : CExcept("MOLDEX: error compressing " + name, Unnumbered{}) {}

}  // namespace moldex
