#include "report/exit_status.h"

namespace moldex {
namespace {

int exit_status = 0;

}  // namespace

void SetExitStatus(int status) { exit_status = status; }

int ExitStatus() { return exit_status; }

}  // namespace moldex
