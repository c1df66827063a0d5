// Shared by the Win32 sources of this module only: what an open file remembers between two pieces
// of its backup stream.
#ifndef MOLDEX_PLATFORM_BACKUP_CONTEXT_WIN32_H_
#define MOLDEX_PLATFORM_BACKUP_CONTEXT_WIN32_H_

#include "platform/backup_filter.h"
#include "platform/file_handle.h"

namespace moldex {

struct CFileHandle::BackupContext {
  explicit BackupContext(bool reads) : reading(reads) {}
  BackupContext(const BackupContext&) = delete;
  BackupContext& operator=(const BackupContext&) = delete;
  ~BackupContext() { (void)Release(); }

  // Gives the context back to the system, through the function that made it.
  Result<void> Release();

  bool reading;
  CBackupFilter filter;  // writing: the streams that may reach the system
  void* context = nullptr;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_BACKUP_CONTEXT_WIN32_H_
