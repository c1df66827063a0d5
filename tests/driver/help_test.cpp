// The man page and the completions in share/: their options are those of the program's own table,
// and the programs that show or run them accept them.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "run/option_table.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

#define SHARE MOLDEX_SOURCE_FOLDER "/share/"

std::string Source(const std::string& name) {
  return ReadFile(std::filesystem::path(MOLDEX_SOURCE_FOLDER) / name);
}

// The output of a shell script, errors included; then its status, unless that is 0.
std::string Shell(const std::string& script) {
  const TempDir folder;
  WriteFile(folder.Path() / "script", script);
  const std::string command = "bash '" + (folder.Path() / "script").string() + "' 2>&1";
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
    out += static_cast<char>(c);
  const int status = pclose(pipe);
  return status == 0 ? out : out + "status " + std::to_string(status);
}

// The text of the pattern's first group, wherever the pattern matches.
std::set<std::string> Found(const std::string& text, const char* pattern) {
  const std::regex compiled(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), compiled), end; match != end; ++match)
    found.insert(match->str(1));
  return found;
}

// " Ar FILE", or nothing.
std::string ManArgument(const Option& option) {
  if (option.argument == Argument::kNone) return {};
  return " Ar " + std::string(ArgumentName(option.argument));
}

// The options that go with one of the commands: words (" -A -X"), or the letters of groups, "f"
// last.
std::string Fitting(std::string_view commands, Spelling spelling) {
  std::string fitting;
  std::string f;
  for (const Option& option : Options()) {
    if (option.spelling != spelling || option.command != kNoCommand) continue;
    if (option.commands.find_first_of(commands) == std::string_view::npos) continue;
    if (spelling == Spelling::kWord) {
      fitting += (fitting.empty() ? "-" : " -") + std::string(option.name);
    } else {
      (option.argument == Argument::kNone ? fitting : f) += option.name;
    }
  }
  return fitting + f;
}

// How the man page shows the call of a command.
std::string ManSynopsis(char command) {
  std::string letters = Fitting({&command, 1}, Spelling::kLetter);
  std::string lines = std::string(".Nm\n.Fl ") + command;
  if (letters.find_first_not_of('f') != std::string::npos)
    lines += " Ns Oo Cm " + letters.substr(0, letters.size() - 1) + " Oc";
  if (letters.ends_with('f'))
    lines += std::string(" Ns Oo Cm f Ar ") +
             (command == 'm' ? "\\(dqsource target\\(dq Oc" : "ARCHIVE Oc");
  for (const Option& option : Options()) {
    if (option.spelling == Spelling::kWord && option.commands != kEveryCommand &&
        option.commands.find(command) != std::string_view::npos)
      lines += "\n.Op Fl " + std::string(option.name) + ManArgument(option);
  }
  return lines + (command == 'm' ? "\n.Nm\n" : "\n.Op Ar name ...\n.Nm\n");
}

TEST(Help, ManPageHasTheOptionsOfTheTable) {
  const std::string page = Source("share/moldex.1");
  std::set<std::string> options;
  for (const Option& option : Options())
    options.insert(std::string(option.name) + ManArgument(option));
  EXPECT_EQ(Found(page, "\n\\.It Fl ([A-Za-z][A-Za-z ]*)(?=\n)"), options);
  for (const char command : kEveryCommand)
    EXPECT_NE(page.find(ManSynopsis(command)), std::string::npos) << ManSynopsis(command);
  EXPECT_NE(page.find(".Os \"moldex " MOLDEX_RELEASE "\"\n"), std::string::npos);
}

// The script that lists entries, as it stands in the completions of shells that have awk.
std::string AwkScript(const std::string& completion) {
  const std::size_t begin = completion.find("awk '\n");
  return begin == std::string::npos
             ? "none"
             : completion.substr(begin, completion.find("\n'", begin) - begin);
}

TEST(Help, CompletionsHaveTheOptionsOfTheTable) {
  const char* const kinds[] = {"", "archive", "directory", "file", "mode"};
  std::string table = "'\n";
  for (const Option& option : Options()) {
    const char* spelling = option.spelling == Spelling::kWord ? "word" : "letter";
    table += "-" + std::string(option.name) + "|" +
             (option.command != kNoCommand ? "command" : spelling) + "|" +
             kinds[static_cast<int>(option.argument)] + "|" + std::string(option.commands) + "|" +
             std::string(option.text) + "\n";
  }
  table += "'";
  for (const char* name : {"bash", "zsh", "fish", "ps1"}) {
    const std::string script = Source(std::string("share/moldex.") + name);
    EXPECT_NE(script.find(table), std::string::npos) << name << table;
    if (name != std::string("ps1")) {
      EXPECT_EQ(AwkScript(script), AwkScript(Source("share/moldex.bash"))) << name;
    }
  }
}

TEST(Help, ManPageIsWithoutFaultAndReadable) {
  const std::string page = SHARE "moldex.1";
  EXPECT_EQ(Shell("mandoc -T lint -W warning,stop " + page), "");
  EXPECT_EQ(Shell("man --warnings -E UTF-8 -l -Tutf8 -Z " + page + " 2>&1 >/dev/null"), "");
  const std::string text = Shell("MANWIDTH=80 man -E ascii -l " + page + " | col -b");
  EXPECT_NE(text.find("moldex -c[irv][f ARCHIVE] [-A FILE]"), std::string::npos) << text;
}

// The numbers up to 100 in a text such as "22 to 26, 31, 46".
std::set<int> Numbers(std::string_view text) {
  std::set<int> numbers;
  std::istringstream parts{std::string(text)};
  for (std::string part; std::getline(parts, part, ',');) {
    int from = 0;
    int to = 0;
    if (std::sscanf(part.c_str(), " %d to %d", &from, &to) < 2) to = from;
    for (int number = from; number <= to && number <= 100; ++number)
      numbers.insert(number);
  }
  return numbers;
}

// The man page explains every status of the code and no other; docs/manual.md has the same table.
TEST(Help, StatusesAreThoseOfTheCodeAndOfTheDocuments) {
  std::set<int> explained;
  std::istringstream page(Source("share/moldex.1"));
  std::string rows;
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with(".It ") || std::isdigit(line[4]) == 0) continue;
    explained.merge(Numbers(line.substr(4)));
    rows += "| " + line.substr(4) + " | ";
    std::getline(page, line);
    rows += std::regex_replace(line, std::regex(R"(\\f[BP])"), "`") + " |\n";
  }
  rows = std::regex_replace(rows, std::regex(R"(\\-)"), "-");
  std::set<int> used = {0};
  for (const std::string& number : Found(Source("src/report/error_codes.h"), "= ([0-9]+)[,\n ]"))
    used.insert(std::stoi(number));
  EXPECT_EQ(explained, used);
  EXPECT_NE(Source("docs/manual.md").find(rows), std::string::npos) << rows;
}

TEST(Help, ShellsCompleteWhatFits) {
  const TempDir folder;
  MakeTree(folder.Path(), {{"B.QEL", FileNode("")},
                           {"n.txt", FileNode("")},
                           {"d.qel", DirectoryNode()},
                           {"my dir", DirectoryNode()},
                           {"my dir/it's", FileNode("")},
                           {"my dir/sub", DirectoryNode()},
                           {"my dir/sub/x:y", FileNode("")},
                           {"my dir/x y.qel", FileNode("")},
                           {"only/below", FileNode("")}});
  const std::string here =
      "cd '" + folder.Path().string() + "' && PATH='" MOLDEX_FOLDER "':$PATH\n";
  EXPECT_EQ(Shell(here + "moldex -cf a.qel 'my dir' n.txt only/below"), "");
  const std::pair<const char*, const char*> cases[] = {
      // Letters of groups: a command first, then what goes with it.
      {"-c", "-cf,-ci,-cr,-cv"},
      {"-xv", "-xvf,-xvg"},
      {"-v", "-va,-vc,-vd,-version,-vl,-vm,-vt,-vx"},
      {"-xq", ""},
      {"-l", "-l,-lower"},
      // Words, as far as they go with the command; capitals are no small letters.
      {"-ver", "-version"},
      {"-xf a.qel -C", ""},
      {"-x -l", "-l,-lower"},
      {"-m -", "-V,-backup,-e,-f,-g,-n"},
      {"-f -x -x -fl", "-flat"},
      // An option that was given is not offered again; words that begin with its letter stay.
      {"-mf a.qel -", "-V,-backup,-e,-g,-n"},
      {"-f a.qel -xv", "-xvg"},
      {"-vxg -flat -e -", "-A,-P,-R,-V,-backup,-f,-h,-lower,-n"},
      {"-c -A n -C d -T n -X n -p 644 -", "-P,-V,-backup,-e,-f,-i,-n,-r,-v"},
      {"-x -R d -R", ""},
      // Values.
      {"-xf ", "B.QEL,a.qel,d.qel,my dir,only"},
      {"-cfv d", "d.qel"},
      {"-tf my\\ dir/", "my dir/sub,my dir/x y.qel"},
      {"-c -C ", "d.qel,my dir,only"},
      {"-xf a.qel -R m", "my dir"},
      {"-c -A ", "B.QEL,a.qel,d.qel,my dir,n.txt,only"},
      {"-c -p ", ""},
      {"-c -p -C ", "B.QEL,a.qel,d.qel,my dir,n.txt,only"},
      // Names on the disk, and names in the archive, from which only that of a directory is offered
      // unless there is nothing else.
      {"-cf a.qel n", "n.txt"},
      {"-c -C my\\ dir -f ", "B.QEL,a.qel,d.qel,my dir,only"},
      {"-c -C my\\ dir -f a -v ", "it's,sub,x y.qel"},
      {"-C 'my dir' -X n sub/x", "sub/x:y"},
      {"-c -C none ", ""},
      {"-xf a.qel ", "my dir,n.txt,only/below"},
      {"-df a.qel -v o", "only/below"},
      {"-t -f a.qel m", "my dir,my dir/it's,my dir/sub,my dir/x y.qel"},
      {"-tf a.qel my\\ dir/s", "my dir/sub,my dir/sub/x:y"},
      {"-tf a.qel -flat x", "x y.qel,x:y"},
      {"-tgf A.QEL n", "n.txt"},
      {"-xf n.txt ", ""},
      {"-x ", ""},
  };
  const TempDir typed;
  std::string lines;
  std::string expected;
  for (const auto& [line, completions] : cases) {
    lines += std::string(line) + "\n";
    expected += std::string(line) + "\t" + completions + "\n";
  }
  WriteFile(typed.Path() / "lines", lines);
  for (const std::string shell : {"bash", "zsh", "fish"}) {
    const std::string complete = "'" MOLDEX_SOURCE_FOLDER "/tests/driver/complete.sh' " + shell;
    EXPECT_EQ(Shell(here + complete + " '" SHARE "' <'" + typed.Path().string() + "/lines'"),
              expected)
        << shell;
  }
}

// There is no PowerShell in Debian: the script is not run here, and powershell.sh parses it. This
// test looks for comparisons without case by mistake ("-eq" takes -a for -A), and for characters
// that need an encoding.
TEST(Help, PowerShellScriptNeedsNoEncodingAndKeepsCase) {
  const std::string script = Source("share/moldex.ps1");
  EXPECT_TRUE(std::regex_match(script, std::regex("[ -~\n]*")));
  EXPECT_EQ(Found(script, "(-i?(eq|ne|match) '[^P])"), std::set<std::string>());
}

}  // namespace
}  // namespace moldex::test
