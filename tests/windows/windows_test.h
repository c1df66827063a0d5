// The base of tests of moldex.exe that apply to Windows alone.
#ifndef MOLDEX_TESTS_WINDOWS_WINDOWS_TEST_H_
#define MOLDEX_TESTS_WINDOWS_WINDOWS_TEST_H_

#include <cstdlib>
#include <optional>

#include "program/program_test.h"

namespace moldex::test {

// Gives an environment variable another value for a while, or none.
class OtherValue {
 public:
  OtherValue(const char* variable, const char* value) : variable_(variable) {
    const char* former = std::getenv(variable);
    if (former != nullptr) former_ = former;
    Set(value);
  }
  ~OtherValue() { Set(former_ ? former_->c_str() : nullptr); }
  OtherValue(const OtherValue&) = delete;
  OtherValue& operator=(const OtherValue&) = delete;

 private:
  void Set(const char* value) const {
    if (value != nullptr) {
      setenv(variable_, value, 1);
    } else {
      unsetenv(variable_);
    }
  }

  const char* variable_;
  std::optional<std::string> former_;
};

class Windows : public ProgramTest {
 protected:
  std::string DriveZ(const std::string& name) const { return "Z:" + Path(name).string(); }

  // Another Windows program out of the folder where moldex.exe is.
  RunResult RunOther(const std::string& program, const Words& arguments) const {
    const OtherValue other("MOLDEX_EXE", Beside(program).c_str());
    return RunProgram(folder_.Path(), arguments);
  }
  static std::string Beside(const std::string& program) {
    return (std::filesystem::path(std::getenv("MOLDEX_EXE")).parent_path() / program).string();
  }

  // Wine shows this machine's files as drive Z.
  void MakeShortcut(const std::string& target, const std::string& name) const {
    const RunResult made = RunOther("run_in.exe", {"shortcut", DriveZ(target), DriveZ(name)});
    ASSERT_EQ(made.status, 0) << made.err;
    ASSERT_TRUE(Exists(name));
  }

  RunResult RunNative(const Words& arguments) const {
    const OtherValue native("MOLDEX_PROGRAM", nullptr);
    const OtherValue target("MOLDEX_TARGET", nullptr);
    return Run(arguments);
  }

  // The modes that moldex.exe makes of what is there now, from attributes.
  std::vector<QelEntry> LongNameEntries(const std::string& name) {
    Write("modes.qel", std::string(kLongNamesHeader));
    ExpectRun("-af modes.qel " + name, "", 0);  // appending follows the archive's mode
    return ParseArchive("VUK " + Bytes("modes.qel").substr(4));
  }
};

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_WINDOWS_WINDOWS_TEST_H_
