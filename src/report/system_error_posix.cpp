#include <cerrno>
#include <cstring>

#include "report/system_error.h"

namespace moldex {
namespace {

thread_local SystemError last_error;

}  // namespace

const SystemError& RememberSystemError() { return RememberErrno(errno); }

const SystemError& RememberErrno(int errno_value) {
  last_error = {static_cast<std::uint32_t>(errno_value), errno_value};
  return last_error;
}

const SystemError& LastSystemError() { return last_error; }

void RestoreSystemError(const SystemError& error) { last_error = error; }

std::string SystemErrorText(const SystemError& error) {
  return error.code == 0 ? std::string() : std::string(strerror(error.errno_value));
}

std::string LastSystemErrorText() { return SystemErrorText(last_error); }

}  // namespace moldex
