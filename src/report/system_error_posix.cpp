#include <cerrno>
#include <cstring>

#include "report/system_error.h"

namespace moldex {
namespace {

SystemError last_error;

}  // namespace

void RememberSystemError() { RememberErrno(errno); }

void RememberErrno(int errno_value) {
  last_error = {static_cast<std::uint32_t>(errno_value), errno_value};
}

const SystemError& LastSystemError() { return last_error; }

void RestoreSystemError(const SystemError& error) { last_error = error; }

std::string LastSystemErrorText() {
  return last_error.code == 0 ? std::string() : std::string(strerror(last_error.errno_value));
}

}  // namespace moldex
