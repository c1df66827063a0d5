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
  static constexpr const char* kTexts[][2] = {{"No such file or directory", "File not found.\n"},
                                              {"No such file or directory", "Path not found.\n"},
                                              {"Is a directory", "Access denied.\n"},
                                              {"Permission denied", "Access denied.\n"},
                                              {"No such file or directory", "Invalid name.\n"},
                                              {"Not a directory", "Directory name invalid.\n"}};
  return kTexts[static_cast<std::size_t>(complaint)][OnWindows() ? 1 : 0];
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
