// moldex.exe and where it runs: a console, another code page, a user without privileges, another
// time zone, deep directories.
#include <sys/stat.h>

#include <csignal>

#include "windows/windows_test.h"

namespace moldex::test {
namespace {

class Setting : public Windows {
 protected:
  // The program without its manifest: it gets the ANSI code page of the system, which is 1252 where
  // the locale does not say otherwise.
  RunResult RunInAnsi(const std::string& line) const {
    RunResult result = RunOther("moldex_ansi.exe", SplitAtBlanks(line));
    EXPECT_EQ(result.err, "");
    return result;
  }
  // Wine makes a console of a terminal on standard input.
  RunResult RunInConsole(const std::string& how, const std::string& arguments) const {
    const std::string line =
        std::getenv("MOLDEX_PROGRAM") + (" " + how + " ") + Beside("moldex.exe") + " " + arguments;
    const OtherValue helper("MOLDEX_EXE", Beside("run_in.exe").c_str());
    const OtherValue terminal("MOLDEX_PROGRAM", "script");
    const OtherValue letters("LC_ALL", "C.UTF-8");  // of the terminal
    return RunProgram(folder_.Path(), {"--quiet", "--return", "--command", line, "/dev/null"});
  }
  RunResult RunIn(const std::string& zone, const std::string& line) const {
    const std::string program = "env TZ=" + zone + " " + std::getenv("MOLDEX_PROGRAM");
    const OtherValue other("MOLDEX_PROGRAM", program.c_str());
    return Run(line);
  }
};

// The text on a terminal, without the sequences ("ESC [ ... letter") that hide and move its cursor;
// the one that moves it forward stands for a blank.
std::string PlainText(const std::string& text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\x1B') {
      if (text[at] != '\r') plain += text[at];
      continue;
    }
    at = text.find_first_not_of("[?0123456789;", at + 1);
    if (at == std::string::npos) break;
    if (text[at] == 'C') plain += ' ';
  }
  return plain;
}

TEST_F(Setting, AConsoleHasTheCodePageWhileTheProgramRuns) {
  const std::string name = "b\xC3\xA4\xE6\x97\xA5g";
  Write(name, Numbers(200'000) + std::string(20'000'000, 'x'));
  const RunResult result = RunInConsole("console 850", "-cvf a.qel " + name + " 2>report");
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(PlainText(result.out), "a " + name + "\n") << result.out;
  EXPECT_EQ(Text("report"), "code pages: 65001, then 850\n") << result.out;
  EXPECT_EQ(NamesIn("a.qel"), Words{name});
}

TEST_F(Setting, AConsoleGetsWholeCharacters) {
  std::vector<QelEntry> entries;
  for (int i = 0; i < 60; ++i)
    entries.push_back(DirectoryEntry("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E" + std::to_string(i)));
  Archive(entries);
  const RunResult result = RunInConsole("console 850", "-tf a.qel 2>report");
  EXPECT_EQ(result.status, 0);
  for (const QelEntry& entry : entries)
    EXPECT_NE(PlainText(result.out).find(entry.name), std::string::npos) << entry.name;
}

TEST_F(Setting, CtrlCEndsTheRunAndLeavesTheArchiveWhole) {
  Make({{"d/big", FileNode("")}, {"d/z", FileNode("never reached")}});
  std::filesystem::resize_file(Path("d/big"), std::uintmax_t{16} << 30);
  Archive({FileEntry("old", "1"), DirectoryEntry("d")});
  EXPECT_EQ(RunInConsole("interrupt moldex_output", "-e -af a.qel d/big d/z").status, 130);
  EXPECT_EQ(Text("moldex_output"), Failure("interrupted", 130));
  EXPECT_EQ(NamesIn("a.qel"), (Words{"old", "d"}));
}

TEST_F(Setting, WithAnotherCodePageNamesGoInAsUtf8OrNotAtAll) {
  Make({{"d/\xC3\xA4", FileNode("1")},
        {"d/\xE6\x97\xA5", FileNode("2")},
        {"d/\xC4\x81z", FileNode("of a name like \"az\"")},
        {"d/az", FileNode("3")}});
  const RunResult made = RunInAnsi("-icf a.qel d");
  EXPECT_EQ(made.out, Inaccessible("d/?") + Inaccessible("d/?z"));
  EXPECT_EQ(made.status, 44);
  EXPECT_EQ(NamesIn("a.qel"), (Words{"d", "d/az", "d/\xC3\xA4"}));
  const RunResult unnamed = RunInAnsi("-cf b.qel d/\xC4\x81z");
  EXPECT_EQ(unnamed.status, 47);
  EXPECT_EQ(unnamed.out, Failure("a word of the command line has no form in the code page of this "
                                 "system: d/?z",
                                 47));
  EXPECT_EQ(RunInAnsi("-tf a.qel").status, 0);
  EXPECT_EQ(RunInAnsi("-xf a.qel -R out").status, 0);
  EXPECT_EQ(Bytes("out/d/\xC3\xA4"), "1");
  Write("b.qel", BuildArchive({FileEntry("\xE6\x97\xA5", "2")}));
  const RunResult refused = RunInAnsi("-xf b.qel");
  EXPECT_EQ(refused.out, Processing("b.qel") + "MOLDEX: could not convert from UTF8 string\n");
  EXPECT_EQ(refused.status, 47);
}

// Shift-JIS, where the second byte of a character may be "\\" or "|".
TEST_F(Setting, InACodePageOfTwoBytesACharacterIsNeverHalved) {
  const std::string locale = Name("ja_JP.UTF-8");
  const std::string make = "localedef -i ja_JP -f UTF-8 " + locale + " >/dev/null 2>&1";
  if (std::system(make.c_str()) != 0)
    GTEST_SKIP() << "localedef cannot make a Japanese locale here";
  const OtherValue place("LOCPATH", folder_.Path().c_str());
  const OtherValue japanese("LC_ALL", "ja_JP.UTF-8");
  const std::string top = "\xE8\xA1\xA8";                      // 95 5C
  const std::string file = top + "/\xE3\x83\x9D\xE3\x82\xA2";  // 83 7C, 83 41
  const std::string folder = top + "/\xE3\x82\xBD";            // 83 5C
  const std::string foreign = top + "/\xC3\xA9";
  Make({{file, FileNode("1")}, {folder + "/x", FileNode("2")}, {foreign, FileNode("3")}});
  Write("not", "\x95\\\\\x83\\\n");
  EXPECT_EQ(RunInAnsi("-icf a.qel -X not " + top).status, 44);
  EXPECT_EQ(NamesIn("a.qel"), (Words{top, file}));
  EXPECT_EQ(RunInAnsi("-icf a.qel " + top + "\\*").status, 44);
  EXPECT_EQ(NamesIn("a.qel"), (Words{folder, folder + "/x", file}));
  EXPECT_EQ(RunInAnsi("-xf a.qel -lower -R " + top + "\\out").status, 0);
  EXPECT_EQ(Bytes(top + "/out/" + file), "1");
  EXPECT_EQ(Bytes(top + "/out/" + folder + "/x"), "2");
}

TEST_F(Setting, WithoutPrivilegesLongNameModeArchivesButDoesNotExtract) {
  Make({{"d/x", FileNode("content", 0444, 1000000000)}});
  Write("a.qel", std::string(kLongNamesHeader));
  const auto run = [&](const std::string& line) {
    return RunOther("run_in.exe", SplitAtBlanks("no-privileges " + Beside("moldex.exe") + line));
  };
  RunResult result = run(" -af a.qel d");
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  result = run(" -xf a.qel -R out");
  EXPECT_EQ(result.status, 50);
  EXPECT_EQ(WithLineFeeds(result.out), "MOLDEX: adding privileges failed.SeRestorePrivilege\n");
  EXPECT_FALSE(Exists("out"));
  EXPECT_EQ(run(" -df a.qel").status, 50);
  EXPECT_EQ(run(" -tf a.qel").status, 0);
  ExpectExtraction(Extracted(2));
  EXPECT_EQ(Bytes("out/d/x"), "content");
}

TEST_F(Setting, DatesAreTheSameInEveryTimeZone) {
  Tree tree;
  const std::int64_t dates[] = {0, 1, 1105103100, 1120741500, 0x80000001, 0xF0000000};
  for (const std::int64_t date : dates)
    tree["d/" + std::to_string(date)] = FileNode("x", date % 2 == 0 ? 0644 : 0444, date);
  Make(tree);
  ExpectRun("-cf a.qel d", "", 0);
  Write("long.qel", std::string(kLongNamesHeader));
  ExpectRun("-af long.qel d", "", 0);
  for (const std::string zone : {"UTC", "America/Los_Angeles", "Asia/Tokyo"}) {
    for (const std::string archive : {"a.qel", "long.qel"}) {
      SCOPED_TRACE(zone + archive);
      const RunResult result = RunIn(zone, "-xf " + archive + " -R out");
      EXPECT_EQ(result.status, 0) << result.out;
      for (const auto& [name, node] : tree) {
        const std::string path = Path("out/" + name).string();
        struct stat record {};
        ASSERT_EQ(stat(path.c_str(), &record), 0) << name;
        EXPECT_EQ(record.st_mtime, node.mtime) << name;
        // Long-name mode leaves the date of the last access to the system.
        EXPECT_EQ(record.st_atime == node.mtime, archive == "a.qel") << name;
        EXPECT_EQ(record.st_mode & 0777, ExtractedMode(Kind::kFile, node.mode)) << name;
      }
      Remove("out");
    }
  }
}

// A full disk, as far as a file that no program may make longer stands for one.
TEST_F(Setting, WhatCannotBeWrittenInFullEndsTheRun) {
  Write("big", Numbers(200'000));
  ExpectRun("-cf big.qel big", "", 0);
  const std::string limited =
      std::string("prlimit --fsize=102400 ") + std::getenv("MOLDEX_PROGRAM");
  const OtherValue program("MOLDEX_PROGRAM", limited.c_str());
  const auto former = std::signal(SIGXFSZ, SIG_IGN);  // Wine inherits that
  const auto failure = [](const std::string& name) {
    return Failure("error writing to " + name, 4, "General failure.\n");
  };
  ExpectRun("-cf a.qel big", failure("a.qel"), 4);
  ExpectRun("-xf big.qel -R out", Processing("big.qel") + failure("out/big"), 4);
  std::signal(SIGXFSZ, former);
}

// Stored names end at 260 bytes; the path before them does not.
TEST_F(Setting, PathsOver260CharactersGoInAndComeOut) {
  const std::string part(60, 'p');
  const std::string deep = "d/" + part + "/" + part + "/" + part;
  const Tree tree = {{deep + "/" + std::string(50, 'f'), FileNode(Numbers(3000), 0644, 1000000000)},
                     {deep + "/" + part + "/read-only", FileNode("2", 0444, 1)},
                     {deep + "/sub", DirectoryNode()}};
  Make(tree);
  ASSERT_GT(Path(deep + "/" + part + "/read-only").string().size(), 260U);
  Write("long.qel", std::string(kLongNamesHeader));
  ExpectRun("-cf a.qel d", "", 0);
  ExpectRun("-af long.qel d", "", 0);
  for (const std::string archive : {"a.qel", "long.qel"}) {
    SCOPED_TRACE(archive);
    const std::string out = "out/" + part + "/" + part + "/" + part;
    EXPECT_EQ(Run("-tf " + archive).status, 0);
    for (int round = 0; round < 2; ++round) {
      ExpectRun("-xf " + archive + " -R " + out, Processing(archive) + Extracted(8), 0);
      EXPECT_EQ(Below(out + "/d"), AsExtracted(Below("d")));
      RemoveTree(Path(out) / deep / part);
    }
    // The archive's own path is long, too, and so are those of a scan and of the space check.
    const std::string moved = out + "/" + part + "/" + archive;
    Make({{moved, FileNode(Bytes(archive))}});
    ExpectRun("-df " + moved, Processing(moved) + Tested(8), 0);
    EXPECT_EQ(Run("-tsf " + archive + " -R " + out).status, 0);
    ExpectRun("-l " + moved, "", 0);
  }
}

}  // namespace
}  // namespace moldex::test
