// Shared by the POSIX sources of this module only: what an open file remembers between two pieces
// of its backup stream.
#ifndef MOLDEX_PLATFORM_BACKUP_CONTEXT_POSIX_H_
#define MOLDEX_PLATFORM_BACKUP_CONTEXT_POSIX_H_

#include <cstdint>
#include <vector>

#include "platform/backup_stream.h"
#include "platform/file_handle.h"

namespace moldex {

struct CFileHandle::BackupContext {
  // Reading: what comes before the file's bytes, and how much of everything is left.
  std::vector<std::uint8_t> front;
  std::size_t front_done = 0;
  std::uint64_t data_left = 0;

  // Writing: where in the chain of streams the last piece ended.
  CBackupStreamParser parser;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BACKUP_CONTEXT_POSIX_H_
