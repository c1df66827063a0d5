// The names in one directory.
#ifndef MOLDEX_PLATFORM_DIRECTORY_H_
#define MOLDEX_PLATFORM_DIRECTORY_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace moldex {

enum class DirectoryResult { kComplete, kCannotOpen, kReadFailed };

// Calls `visit` for every name in a directory but "." and "..", in the order of the file system. An
// empty path means the current directory. The system's error is remembered. A name that has no form
// in the local code page comes with "?" for what has none: no object is found under it.
DirectoryResult VisitDirectory(const std::string& path,
                               const std::function<void(const char*)>& visit);

// Hands out a directory's names in byte order, in bounded memory: of a directory whose names do not
// fit the budget, the smallest that fit are kept, and the directory is read again for the rest.
// No file is open between two calls, and names that appear or go in the meantime do no harm.
class CSortedDirectory {
 public:
  // `path` is empty for the current directory. `budget_bytes` bounds the names held at a time.
  CSortedDirectory(std::string path, std::size_t budget_bytes);

  // Only names for which `accept` holds are handed out.
  void SetFilter(std::function<bool(const char*)> accept) { accept_ = std::move(accept); }

  // The next name; empty at the end, and when the directory cannot be read, which Result tells.
  std::optional<std::string> Next();
  DirectoryResult Result() const { return result_; }

  // Bytes of memory that the names take now.
  std::size_t HeldBytes() const { return held_bytes_; }

 private:
  void ReadBatch();
  void Keep(const char* name);

  std::string path_;
  std::size_t budget_bytes_;
  std::function<bool(const char*)> accept_;
  std::vector<std::string> names_;  // sorted downwards while handed out, a heap while read
  std::size_t held_bytes_ = 0;
  std::string last_;  // the last name of the batch before; empty before the first
  bool complete_ = false;
  DirectoryResult result_ = DirectoryResult::kComplete;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_DIRECTORY_H_
