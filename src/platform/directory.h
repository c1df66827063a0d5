// The names in one directory: in the system's order, or sorted in bounded memory. They are names
// alone; file_services.h asks for the status of each object.
#ifndef MOLDEX_PLATFORM_DIRECTORY_H_
#define MOLDEX_PLATFORM_DIRECTORY_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_status.h"
#include "platform/name_arena.h"
#include "platform/result.h"

namespace moldex {

// The reason why some or all names of a directory are missing.
struct DirectoryFailure {
  enum class Step { kOpen, kRead };
  Step step = Step::kOpen;
  SystemError error;
};
using DirectoryResult = Result<void, DirectoryFailure>;

// Calls `visit` for every name in a directory but "." and "..", in the order of the file system. An
// empty path means the current directory. A missing directory fails at kOpen; a failure at kRead
// comes after some names. The error is remembered for messages. A character of a name that has no
// form in the local code page becomes "?": no object is found under that name. With an identity,
// the call fails at kOpen when the path leads to another directory, as far as the system can tell.
DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit,
                               const std::optional<FileIdentity>& identity = std::nullopt);

class CSortedDirectory;

// Memory for the names of nested directories. The directory that is being read may have all of it.
// The others then give up their names, the outermost first, and are read again when their turn
// comes.
class CNameMemory {
 public:
  explicit CNameMemory(std::size_t bytes) : bytes_(bytes) {}
  CNameMemory(const CNameMemory&) = delete;
  CNameMemory& operator=(const CNameMemory&) = delete;

  // Bytes that the names of all directories take now.
  std::size_t HeldBytes() const { return held_bytes_; }

 private:
  friend class CSortedDirectory;

  bool IsExceeded() const { return held_bytes_ > bytes_; }
  void MakeSpaceFor(const CSortedDirectory& reader);

  std::size_t bytes_;
  std::size_t held_bytes_ = 0;
  std::vector<CSortedDirectory*> directories_;  // the outermost first
};

// Hands out a directory's names in byte order, in bounded memory: when the names do not fit, the
// smallest ones are kept, and the directory is read again for the rest. No file is open between two
// calls, and names that appear or disappear in the meantime do no harm.
class CSortedDirectory {
 public:
  // `path` is empty for the current directory. `memory` outlives the directory. VisitDirectory
  // explains `identity`.
  CSortedDirectory(std::string path, CNameMemory& memory,
                   std::optional<FileIdentity> identity = std::nullopt);
  ~CSortedDirectory();
  CSortedDirectory(const CSortedDirectory&) = delete;
  CSortedDirectory& operator=(const CSortedDirectory&) = delete;

  // Only names for which `accept` holds are handed out.
  void SetFilter(std::function<bool(const char*)> accept) { accept_ = std::move(accept); }

  // The next name; empty at the end and after a failure. Outcome tells which.
  std::optional<std::string> Next();
  const DirectoryResult& Outcome() const { return outcome_; }
  // After a failure at kOpen: the next call of Next opens the directory again.
  void TryAgain();

 private:
  friend class CNameMemory;

  void ReadBatch();
  void Keep(const char* name);
  void DropLargest();
  void GiveUp(std::size_t wanted_bytes);
  void UpdateHeldBytes();

  std::string path_;
  CNameMemory& memory_;
  std::optional<FileIdentity> identity_;
  std::function<bool(const char*)> accept_;
  CNameArena names_;
  std::size_t held_bytes_ = 0;  // of names_, as memory_ counts them
  std::string last_;            // the last name that was handed out; empty before the first
  bool complete_ = false;       // no name was left for the next batch
  std::string first_left_out_;  // the smallest name that was, while a batch is read
  DirectoryResult outcome_;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_DIRECTORY_H_
