// Finds the objects that the names on the command line stand for, and everything below directories.
//
// Symbolic links are followed, unless they are to be kept as links. Directories are walked in byte
// order of their names, depth first, without recursion and in bounded memory, so that the same tree
// always gives the same sequence.
#ifndef MOLDEX_ARCHIVE_TREE_WALK_H_
#define MOLDEX_ARCHIVE_TREE_WALK_H_

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

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
  // Something that cannot be read, or is neither file nor directory. `why` is null when the
  // system's remembered error gives the reason.
  virtual void OnInaccessible(const std::string& name, const char* why) = 0;
  // A symbolic link whose target is missing, or is a directory that is being walked.
  virtual void OnLinkWithoutTarget(const std::string& name) = 0;
  // A directory that could be opened and cannot be read to its end. The walk goes on after it.
  virtual void OnCutOffDirectory() = 0;
  // A call of the system has failed. Whether the visitor has freed what the system was short of, so
  // that it is worth trying again.
  virtual bool OnFailedCall() { return false; }
};

class CTreeWalk {
 public:
  // Links are followed, and names left out, as the options say; `options` outlive the walk.
  CTreeWalk(ITreeVisitor& visitor, const CCmdLineOptions& options)
      : visitor_(visitor), options_(options), memory_(kNamesBudget) {}

  // Visits what the operands and the names of the -A file stand for, in order, and then, if the
  // options ask for that, the names of the -T file that were not visited before. An excluded name
  // is not even looked at. Throws CInterruptExcept, and what the visitor throws.
  void WalkNames();

 private:
  // Memory for the names of all directories being walked.
  static constexpr std::size_t kNamesBudget = 1024 * 1024;

  struct Level {
    Level(const std::string& directory, const FileIdentity& its_identity, CNameMemory& memory,
          bool follow_links)
        : path(directory),
          identity(its_identity),
          names(directory, memory, follow_links ? std::nullopt : std::optional(its_identity)) {}

    std::string path;
    FileIdentity identity;
    CSortedDirectory names;
  };

  void Walk(std::string_view name);
  void WalkPattern(std::string_view pattern);
  void VisitName(const std::string& name, const Level* level = nullptr);
  Result<FileStatus> Look(const std::string& name, const Level* level) const;
  std::optional<std::string> NextName(CSortedDirectory& directory);
  bool IsMeant(const std::string& name);
  void DrainLevels();
  bool IsBeingWalked(const FileIdentity& identity) const;

  ITreeVisitor& visitor_;
  const CCmdLineOptions& options_;
  CNameMemory memory_;
  std::deque<Level> levels_;
  std::unordered_set<const RenameMap::value_type*> visited_renamings_;  // of the -T file
  bool only_new_renamings_ = false;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_TREE_WALK_H_
