#include "report/system_error.h"

#include <windows.h>

#include <cerrno>
#include <memory>

namespace moldex {
namespace {

thread_local SystemError last_error;

struct ErrorPair {
  DWORD code;
  int errno_value;
};

// The runtime library's numbers for the system's errors. The first code of a number is also the
// system error that the number stands for.
constexpr ErrorPair kErrors[] = {
    {ERROR_FILE_NOT_FOUND, ENOENT},
    {ERROR_PATH_NOT_FOUND, ENOENT},
    {ERROR_INVALID_DRIVE, ENOENT},
    {ERROR_NO_MORE_FILES, ENOENT},
    {ERROR_BAD_NETPATH, ENOENT},
    {ERROR_BAD_NET_NAME, ENOENT},
    {ERROR_BAD_PATHNAME, ENOENT},
    {ERROR_INVALID_NAME, ENOENT},
    {ERROR_ACCESS_DENIED, EACCES},
    {ERROR_SHARING_VIOLATION, EACCES},
    {ERROR_LOCK_VIOLATION, EACCES},
    {ERROR_WRITE_PROTECT, EACCES},
    {ERROR_NETWORK_ACCESS_DENIED, EACCES},
    {ERROR_CANT_ACCESS_FILE, EACCES},
    {ERROR_PRIVILEGE_NOT_HELD, EPERM},
    {ERROR_ALREADY_EXISTS, EEXIST},
    {ERROR_FILE_EXISTS, EEXIST},
    {ERROR_DIRECTORY, ENOTDIR},
    {ERROR_DIR_NOT_EMPTY, ENOTEMPTY},
    {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
    {ERROR_INVALID_HANDLE, EBADF},
    {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},
    {ERROR_OUTOFMEMORY, ENOMEM},
    {ERROR_DISK_FULL, ENOSPC},
    {ERROR_HANDLE_DISK_FULL, ENOSPC},
    {ERROR_BROKEN_PIPE, EPIPE},
    {ERROR_NO_DATA, EPIPE},
    {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
    {ERROR_CANT_RESOLVE_FILENAME, ELOOP},
    {ERROR_FILE_TOO_LARGE, EFBIG},
    {ERROR_ARITHMETIC_OVERFLOW, EOVERFLOW},
    {ERROR_CALL_NOT_IMPLEMENTED, ENOSYS},
    {ERROR_NOT_SUPPORTED, ENOTSUP},
    {ERROR_IO_DEVICE, EIO},
    {ERROR_INVALID_PARAMETER, EINVAL},
};

int ErrnoOf(DWORD code) {
  if (code == ERROR_SUCCESS) return 0;
  for (const ErrorPair& pair : kErrors) {
    if (pair.code == code) return pair.errno_value;
  }
  return EINVAL;
}

DWORD CodeOf(int errno_value) {
  if (errno_value == 0) return ERROR_SUCCESS;
  for (const ErrorPair& pair : kErrors) {
    if (pair.errno_value == errno_value) return pair.code;
  }
  return ERROR_GEN_FAILURE;
}

struct FreeLocal {
  void operator()(char* memory) const { LocalFree(memory); }
};

}  // namespace

const SystemError& RememberSystemError() {
  const DWORD code = GetLastError();
  last_error = {code, ErrnoOf(code)};
  return last_error;
}

const SystemError& RememberErrno(int errno_value) {
  last_error = {CodeOf(errno_value), errno_value};
  return last_error;
}

const SystemError& LastSystemError() { return last_error; }

void RestoreSystemError(const SystemError& error) { last_error = error; }

// Standard output turns every line feed into the system's line break, even the line feed at the end
// of such a line break. So the sentence gets plain line feeds, like all text in the program.
std::string SystemErrorText(const SystemError& error) {
  if (error.code == 0) return {};
  char* memory = nullptr;
  const DWORD flags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD length =
      FormatMessageA(flags, nullptr, error.code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<char*>(&memory), 0, nullptr);
  const std::unique_ptr<char, FreeLocal> owner(memory);
  std::string text(memory != nullptr ? memory : "", length);
  std::erase(text, '\r');
  return text;
}

std::string LastSystemErrorText() { return SystemErrorText(last_error); }

}  // namespace moldex
