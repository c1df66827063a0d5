// The state of one run of the program: the options, the log manager, the progress, the statistics,
// the archive, and whether files could not be read. There is one per process, from the entry
// point's first line to its last.
#ifndef MOLDEX_RUN_RUN_CONTEXT_H_
#define MOLDEX_RUN_RUN_CONTEXT_H_

#include <string>

#include "report/log_manager.h"
#include "report/progress.h"
#include "run/files_in_use.h"
#include "run/options.h"
#include "run/sought_names.h"
#include "run/statistics.h"

namespace moldex {

// The file in the current directory that -e sends all text to.
inline constexpr char kRedirectFile[] = "moldex_output";

class CRunContext {
 public:
  // The longest archive name that create and append take, in bytes.
  static constexpr std::size_t kLongestArchiveName = 260;

  // The context of this process, created on first use together with the options record.
  static CRunContext& GetInstance();
  static void Destroy();

  ~CRunContext();

  CCmdLineOptions& options() { return *options_; }
  CConsoleLogMan& log() { return log_; }
  CProgress& progress() { return progress_; }
  CStatistics& statistics() { return statistics_; }
  CSoughtNames& sought_names() { return sought_names_; }

  // Takes the archive's name from the options, and remembers the directory where the run started.
  void FixArchiveName();
  const std::string& archive_name() const { return archive_name_; }
  // The archive's full path with "/" as separator.
  const std::string& archive_path() const { return archive_path_; }

  // The archives that a reading command works on.
  std::vector<std::string> ArchiveList() const;

  // Looks up the files that no entry may be extracted over: these archives, the list file, and
  // the files that messages go to. An archive that is open may be added to them.
  void FindFilesInUse(const std::vector<std::string>& archives);
  CFilesInUse& files_in_use() { return files_in_use_; }

  int command_code() const { return command_code_; }
  void set_command_code(int code) { command_code_ = code; }

  // Notes a file that create or append leaves out because it cannot be read: a message, or with -e
  // a line in "moldex.log" in the directory where the run started. Throws COpenExcept when that log
  // cannot be opened, or is the archive. A hint gives the reason: `why`, or the system's remembered
  // error when that is null.
  void ReportInaccessibleFile(const std::string& name, const char* why);
  bool files_inaccessible() const { return files_inaccessible_; }

  // Long-name mode: the mode of the current archive, or, until an archive is read or appended to,
  // the mode that the options ask for. It is stored in platform/, because it changes the form of
  // paths.
  bool long_names() const;
  void SetLongNames(bool on);

 private:
  CRunContext();

  CConsoleLogMan log_;
  CCmdLineOptions* options_;
  CProgress progress_;
  CStatistics statistics_;
  CSoughtNames sought_names_;
  std::string start_directory_;
  std::string archive_name_;
  std::string archive_path_;
  CFilesInUse files_in_use_;
  int command_code_ = kNoCommand;
  bool files_inaccessible_ = false;
  int inaccessible_log_ = -1;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_RUN_CONTEXT_H_
