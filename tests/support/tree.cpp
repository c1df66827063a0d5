#include "support/tree.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace moldex::test {
namespace {

namespace fs = std::filesystem;
using FileClock = std::chrono::file_clock;
using std::chrono::seconds;

Kind KindOf(fs::file_type type) {
  if (type == fs::file_type::regular) return Kind::kFile;
  if (type == fs::file_type::directory) return Kind::kDirectory;
  if (type == fs::file_type::symlink) return Kind::kSymlink;
  return type == fs::file_type::fifo ? Kind::kFifo : Kind::kOther;
}

void MakeNode(const fs::path& path, const Node& node) {
  fs::create_directories(node.kind == Kind::kDirectory ? path : path.parent_path());
  if (node.kind == Kind::kFile) WriteFile(path, node.content);
  if (!kHasLinksAndModes) return;
  if (node.kind == Kind::kSymlink) fs::create_symlink(node.content, path);
  if (node.kind == Kind::kFifo && std::system(("mkfifo '" + path.string() + "'").c_str()) != 0) {
    throw std::runtime_error("cannot make " + path.string());
  }
}

void SetTimeAndMode(const fs::path& path, const Node& node) {
  const std::chrono::sys_seconds time{seconds(node.mtime)};
  if (node.kind == Kind::kFile) fs::last_write_time(path, FileClock::from_sys(time));
  const bool is_kept = kHasLinksAndModes || (node.kind == Kind::kFile && (node.mode & 0200) == 0);
  if (node.kind != Kind::kSymlink && is_kept) fs::permissions(path, fs::perms(node.mode));
}

Node ReadNode(const fs::directory_entry& item) {
  const fs::file_status status = item.symlink_status();
  Node node{KindOf(status.type()), "", static_cast<unsigned>(status.permissions()) & 07777U, 0};
  if (node.kind == Kind::kFile) {
    std::error_code beyond_the_clock;  // which then gives its earliest time
    const auto time = FileClock::to_sys(item.last_write_time(beyond_the_clock));
    node.mtime = std::chrono::floor<seconds>(time).time_since_epoch().count();
    node.content = ReadFile(item.path());
  }
  if (node.kind == Kind::kSymlink) {
    node.mode = 0;
    node.content = fs::read_symlink(item.path()).string();
  }
  return node;
}

// Lets the owner enter, change and remove everything.
void OpenUp(const fs::path& path) {
  std::error_code ignored;
  fs::permissions(path, fs::perms(0700), ignored);
  for (const auto& item : fs::directory_iterator(path, ignored)) {
    if (!item.is_symlink(ignored)) OpenUp(item.path());
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
  for (const auto& item : fs::recursive_directory_iterator(root))
    tree[item.path().lexically_relative(root).generic_string()] = ReadNode(item);
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
  std::string bytes(static_cast<std::size_t>(fs::file_size(path)), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace moldex::test
