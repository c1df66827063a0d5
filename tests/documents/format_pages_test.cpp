// The pages on the formats: their examples mean what they say, the program writes those that it is
// said to write, and a reader made from the pages alone reads what the program and the library
// write.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>

#include "cscompr/cscompr.h"
#include "program/program_test.h"
#include "support/noise.h"

namespace moldex::test {
namespace {

constexpr std::int64_t kTime = 1105103100;  // 07 Jan 2005 13:05 UTC

std::string Page(const std::string& name) {
  return ReadFile(std::filesystem::path(MOLDEX_SOURCES) / "docs" / name);
}

// The bytes of the code block whose first line is "```hex " and the title: hexadecimal digits, and
// comments after ";".
std::string Example(const std::string& page, const std::string& title) {
  std::istringstream lines(Page(page));
  std::string line;
  while (std::getline(lines, line) && line != "```hex " + title) {
  }
  std::string bytes;
  while (std::getline(lines, line) && line != "```") {
    std::istringstream words(line.substr(0, line.find(';')));
    for (std::string word; words >> word;)
      bytes.push_back(static_cast<char>(std::stoi(word, nullptr, 16)));
  }
  if (!lines || bytes.empty()) throw std::runtime_error(page + " has no example " + title);
  return bytes;
}

const std::uint8_t* Start(const std::string& bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

std::string Compress(const std::string& text, std::int32_t algorithm) {
  std::string stream(2 * text.size() + 100, '\0');
  std::int32_t read = 0;
  std::int32_t written = 0;
  const auto length = static_cast<std::int32_t>(text.size());
  EXPECT_EQ(
      CsCompr(length, Start(text), length, reinterpret_cast<std::uint8_t*>(stream.data()),
              static_cast<std::int32_t>(stream.size()), kCsFirstCall | algorithm, &read, &written),
      kCsEndOfStream);
  stream.resize(static_cast<std::size_t>(written));
  return stream;
}

std::string Decompress(const std::string& stream) {
  std::string text(1000, '\0');
  std::int32_t read = 0;
  std::int32_t written = 0;
  EXPECT_EQ(CsDecompr(Start(stream), static_cast<std::int32_t>(stream.size()),
                      reinterpret_cast<std::uint8_t*>(text.data()),
                      static_cast<std::int32_t>(text.size()), kCsFirstCall, &read, &written),
            kCsEndOfStream);
  return text.substr(0, static_cast<std::size_t>(written));
}

TEST(StreamPage, ItsExamplesRestoreTheirTitles) {
  for (const char* title : {"lzh abcabcabc", "lzc abababa", "lzc-odd abcdcd"}) {
    const std::string text = SplitAtBlanks(title).at(1);
    EXPECT_EQ(Decompress(Example("compressed-stream.md", title)), text);
  }
}

TEST(StreamPage, TheLibraryWritesItsExamples) {
  EXPECT_EQ(Compress("abcabcabc", kCsLzh), Example("compressed-stream.md", "lzh abcabcabc"));
  EXPECT_EQ(Compress("abababa", kCsLzc), Example("compressed-stream.md", "lzc abababa"));
}

class ArchivePage : public ProgramTest {
 protected:
  // The trees that the program and the reader extract.
  std::pair<Tree, Tree> BothExtract(const std::string& archive) const {
    EXPECT_EQ(Run("-df " + archive).status, 0);
    EXPECT_EQ(Run("-xf " + archive + " -R by-program").status, 0);
    std::filesystem::create_directory(Path("by-reader"));
    const std::string command = "python3 " MOLDEX_SOURCES "/tests/documents/read_archive.py " +
                                Path(archive).string() + " " + Path("by-reader").string();
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::pair<Tree, Tree> both = {Below("by-program"), Below("by-reader")};
    RemoveTree(Path("by-program"));
    RemoveTree(Path("by-reader"));
    return both;
  }

  void ExpectBothExtract(const std::string& archive, const Tree& tree) const {
    const auto [by_program, by_reader] = BothExtract(archive);
    EXPECT_EQ(by_program, tree) << archive;
    EXPECT_EQ(by_reader, tree) << archive;
  }
};

TEST_F(ArchivePage, TheTreeIsReadAndWritten) {
  const Tree tree = {
      {"d", DirectoryNode()}, {"d/f", FileNode("hi", 0644, kTime)}, {"d/l", SymlinkNode("f")}};
  const std::string example = Example("archive-format.md", "archive-tree");
  Write("page.qel", example);
  ExpectBothExtract("page.qel", tree);

  Make(tree);
  const timespec times[2] = {{kTime, 0}, {kTime, 0}};
  for (const char* name : {"d/l", "d"})
    ASSERT_EQ(utimensat(AT_FDCWD, Path(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  ExpectRun("-cf example.qel -r d", "", 0);
  EXPECT_EQ(Bytes("example.qel"), example);
}

TEST_F(ArchivePage, StreamsAndBlocksMeetAsItSays) {
  Write("page.qel", Example("archive-format.md", "archive-streams"));
  ExpectBothExtract("page.qel", {{"g", FileNode("hihi", 0644, kTime)}});
}

TEST_F(ArchivePage, ABackupStreamIsAFile) {
  Write("page.qel", Example("archive-format.md", "archive-backup"));
  const auto [by_program, by_reader] = BothExtract("page.qel");
  EXPECT_EQ(by_program.at("f").content, "hi");
  EXPECT_EQ(by_program.at("f").mtime, kTime);
  EXPECT_EQ(by_reader.at("f").content, "hi");
}

// An archive of one file with a single block, and where its parts stand.
constexpr std::size_t kEntryAt = 8;
constexpr std::size_t kNameAt = kEntryAt + kEntryHeaderBytes;
constexpr std::size_t kBlockAt = kNameAt + 2;
constexpr std::size_t kStreamAt = kBlockAt + kBlockHeaderBytes;

struct Change {
  const char* what;
  void (*make)(std::string& bytes);
};

TEST_F(ArchivePage, WhatItCallsOddIsRead) {
  const Change kChanges[] = {
      {"ignored words", [](auto& bytes) { SetU32(bytes, kEntryAt + 10, ~0U); }},
      {"reserved word", [](auto& bytes) { SetU32(bytes, kEntryAt + 26, ~0U); }},
      {"upper half of the time", [](auto& bytes) { SetU32(bytes, kEntryAt + 22, ~0U); }},
      {"kind of a directory", [](auto& bytes) { SetU32(bytes, kEntryAt + kModeAt, 040644); }},
      {"user data of a file",
       [](auto& bytes) {
         SetU16(bytes, kEntryAt + kUserDataLengthAt, 4);
         bytes.insert(kBlockAt, "DAED");
       }},
      {"no zero byte after the name",
       [](auto& bytes) {
         SetU16(bytes, kEntryAt + kNameLengthAt, 1);
         bytes.erase(kNameAt + 1, 1);
       }},
      {"more after the name",
       [](auto& bytes) {
         SetU16(bytes, kEntryAt + kNameLengthAt, 4);
         bytes.insert(kBlockAt, "xy");
       }},
      {"version of the stream", [](auto& bytes) { SetByte(bytes, kStreamAt + 4, 0xF2); }},
      {"level of the stream", [](auto& bytes) { SetByte(bytes, kStreamAt + 7, 200); }},
      {"longer by the stream's header", [](auto& bytes) { SetU32(bytes, kStreamAt, 9); }},
      {"no zero byte after the stream",
       [](auto& bytes) {
         SetU32(bytes, kBlockAt + kPayloadLengthAt, 12);
         bytes.erase(kStreamAt + 12, 1);
       }},
      {"more after the stream",
       [](auto& bytes) {
         SetU32(bytes, kBlockAt + kPayloadLengthAt, 15);
         bytes.insert(kStreamAt + 13, "xy");
       }},
  };
  std::string all(kArchiveHeader);
  Tree tree;
  char name = 'a';
  for (const Change& change : kChanges) {
    std::string archive = BuildArchive({FileEntry(std::string(1, name), "hi")});
    change.make(archive);
    all += archive.substr(kEntryAt);
    tree[std::string(1, name++)] = FileNode("hi", 0644, kTime);
  }
  Write("odd.qel", all);
  ExpectBothExtract("odd.qel", tree);
}

TEST_F(ArchivePage, AReaderMadeFromItReadsWhatTheProgramWrites) {
  const Tree tree = {
      {"tree", DirectoryNode()},
      {"tree/empty", FileNode("", 0600, 1)},
      {"tree/many blocks", FileNode(Numbers(200000) + Noise(300000, 1), 0444, kTime)},
      {"tree/noise", FileNode(Noise(65536, 2), 0755, kTime)},
      {"tree/to", SymlinkNode("nowhere")},
      {"tree/\xC3\xA4", FileNode("a name in UTF-8", 0644, 0xFFFFFFFF)}};
  Make(tree);
  ExpectRun("-cf a.qel -r tree", "", 0);
  ExpectBothExtract("a.qel", tree);
}

}  // namespace
}  // namespace moldex::test
