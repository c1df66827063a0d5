// Trees of files for tests that run on Windows themselves. Symbolic links and pipes are left out:
// the tests that need them are not run there.
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "support/tree.h"

namespace moldex::test {
namespace {

namespace fs = std::filesystem;
using FileClock = std::chrono::file_clock;

Node ReadNode(const fs::directory_entry& item) {
  const auto mode = static_cast<unsigned>(item.status().permissions()) & 07777U;
  if (item.is_directory()) return {Kind::kDirectory, "", mode, 0};
  const auto time = FileClock::to_sys(item.last_write_time());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
  return {Kind::kFile, ReadFile(item.path()), mode, seconds};
}

}  // namespace

Node FileNode(std::string content, unsigned mode, std::int64_t mtime) {
  return {Kind::kFile, std::move(content), mode, mtime};
}
Node DirectoryNode(unsigned mode) { return {Kind::kDirectory, "", mode, 0}; }
Node SymlinkNode(std::string target) { return {Kind::kSymlink, std::move(target), 0, 0}; }
Node FifoNode() { return {Kind::kFifo, "", 0644, 0}; }

void MakeTree(const fs::path& root, const Tree& tree) {
  for (const auto& [name, node] : tree) {
    const fs::path path = root / name;
    fs::create_directories(node.kind == Kind::kDirectory ? path : path.parent_path());
    if (node.kind != Kind::kFile) continue;
    WriteFile(path, node.content);
    const std::chrono::sys_seconds time{std::chrono::seconds(node.mtime)};
    fs::last_write_time(path, FileClock::from_sys(time));
    if ((node.mode & 0200) == 0) fs::permissions(path, fs::perms(0444));
  }
}

Tree ReadTree(const fs::path& root) {
  Tree tree;
  for (const auto& item : fs::recursive_directory_iterator(root))
    tree[item.path().lexically_relative(root).generic_string()] = ReadNode(item);
  return tree;
}

void RemoveTree(const fs::path& root) {
  std::error_code ignored;
  for (const auto& item : fs::recursive_directory_iterator(root, ignored))
    fs::permissions(item.path(), fs::perms(0666), ignored);
  fs::remove_all(root, ignored);
}

void PrintTo(const Node& node, std::ostream* out) {
  *out << "kind " << static_cast<int>(node.kind) << " mode " << std::oct << node.mode << std::dec
       << " mtime " << node.mtime << " \"" << node.content.substr(0, 40) << '"';
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace moldex::test
