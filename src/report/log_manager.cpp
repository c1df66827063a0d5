#include "report/log_manager.h"

#include "report/except.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {

void CConsoleLogMan::PrintMessage(const std::string& text) {
  WriteEscapedForTerminal(text);
  WriteOutput("\n");
  FlushOutput();
}

void CConsoleLogMan::PrintInfo(CUserInfo& info) { info.Print(); }

int CConsoleLogMan::OpenLog(const std::string& name) {
  std::ofstream log(name, std::ios::out | std::ios::trunc);
  if (!log.is_open()) {
    RememberSystemError();
    return -1;
  }
  logs_.push_back({std::move(log), name});
  return static_cast<int>(logs_.size()) - 1;
}

bool CConsoleLogMan::WriteLog(int handle, const std::string& line) {
  if (handle < 0 || static_cast<std::size_t>(handle) >= logs_.size()) return false;
  Log& log = logs_[static_cast<std::size_t>(handle)];
  if (log.stream.fail()) return true;
  log.stream << line << '\n' << std::flush;
  if (!log.stream.fail()) return true;
  RememberSystemError();
  CWriteExcept failure(log.name);
  PrintInfo(failure);
  return true;
}

}  // namespace moldex
