#include "report/except.h"

#include "report/exit_status.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {

using Ending = FailureText::Ending;

namespace {

int ErrnoCode() { return kErrorErrnoBase + LastSystemError().errno_value; }

}  // namespace

FailureText CExcept::Text(const std::string& message, int code, bool with_system_text) {
  return {message, code, with_system_text ? Ending::kCodeAndSystemText : Ending::kCode,
          kFailureNone};
}

CExcept::CExcept(const FailureText& text)
    : message_(EscapedForTerminal(text.message)), code_(text.code) {
  if (text.ending != Ending::kNothing) message_ += " (error " + std::to_string(code_) + "). ";
  note_.what = text.kind != kFailureNone ? text.kind : code_;
  if (text.ending == Ending::kCodeAndSystemText) {
    message_ += LastSystemErrorText();
    note_.errno_value = LastSystemError().errno_value;
  }
  if (code_ != 0) SetExitStatus(code_);
}

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

FailureText CReadExcept::Text(const std::string& name) {
  return CExcept::Text("MOLDEX: error reading from " + name, kErrorRead, false);
}

FailureText CShortArchiveExcept::Text(const std::string& name) {
  FailureText text = CReadExcept::Text(name);
  text.kind = kFailureShortArchive;
  return text;
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
    : CExcept(FailureText{"MOLDEX: error determining disk space for " + path, kErrorNoSpace,
                          Ending::kNothing}) {}

FailureText CConversionExcept::Text(const std::string& text) {
  return {text.empty() ? "MOLDEX: could not convert from UTF8 string"
                       : "MOLDEX: could not convert " + text + " to UTF8.",
          kErrorConversion, Ending::kNothing};
}

CSetFileAttrExcept::CSetFileAttrExcept(const std::string& name)
    : CExcept("MOLDEX: setting file attributes failed for" + name, kErrorSetAttributes, true) {}

CAddPrivilegeExcept::CAddPrivilegeExcept(const std::string& privilege)
    : CExcept(FailureText{"MOLDEX: adding privileges failed." + privilege, kErrorPrivileges,
                          Ending::kNothing}) {}

CInvalidHandle::CInvalidHandle()
    : CExcept(FailureText{"MOLDEX: invalid file handle specified", kErrorInvalidHandle,
                          Ending::kNothing}) {}

CGetFilePosExcept::CGetFilePosExcept()
    : CExcept("MOLDEX: could not get position of file pointer.", kErrorGetPosition, true) {}

CSetFilePointerExcept::CSetFilePointerExcept()
    : CExcept("MOLDEX: could not set position of file pointer.", kErrorSetPosition, true) {}

CInvalExcept::CInvalExcept(const std::string& name)
    : CExcept(FailureText{"MOLDEX: invalid archive " + name, 0, Ending::kNothing,
                          kFailureInvalidArchive}) {}

FailureText CDecompExcept::Text(const std::string& name, int library_code) {
  return {"MOLDEX: error decompressing " + name + "; error code is " + std::to_string(library_code),
          0, Ending::kNothing, kFailureDamagedData};
}

CInterruptExcept::CInterruptExcept(int status) : CExcept("MOLDEX: interrupted", status, false) {}

FailureText CCompExcept::Text(const std::string& name) {
  return {"MOLDEX: error compressing " + name, 0, Ending::kNothing};
}

}  // namespace moldex
