#include <windows.h>

#include <cerrno>

#include "platform/backup_context_win32.h"
#include "platform/file_handle.h"
#include "platform/system_win32.h"
#include "report/system_error.h"

namespace moldex {

Result<void> CFileHandle::BackupContext::Release() {
  if (context == nullptr) return {};
  DWORD count = 0;
  const BOOL done = reading ? ::BackupRead(nullptr, nullptr, 0, &count, TRUE, FALSE, &context)
                            : ::BackupWrite(nullptr, nullptr, 0, &count, TRUE, FALSE, &context);
  context = nullptr;
  return ResultOf(done);
}

Result<std::size_t> CFileHandle::BackupRead(std::span<std::uint8_t> buffer) {
  if (!backup_) backup_ = std::make_unique<BackupContext>(true);
  DWORD count = 0;
  const BOOL done =
      ::BackupRead(SystemHandle(handle_), buffer.data(), static_cast<DWORD>(buffer.size()), &count,
                   FALSE, TRUE, &backup_->context);
  if (done == FALSE) return RememberSystemError();
  return count;
}

Result<BackupPiece> CFileHandle::BackupWrite(std::span<const std::uint8_t> bytes) {
  if (!backup_) backup_ = std::make_unique<BackupContext>(false);
  const auto judged = backup_->filter.Feed(bytes);
  if (!judged) return BackupPiece::kRefused;
  if (judged->empty()) return BackupPiece::kRestored;
  DWORD count = 0;
  // The system only reads the bytes, whatever its declaration says.
  auto* start = const_cast<std::uint8_t*>(judged->data());  // NOLINT
  const BOOL done = ::BackupWrite(SystemHandle(handle_), start, static_cast<DWORD>(judged->size()),
                                  &count, FALSE, TRUE, &backup_->context);
  if (done == FALSE) return RememberSystemError();
  if (count != judged->size()) return SystemError{};
  return BackupPiece::kRestored;
}

Result<void> CFileHandle::EndBackup() {
  const auto context = std::move(backup_);
  if (!context) return {};
  const auto released = context->Release();
  if (!released) return released;
  if (context->filter.AtStreamEnd()) return {};
  return RememberErrno(EIO);  // the archive's stream ends in the middle
}

}  // namespace moldex
