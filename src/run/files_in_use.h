// The files that a run reads from or writes its messages to, so that it extracts nothing over them.
#ifndef MOLDEX_RUN_FILES_IN_USE_H_
#define MOLDEX_RUN_FILES_IN_USE_H_

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "platform/file_status.h"

namespace moldex {

// Files are known by their identity, whatever their names.
class CFilesInUse {
 public:
  // Adds the file that the name leads to, and the links in the name, because replacing one of them
  // would make the name lead elsewhere. Adds nothing when there is no such file.
  void Add(const std::string& path);
  void Add(const FileIdentity& identity) { identities_.insert(KeyOf(identity)); }

  bool Holds(const FileIdentity& identity) const { return identities_.contains(KeyOf(identity)); }

 private:
  using Key = std::pair<std::uint64_t, std::uint64_t>;
  static Key KeyOf(const FileIdentity& identity) { return {identity.device, identity.number}; }

  std::set<Key> identities_;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_FILES_IN_USE_H_
