#include "support/target.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace moldex::test {

bool OnWindows() {
  const char* target = std::getenv("MOLDEX_TARGET");
  return target != nullptr && std::strcmp(target, "windows") == 0;
}

bool LeftOutOnWindows(const char* part_and_reason) {
  if (OnWindows()) (void)std::printf("[ LEFT OUT ] %s\n", part_and_reason);
  return OnWindows();
}

std::string SystemText(Complaint complaint) {
  switch (complaint) {
    case Complaint::kNoFile:
      return OnWindows() ? "File not found.\n" : "No such file or directory";
    case Complaint::kNoPath:
      return OnWindows() ? "Path not found.\n" : "No such file or directory";
    case Complaint::kIsDirectory:
      return OnWindows() ? "Access denied.\n" : "Is a directory";
    case Complaint::kDenied:
      return OnWindows() ? "Access denied.\n" : "Permission denied";
    case Complaint::kBadName:
      return OnWindows() ? "Invalid name.\n" : "No such file or directory";
    case Complaint::kNotADirectory:
      return OnWindows() ? "Directory name invalid.\n" : "Not a directory";
  }
  return {};
}

unsigned StoredMode(unsigned mode) {
  if (!OnWindows()) return mode;
  constexpr unsigned kKind = 0170000;
  if ((mode & kKind) == 040000) return 040777;
  return (mode & kKind) | ((mode & 0200) != 0 ? 0666 : 0444);
}

unsigned ExtractedMode(Kind kind, unsigned mode) {
  if (!OnWindows()) return mode;
  if (kind == Kind::kDirectory) return 0755;
  return (mode & 0200) != 0 ? 0644 : 0444;
}

Tree AsExtracted(Tree tree) {
  for (auto& [name, node] : tree)
    node.mode = ExtractedMode(node.kind, node.mode);
  return tree;
}

std::string WithLineFeeds(std::string text) {
  if (!OnWindows()) return text;
  for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at))
    text.erase(at, 1);
  return text;
}

}  // namespace moldex::test
