// Names with control characters: on a terminal they are shown, not obeyed; elsewhere they are the
// bytes that they are.
#include <string>

#include "program/program_test.h"

namespace moldex::test {
namespace {

using Terminal = ProgramTest;

TEST_F(Terminal, ShowsControlCharactersOfNamesAsOctalEscapes) {
  if (OnWindows()) GTEST_SKIP() << "names have no control characters there";
  const struct {
    const char* name;
    const char* shown;
  } cases[] = {{"\x1B[2J", "\\033[2J"},
               {"a\nMOLDEX: 9 file(s) extracted", "a\\012MOLDEX: 9 file(s) extracted"},
               {"a\rb\tc\x7F", "a\\015b\\011c\\177"},
               {"csi\xC2\x9B", "csi\\302\\233"},
               {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
               {"back\\slash", "back\\slash"}};
  for (const auto& [name, shown] : cases) {
    Write("a.qel", BuildArchive({FileEntry(name, "1")}));
    Write("p.qel", BuildArchive({FileEntry(std::string("../") + name, "1")}));
    const std::string processing = Processing("a.qel");
    const std::string refusal =
        "MOLDEX: name leaves the target directory (use -P to allow it): ../";
    const std::string line = "x " + std::string(name) + "\n";
    EXPECT_EQ(Run("-xvf a.qel -R out").out, processing + line + Extracted(1));
    EXPECT_EQ(Bytes("out/" + std::string(name)), "1");
    const std::string shown_line = "x " + std::string(shown) + "\n";
    EXPECT_EQ(RunOnTerminal(folder_.Path(), {"-xvf", "a.qel", "-R", "out"}),
              processing + shown_line + Extracted(1));
    EXPECT_NE(Run("-tf a.qel").out.find(std::string(" ") + name + "\n"), std::string::npos);
    EXPECT_NE(RunOnTerminal(folder_.Path(), {"-tf", "a.qel"}).find(" " + std::string(shown) + "\n"),
              std::string::npos);
    EXPECT_NE(Run("-xf p.qel -R out").out.find(refusal + name + " ("), std::string::npos);
    EXPECT_NE(
        RunOnTerminal(folder_.Path(), {"-xf", "p.qel", "-R", "out"}).find(refusal + shown + " ("),
        std::string::npos);
  }
  // Bytes that are no UTF-8 are controls of other code pages.
  EXPECT_EQ(RunOnTerminal(folder_.Path(), {"-cf", "b.qel", "\x9B\xFF"}),
            "MOLDEX: inaccessible file \\233\xFF\n");
  EXPECT_NE(RunOnTerminal(folder_.Path(), {"-version"}).find("release"), std::string::npos);
  EXPECT_EQ(RunOnTerminal(folder_.Path(), {"-version"}), Run("-version").out);
}

}  // namespace
}  // namespace moldex::test
