// The base of all tests of the whole program: a private folder, and runs in it.
#ifndef MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_
#define MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/folder_test.h"
#include "support/qel_bytes.h"
#include "support/run_program.h"
#include "support/target.h"

namespace moldex::test {

class ProgramTest : public FolderTest {
 protected:
  // A text that the program wrote.
  std::string Text(const std::string& name) const { return WithLineFeeds(Bytes(name)); }

  // Runs the program and holds what is true of every run: it ends by itself, and its messages go
  // to standard output.
  RunResult Run(const Words& arguments, User user = User::kSame) const {
    RunResult result = RunProgram(folder_.Path(), arguments, user);
    std::string line;
    for (const std::string& word : arguments)
      line += " " + word;
    EXPECT_EQ(result.signal, 0) << "signal after" << line << '\n' << result.err;
    EXPECT_EQ(result.err, "") << "error output after" << line;
    return result;
  }
  RunResult Run(std::string_view line, User user = User::kSame) const {
    return Run(SplitAtBlanks(line), user);
  }

  void ExpectRun(std::string_view line, std::string_view out, int status,
                 User user = User::kSame) const {
    const RunResult result = Run(line, user);
    EXPECT_EQ(result.out, out) << line;
    EXPECT_EQ(result.status, status) << line << '\n' << result.err;
  }

  // The same where only the beginning of the output is settled.
  void ExpectBegins(std::string_view line, std::string_view out, int status,
                    User user = User::kSame) const {
    const RunResult result = Run(line, user);
    EXPECT_EQ(result.out.substr(0, out.size()), out) << line;
    EXPECT_EQ(result.status, status) << line << '\n' << result.err;
  }

  std::vector<QelEntry> Entries(const std::string& archive) const {
    return ParseArchive(Bytes(archive));
  }
  Words NamesIn(const std::string& archive) const {
    Words names;
    for (const QelEntry& entry : Entries(archive))
      names.push_back(entry.name);
    return names;
  }

  // Makes a.qel with these arguments: it holds these entries, or there is none.
  void ExpectCreation(const std::string& arguments, const Words& names, std::string_view out = "",
                      int status = 0, User user = User::kSame) const {
    Remove("a.qel");
    ExpectRun("-cf a.qel " + arguments, out, status, user);
    ASSERT_EQ(Exists("a.qel"), !names.empty()) << arguments;
    EXPECT_EQ(names.empty() ? names : NamesIn("a.qel"), names) << arguments;
  }

  void Archive(const std::vector<QelEntry>& entries,
               std::string_view header = kArchiveHeader) const {
    Write("a.qel", BuildArchive(entries, header));
  }

  // Extracts a.qel into "out"; the program prints this after the line that names the archive.
  void ExpectExtraction(const std::string& out, int status = 0, User user = User::kSame) const;
};

// Many bytes that compress well but not to nothing.
inline std::string Numbers(int count) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += std::to_string(i * 7919 % 65536) + (i % 7 == 0 ? "\n" : " ");
  return text;
}

// Lines that the program prints.
inline std::string Processing(const std::string& archive) {
  return "MOLDEX: processing archive " + archive + "...\n";
}
inline std::string Extracted(std::size_t count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) extracted\n";
}
inline std::string Tested(std::size_t count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) tested\n";
}
inline std::string Failure(const std::string& message, int code, const std::string& system = "") {
  return "MOLDEX: " + message + " (error " + std::to_string(code) + "). " + system + "\n";
}
inline std::string Leaves(const std::string& name) {
  return Failure("name leaves the target directory (use -P to allow it): " + name, 55);
}
inline std::string Inaccessible(const std::string& name) {
  return "MOLDEX: inaccessible file " + name + "\n";
}
inline std::string OpenError(const std::string& name, Complaint complaint = Complaint::kNoFile) {
  return Failure("error opening " + name, 6, SystemText(complaint));
}

inline void ProgramTest::ExpectExtraction(const std::string& out, int status, User user) const {
  ExpectRun("-xf a.qel -R out", Processing("a.qel") + out, status, user);
}

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_
