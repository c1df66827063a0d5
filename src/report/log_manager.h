// Prints messages, as lines of the program's text (output.h), and keeps the log files of a run,
// files.log and moldex.log, which are no part of that text.
#ifndef MOLDEX_REPORT_LOG_MANAGER_H_
#define MOLDEX_REPORT_LOG_MANAGER_H_

#include <fstream>
#include <string>
#include <vector>

#include "report/user_info.h"

namespace moldex {

class CLogMan {
 public:
  // Writes one line, without line breaks of its own, and hands it to the system at once.
  virtual void PrintMessage(const std::string& text) = 0;
  virtual void PrintInfo(CUserInfo& info) = 0;
  virtual ~CLogMan() = default;
};

class CConsoleLogMan : public CLogMan {
 public:
  void PrintMessage(const std::string& text) override;
  void PrintInfo(CUserInfo& info) override;

  // Creates or empties a log file. Returns its handle (0, 1, 2, ...), or -1 when it cannot be
  // opened; the system's error is remembered then.
  int OpenLog(const std::string& name);

  // Writes a line and hands it to the system; false for a handle that OpenLog did not give. The
  // first line that the system does not take is reported, which sets the exit status.
  bool WriteLog(int handle, const std::string& line);

 private:
  struct Log {
    std::ofstream stream;
    std::string name;
  };

  std::vector<Log> logs_;
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_LOG_MANAGER_H_
