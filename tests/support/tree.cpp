#include "support/tree.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace moldex::test {
namespace {

namespace fs = std::filesystem;

Kind KindOf(unsigned mode) {
  if (S_ISREG(mode)) return Kind::kFile;
  if (S_ISDIR(mode)) return Kind::kDirectory;
  if (S_ISLNK(mode)) return Kind::kSymlink;
  return S_ISFIFO(mode) ? Kind::kFifo : Kind::kOther;
}

void MakeNode(const fs::path& path, const Node& node) {
  fs::create_directories(node.kind == Kind::kDirectory ? path : path.parent_path());
  if (node.kind == Kind::kFile) WriteFile(path, node.content);
  if (node.kind == Kind::kSymlink) fs::create_symlink(node.content, path);
  if (node.kind == Kind::kFifo && mkfifo(path.c_str(), 0644) != 0) {
    throw std::runtime_error("cannot make " + path.string());
  }
}

void SetTimeAndMode(const fs::path& path, const Node& node) {
  if (node.kind == Kind::kSymlink) return;
  const timespec times[2] = {{node.mtime, 0}, {node.mtime, 0}};
  if (node.kind == Kind::kFile && utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::runtime_error("no time for " + path.string());
  }
  if (chmod(path.c_str(), node.mode) != 0) throw std::runtime_error("chmod " + path.string());
}

Node ReadNode(const fs::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) throw std::runtime_error("lstat " + path.string());
  Node node{KindOf(status.st_mode), "", status.st_mode & 07777U, 0};
  if (node.kind == Kind::kFile) {
    node.content = ReadFile(path);
    node.mtime = status.st_mtime;
  }
  if (node.kind == Kind::kSymlink) {
    node.content = fs::read_symlink(path).string();
    node.mode = 0;
  }
  return node;
}

void OpenUp(const fs::path& folder) {
  std::error_code ignored;
  fs::permissions(folder, fs::perms(0700), ignored);
  for (const auto& item : fs::directory_iterator(folder, ignored)) {
    if (!item.is_symlink(ignored) && item.is_directory(ignored)) OpenUp(item.path());
  }
}

}  // namespace

Node FileNode(std::string content, unsigned mode, std::int64_t mtime) {
  return {Kind::kFile, std::move(content), mode, mtime};
}
Node DirectoryNode(unsigned mode) { return {Kind::kDirectory, "", mode, 0}; }
Node SymlinkNode(std::string target) { return {Kind::kSymlink, std::move(target), 0, 0}; }
Node FifoNode() { return {Kind::kFifo, "", 0644, 0}; }

void MakeTree(const fs::path& root, const Tree& tree) {
  for (const auto& [name, node] : tree)
    MakeNode(root / name, node);
  for (auto it = tree.rbegin(); it != tree.rend(); ++it)
    SetTimeAndMode(root / it->first, it->second);
}

Tree ReadTree(const fs::path& root) {
  Tree tree;
  for (const auto& item : fs::recursive_directory_iterator(root)) {
    tree[fs::path(item.path()).lexically_relative(root).generic_string()] = ReadNode(item.path());
  }
  return tree;
}

void RemoveTree(const fs::path& root) {
  std::error_code ignored;
  OpenUp(root);
  fs::remove_all(root, ignored);
}

void PrintTo(const Node& node, std::ostream* out) {
  static const char* const kinds[] = {"file", "directory", "symlink", "fifo", "other"};
  *out << kinds[static_cast<int>(node.kind)] << " mode " << std::oct << node.mode << std::dec
       << " mtime " << node.mtime << " bytes " << node.content.size() << " \""
       << node.content.substr(0, 40) << '"';
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace moldex::test
