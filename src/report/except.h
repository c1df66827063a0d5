// The failures of the program. Each is a complete message line, made by the constructor: the
// operation and the name, for most the error number, and the system's text where the operating
// system refused something. The constructor also makes the error number the exit status, at once.
// Three failures have no number and leave the exit status alone: CInvalExcept, CDecompExcept,
// CCompExcept.
//
// Code that survives a failure catches and prints it; the entry point prints the rest.
#ifndef MOLDEX_REPORT_EXCEPT_H_
#define MOLDEX_REPORT_EXCEPT_H_

#include <string>

#include "report/error_codes.h"
#include "report/last_failure.h"
#include "report/user_info.h"

namespace moldex {

// The words and the number of a failure. Making them touches nothing: they are for failures that
// are made later (deferred_failure.h), and for programs that have no exit status of ours.
struct FailureText {
  // The end of the message.
  enum class Ending { kNothing, kCode, kCodeAndSystemText };

  std::string message;  // without its end
  int code = 0;         // 0 for the failures that have no number
  Ending ending = Ending::kCode;
  FailureKind kind = kFailureNone;  // noted instead of the number
};

class CExcept : public CUserInfo {
 public:
  explicit CExcept(const FailureText& text);
  // The generic failure: number 100, system text appended.
  explicit CExcept(const std::string& message) : CExcept(Text(message)) {}
  CExcept(const std::string& message, int code, bool with_system_text)
      : CExcept(Text(message, code, with_system_text)) {}
  static FailureText Text(const std::string& message, int code = kErrorGeneric,
                          bool with_system_text = true);

  void SetText(const std::string& text) override { message_ = text; }
  // Adds another line to the message.
  void AddLine(const std::string& line);
  // The message line, flushed. Notes that this failure was the last.
  void Print() override;

  const std::string& message() const { return message_; }
  // 0 for the failures that have no number.
  int code() const { return code_; }

 private:
  std::string message_;
  int code_ = 0;
  PrintedFailure note_;
};

class COpenExcept : public CExcept {
 public:
  explicit COpenExcept(const std::string& name);
};

// An extracted file that cannot be opened for writing. It has a type of its own because the run
// goes on after an archive that cannot be opened, but not after this.
class COpenForWritingExcept : public CExcept {
 public:
  explicit COpenForWritingExcept(const std::string& name);
};

class CWriteExcept : public CExcept {
 public:
  explicit CWriteExcept(const std::string& name);
};

class CReadExcept : public CExcept {
 public:
  explicit CReadExcept(const std::string& name) : CReadExcept(Text(name)) {}
  static FailureText Text(const std::string& name);

 protected:
  explicit CReadExcept(const FailureText& text) : CExcept(text) {}
};

// The same for an archive that ends within its header.
class CShortArchiveExcept : public CReadExcept {
 public:
  explicit CShortArchiveExcept(const std::string& name) : CReadExcept(Text(name)) {}
  static FailureText Text(const std::string& name);
};

class CCreateDirExcept : public CExcept {
 public:
  explicit CCreateDirExcept(const std::string& name);
};

class CChgModExcept : public CExcept {
 public:
  explicit CChgModExcept(const std::string& name);
};

class CChgDateExcept : public CExcept {
 public:
  explicit CChgDateExcept(const std::string& name);
};

class CGetCwdExcept : public CExcept {
 public:
  CGetCwdExcept();
};

class CChgDirExcept : public CExcept {
 public:
  explicit CChgDirExcept(const std::string& name);
};

// Never thrown: a name whose status cannot be read is reported as an inaccessible or missing file
// before an entry is made of it.
class CStatExcept : public CExcept {
 public:
  explicit CStatExcept(const std::string& name);
};

class CAccessExcept : public CExcept {
 public:
  explicit CAccessExcept(const std::string& name);
};

// Never thrown: the space report fails with number 38 where the system cannot tell the free space,
// and missing space is a line of the report itself.
class CDiskSpaceExcept : public CExcept {
 public:
  explicit CDiskSpaceExcept(const std::string& path);
};

class CConversionExcept : public CExcept {
 public:
  // The text that has no form in UTF-8; empty for UTF-8 that has none in the local code page.
  explicit CConversionExcept(const std::string& text) : CExcept(Text(text)) {}
  static FailureText Text(const std::string& text);
};

class CSetFileAttrExcept : public CExcept {
 public:
  explicit CSetFileAttrExcept(const std::string& name);
};

class CAddPrivilegeExcept : public CExcept {
 public:
  explicit CAddPrivilegeExcept(const std::string& privilege);
};

class CInvalidHandle : public CExcept {
 public:
  CInvalidHandle();
};

class CGetFilePosExcept : public CExcept {
 public:
  CGetFilePosExcept();
};

class CSetFilePointerExcept : public CExcept {
 public:
  CSetFilePointerExcept();
};

// Somebody asked the run to end: Ctrl-C or a signal. The status is 128 plus the signal's number, as
// shells have it.
class CInterruptExcept : public CExcept {
 public:
  explicit CInterruptExcept(int status);
};

// Not an archive of this format version. A command that reads hands such an archive to the
// old-format command, which sets the exit status; append sets it itself.
class CInvalExcept : public CExcept {
 public:
  explicit CInvalExcept(const std::string& name);
};

// Compressed data that cannot be restored, or data that cannot be compressed. A run that one of
// them ends has status 100 unless an earlier failure set another one; the entry point takes care of
// that.
class CDecompExcept : public CExcept {
 public:
  CDecompExcept(const std::string& name, int library_code) : CExcept(Text(name, library_code)) {}
  static FailureText Text(const std::string& name, int library_code);
};

class CCompExcept : public CExcept {
 public:
  explicit CCompExcept(const std::string& name) : CExcept(Text(name)) {}
  static FailureText Text(const std::string& name);
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_EXCEPT_H_
