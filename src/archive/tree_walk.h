// Finds what a name on the command line stands for: an object, and everything below a directory.
//
// Symbolic links are followed, unless they are to be kept as links. Directories are walked in byte
// order of their names, depth first, without recursion and in bounded memory, so that the same tree
// always gives the same sequence.
#ifndef MOLDEX_ARCHIVE_TREE_WALK_H_
#define MOLDEX_ARCHIVE_TREE_WALK_H_

#include <string>
#include <string_view>
#include <vector>

#include "platform/directory.h"
#include "platform/file_status.h"
#include "run/options.h"

namespace moldex {

class ITreeVisitor {
 public:
  virtual ~ITreeVisitor() = default;
  // A directory, a regular file, or a link that is kept. For a directory the answer says whether to
  // walk it, and `is_start` whether it is ".", ".." or the root: walked, but no object of its own.
  virtual bool OnObject(const std::string& name, const FileStatus& status, bool is_start) = 0;
  // Something that cannot be read, or is neither file nor directory.
  virtual void OnInaccessible(const std::string& name) = 0;
  // A symbolic link whose target is missing, or is a directory that is being walked.
  virtual void OnLinkWithoutTarget(const std::string& name) = 0;
};

class CTreeWalk {
 public:
  CTreeWalk(ITreeVisitor& visitor, bool follow_links)
      : visitor_(visitor), follow_links_(follow_links) {}

  // Visits one name and what is below it. Throws CExcept when a directory that could be opened
  // cannot be read to its end, and what the visitor throws.
  void Walk(std::string_view name);

  // Visits what a pattern matches: "*" and "?" in the last part of a name. A pattern that matches
  // nothing is inaccessible.
  void WalkPattern(std::string_view pattern);

 private:
  struct Level {
    std::string path;
    FileIdentity identity;
    CSortedDirectory names;
  };

  void VisitName(const std::string& name);
  void Enter(const std::string& path, const FileIdentity& identity);
  void DrainLevels();
  bool IsBeingWalked(const FileIdentity& identity) const;
  std::size_t NextBudget() const;

  ITreeVisitor& visitor_;
  bool follow_links_;
  std::vector<Level> levels_;
};

// Walks the operands and the names of the -A file, in order; the latter are no patterns.
void WalkNames(CTreeWalk& walk, const CCmdLineOptions& options);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_TREE_WALK_H_
