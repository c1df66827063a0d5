#include <windows.h>

#include <cerrno>

#include "platform/backup_context_win32.h"
#include "platform/file_handle.h"
#include "platform/system_win32.h"
#include "report/system_error.h"

namespace moldex {

bool CFileHandle::BackupContext::Release() {
  if (context == nullptr) return true;
  DWORD count = 0;
  const BOOL done = reading ? ::BackupRead(nullptr, nullptr, 0, &count, TRUE, FALSE, &context)
                            : ::BackupWrite(nullptr, nullptr, 0, &count, TRUE, FALSE, &context);
  context = nullptr;
  return Succeeded(done != FALSE);
}

Transfer CFileHandle::BackupRead(std::span<std::uint8_t> buffer) {
  if (!backup_) backup_ = std::make_unique<BackupContext>(true);
  DWORD count = 0;
  const BOOL done =
      ::BackupRead(SystemHandle(handle_), buffer.data(), static_cast<DWORD>(buffer.size()), &count,
                   FALSE, TRUE, &backup_->context);
  return {Succeeded(done != FALSE), count};
}

Transfer CFileHandle::BackupWrite(std::span<const std::uint8_t> bytes) {
  if (!backup_) backup_ = std::make_unique<BackupContext>(false);
  const auto judged = backup_->filter.Take(bytes);
  if (!judged) return {false, 0, true};
  if (judged->empty()) return {true, bytes.size()};
  DWORD count = 0;
  // The system only reads the bytes, whatever its declaration says.
  auto* start = const_cast<std::uint8_t*>(judged->data());  // NOLINT
  const BOOL done = ::BackupWrite(SystemHandle(handle_), start, static_cast<DWORD>(judged->size()),
                                  &count, FALSE, TRUE, &backup_->context);
  if (!Succeeded(done != FALSE) || count != judged->size()) return {};
  return {true, bytes.size()};
}

bool CFileHandle::FinishBackup() {
  const auto context = std::move(backup_);
  if (!context) return true;
  if (!context->Release()) return false;
  if (context->filter.AtStreamEnd()) return true;
  RememberErrno(EIO);  // the archive's stream ends in the middle
  return false;
}

}  // namespace moldex
