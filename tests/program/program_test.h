// What every test of the whole program starts from: a private folder, and runs in it.
#ifndef MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_
#define MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/qel_bytes.h"
#include "support/run_program.h"
#include "support/target.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {

class ProgramTest : public ::testing::Test {
 protected:
  std::filesystem::path Path(const std::string& name) const { return folder_.Path() / name; }
  std::string Bytes(const std::string& name) const { return ReadFile(Path(name)); }
  // Of a text that the program wrote.
  std::string Text(const std::string& name) const { return WithLineFeeds(Bytes(name)); }
  void Write(const std::string& name, const std::string& bytes) { WriteFile(Path(name), bytes); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }
  void Make(const Tree& tree) { MakeTree(folder_.Path(), tree); }
  Tree Below(const std::string& name) const { return Exists(name) ? ReadTree(Path(name)) : Tree(); }

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
    EXPECT_EQ(result.status, status) << line;
  }

  // The same where only the beginning of the output is settled.
  void ExpectBegins(std::string_view line, std::string_view out, int status,
                    User user = User::kSame) const {
    const RunResult result = Run(line, user);
    EXPECT_EQ(result.out.substr(0, out.size()), out) << line;
    EXPECT_EQ(result.status, status) << line;
  }

  std::vector<QelEntry> Entries(const std::string& archive) const {
    return ParseArchive(Bytes(archive));
  }

  const TempDir folder_;
};

inline std::vector<std::string> NamesOf(const std::vector<QelEntry>& entries) {
  std::vector<std::string> names;
  names.reserve(entries.size());
  for (const QelEntry& entry : entries)
    names.push_back(entry.name);
  return names;
}

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
inline std::string Extracted(unsigned count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) extracted\n";
}
inline std::string Tested(unsigned count) {
  return "MOLDEX: " + std::to_string(count) + " file(s) tested\n";
}
inline std::string OpenError(const std::string& name, Complaint complaint = Complaint::kNoFile) {
  return "MOLDEX: error opening " + name + " (error 6). " + SystemText(complaint) + "\n";
}

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_PROGRAM_PROGRAM_TEST_H_
