// Small trees of files: described in a table, made on disk, read back and compared. By the standard
// library alone, so that the suites that run on Windows have them, too.
#ifndef MOLDEX_TESTS_SUPPORT_TREE_H_
#define MOLDEX_TESTS_SUPPORT_TREE_H_

#include <cstdint>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>

namespace moldex::test {

// True on a system with links and permissions; the test's own system counts. On others MakeTree
// makes no links and pipes, and sets only the permission to write.
inline constexpr bool kHasLinksAndModes = std::filesystem::path::preferred_separator == '/';

enum class Kind { kFile, kDirectory, kSymlink, kFifo, kOther };

struct Node {
  Kind kind = Kind::kFile;
  std::string content;     // of a file; of a symbolic link its target
  unsigned mode = 0644;    // permission bits, with setuid, setgid and sticky; 0 for a link
  std::int64_t mtime = 0;  // seconds; files only, a directory's changes with what is in it
  bool operator==(const Node&) const = default;
};

using Tree = std::map<std::string, Node>;  // by path below the root, "/" between the parts

Node FileNode(std::string content, unsigned mode = 0644, std::int64_t mtime = 1105103100);
Node DirectoryNode(unsigned mode = 0755);
Node SymlinkNode(std::string target);
Node FifoNode();

// Makes the tree in an existing folder. Permissions are set last, so that a folder may be closed.
void MakeTree(const std::filesystem::path& root, const Tree& tree);

Tree ReadTree(const std::filesystem::path& root);

// Removes a tree, also one with folders that their owner cannot enter. What cannot be removed
// stays.
void RemoveTree(const std::filesystem::path& root);

// How gtest shows a node of trees that differ.
void PrintTo(const Node& node, std::ostream* out);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_TREE_H_
