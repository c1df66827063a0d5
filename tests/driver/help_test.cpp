// What tells people about the program: the usage text, which the program itself prints, is compared
// with the man page and the completions; those are run through what shows them.
#include <gtest/gtest.h>
#include <regex.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "driver/help/help_pages.h"
#include "report/status_table.h"
#include "support/run_program.h"
#include "support/temp_dir.h"
#include "support/tree.h"

namespace moldex::test {
namespace {

std::string Page(const char* name) {
  return ReadFile(std::filesystem::path(MOLDEX_HELP_FOLDER) / name);
}
std::string Source(const std::string& name) {
  return ReadFile(std::filesystem::path(MOLDEX_SOURCE_FOLDER) / name);
}

// What a shell prints for a script, errors included; its status behind it if that is not 0.
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

// What the first group of an extended regular expression takes, wherever it is found in a text.
std::set<std::string> Found(const std::string& text, const char* pattern) {
  regex_t compiled{};
  EXPECT_EQ(regcomp(&compiled, pattern, REG_EXTENDED), 0) << pattern;
  std::set<std::string> found;
  regmatch_t match[2];
  for (const char* at = text.c_str(); regexec(&compiled, at, 2, match, 0) == 0;
       at += match[1].rm_eo) {
    found.emplace(at + match[1].rm_so, at + match[1].rm_eo);
  }
  regfree(&compiled);
  return found;
}

TEST(Help, KnowsTheOptionsOfTheUsageText) {
  const std::string usage = RunProgram(".", {}).out;
  const std::set<std::string> options = Found(usage, "\n(-[A-Za-z]+)[A-Z ]* : ");
  EXPECT_EQ(options.size(), 27u);
  EXPECT_EQ(Found(Page("moldex.1"), "\n\\.It Fl ([A-Za-z]+)"),
            Found(usage, "\n-([A-Za-z]+)[A-Z ]* : "));
  EXPECT_EQ(Found(Page("moldex.bash"), "\n    \\[(-[A-Za-z]+)\\]='"), options);
  EXPECT_EQ(Found(Page("moldex.ps1"), "\n        \\[pscustomobject\\]@\\{ Name = '(-[A-Za-z]+)'; "),
            options);
}

TEST(Help, RefusesTemplatesThatLeaveAnOptionOut) {
  std::string all;
  for (const Option& option : Options())
    all += "@option " + std::string(option.name) + "\n";
  EXPECT_NE(FilledIn(all, "1"), "");
  EXPECT_EQ(FilledIn("a @release@\nb", "1"), "a 1\nb\n");
  EXPECT_THROW(FilledIn(all.substr(all.find('\n') + 1), "1"), std::runtime_error);
  EXPECT_THROW(FilledIn(all + "@option x\n", "1"), std::runtime_error);
  EXPECT_THROW(FilledIn(all + "@option Z\n", "1"), std::runtime_error);
  EXPECT_THROW(FilledIn("@syn\n", "1"), std::runtime_error);
}

TEST(Help, ManPageIsWithoutFaultAndReadable) {
  const std::string page = MOLDEX_HELP_FOLDER "/moldex.1";
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

// Every status of the code is explained, no other is, and README.md or a page that it leads to has
// the same table.
TEST(Help, StatusesAreThoseOfTheCodeAndOfTheDocuments) {
  std::set<int> explained;
  std::string rows;
  for (const StatusRow& row : kStatusTable) {
    rows += "| " + std::string(row.statuses) + " | " + std::string(row.meaning) + " |\n";
    explained.merge(Numbers(row.statuses));
  }
  std::set<int> used = {0};
  for (const std::string& number : Found(Source("src/report/error_codes.h"), "= ([0-9]+)[,\n ]"))
    used.insert(std::stoi(number));
  EXPECT_EQ(explained, used);
  std::string documents = Source("README.md");
  const auto docs = std::filesystem::path(MOLDEX_SOURCE_FOLDER) / "docs";
  for (const auto& entry : std::filesystem::directory_iterator(docs))
    if (entry.path().extension() == ".md") documents += ReadFile(entry.path());
  EXPECT_NE(documents.find(rows), std::string::npos) << rows;
}

TEST(Help, BashCompletesWhatFits) {
  const TempDir folder;
  MakeTree(folder.Path(), {{"a.qel", FileNode("")},
                           {"B.QEL", FileNode("")},
                           {"n.txt", FileNode("")},
                           {"d.qel", DirectoryNode()},
                           {"my dir", DirectoryNode()},
                           {"my dir/x y.qel", FileNode("")},
                           {"my dir/z", FileNode("")}});
  const std::pair<const char*, const char*> cases[] = {
      // Letters of groups: a command first, then what goes with it.
      {"-c", "-cf,-ci,-cr,-cv"},
      {"-xv", "-xvf,-xvg"},
      {"-xvf", "-xvf"},
      {"-v", "-va,-vc,-vd,-version,-vl,-vm,-vt,-vx"},
      {"-xq", ""},
      {"-l", "-l,-lower"},
      // Words, as far as they go with the command; capitals are no small letters.
      {"-ver", "-version"},
      {"-x -ver", ""},
      {"-C", "-C"},
      {"-xf a.qel -C", ""},
      {"-c -l", "-l"},
      {"-x -l", "-l,-lower"},
      {"-m -", "-V,-backup,-e,-f,-g,-n"},
      {"-cx -lo", "-lower"},
      {"-tf a.qel -fl", "-flat"},
      {"-f -x -x -fl", "-flat"},
      // What is taken once is offered once; words that begin with its letter stay.
      {"-mf a.qel -", "-V,-backup,-e,-g,-n"},
      {"-f a.qel -xv", "-xvg"},
      {"-f a.qel -xvf", ""},
      {"-f a.qel -f", "-flat"},
      {"-c -A n -C d -T n -X n -p 644 -", "-P,-V,-backup,-e,-f,-i,-n,-r,-v"},
      {"-x -R d -R", ""},
      // Values.
      {"-xf ''", "B.QEL,a.qel,d.qel,my dir"},
      {"-f a", "a.qel"},
      {"-cfv d", "d.qel"},
      {"-tf 'my dir/'", "my dir/x y.qel"},
      {"-c -C ''", "d.qel,my dir"},
      {"-xf a.qel -R '\"my'", "my dir"},
      {"-tf 'my\\ dir/'", "my dir/x y.qel"},
      {"-tf '\"my dir\"/'", "my dir/x y.qel"},
      {"-c -A ''", "B.QEL,a.qel,d.qel,my dir,n.txt"},
      {"-c -X n", "n.txt"},
      {"-c -T n", "n.txt"},
      {"-c -p ''", ""},
      {"-c -p -C ''", "B.QEL,a.qel,d.qel,my dir,n.txt"},
      // Names.
      {"-cf a.qel n", "n.txt"},
      {"n", "n.txt"},
  };
  std::string script =
      "cd '" + folder.Path().string() +
      "' && . '" MOLDEX_HELP_FOLDER
      "/moldex.bash'\nexport LC_ALL=C\n"
      "words() { COMP_WORDS=(moldex \"$@\"); COMP_CWORD=$#; COMPREPLY=(); _moldex\n"
      "printf '%s\\n' \"${COMPREPLY[@]}\" | sort | paste -sd,; }\n";
  std::string expected;
  for (const auto& [line, completions] : cases) {
    const std::string mark = std::string("  of ") + line + "\n";
    script += std::string("words ") + line + "\ncat <<'END'\n" + mark + "END\n";
    expected += std::string(completions) + "\n" + mark;
  }
  EXPECT_EQ(Shell(script), expected);
}

// There is no PowerShell in Debian: the script is not run here. What can be told from its text is
// that strings and brackets end, that nothing compares without case by mistake ("-eq" takes -a for
// -A), and that it needs no encoding.
TEST(Help, PowerShellScriptIsWellFormed) {
  std::string open;
  char quote = '\0';
  std::istringstream lines(Page("moldex.ps1"));
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of(' ') != std::string::npos &&
        line[line.find_first_not_of(' ')] == '#')
      continue;
    for (const char c : line) {
      ASSERT_TRUE(c >= ' ' && c <= '~') << line;
      if (quote != '\0') {
        quote = c == quote ? '\0' : quote;
      } else if (c == '\'' || c == '"') {
        quote = c;
      } else if (c == '(' || c == '[' || c == '{') {
        open += c;
      } else if (c == ')' || c == ']' || c == '}') {
        ASSERT_TRUE(!open.empty() && open.back() == (c == ')'   ? '('
                                                     : c == ']' ? '['
                                                                : '{'))
            << line;
        open.pop_back();
      }
    }
    ASSERT_EQ(quote, '\0') << line;
  }
  EXPECT_EQ(open, "");
  EXPECT_EQ(Found(Page("moldex.ps1"), "(-i?(eq|ne|match) '[^P])"), std::set<std::string>());
}

}  // namespace
}  // namespace moldex::test
