#include "run/run_context.h"

#include <cerrno>
#include <memory>

#include "platform/file_services.h"
#include "platform/long_name.h"
#include "report/except.h"
#include "report/hints.h"
#include "report/system_error.h"
#include "run/archive_list.h"

namespace moldex {
namespace {

std::unique_ptr<CRunContext> instance;

constexpr char kInaccessibleLog[] = "moldex.log";

bool IsSameFile(const std::string& path, const std::string& other) {
  const CSystemErrorGuard guard;
  const auto status = QueryStatus(path);
  const auto other_status = QueryStatus(other);
  return status && other_status && status->identity == other_status->identity;
}

}  // namespace

CRunContext& CRunContext::GetInstance() {
  if (!instance) instance.reset(new CRunContext);
  return *instance;
}

void CRunContext::Destroy() { instance.reset(); }

CRunContext::CRunContext() : options_(&CCmdLineOptions::GetInstance()) {}

CRunContext::~CRunContext() { CCmdLineOptions::Destroy(); }

void CRunContext::FixArchiveName() {
  const char* value = options_->archive_value;
  archive_name_ =
      std::string(value != nullptr ? value : kDefaultArchive).substr(0, kLongestArchiveName);
  start_directory_ = CurrentDirectory().value_or("");
  const PathRules rules = SystemPathRules();
  archive_path_ = WithSlashes(rules, IsAbsolutePath(rules, archive_name_)
                                         ? archive_name_
                                         : JoinPath(start_directory_, archive_name_));
}

bool CRunContext::long_names() const { return LongNameMode(); }

void CRunContext::SetLongNames(bool on) { SetLongNameMode(on); }

std::vector<std::string> CRunContext::ArchiveList() const {
  const char* value = options_->archive_value;
  return ExpandArchiveList(value != nullptr ? value : kDefaultArchive, options_->ignore_case);
}

void CRunContext::FindFilesInUse(const std::vector<std::string>& archives) {
  for (const std::string& name : archives)
    files_in_use_.Add(name);
  if (options_->include_file != nullptr) files_in_use_.Add(options_->include_file);
  for (const StandardStream stream : {StandardStream::kOutput, StandardStream::kError}) {
    if (const auto status = StandardStreamStatus(stream)) files_in_use_.Add(status->identity);
  }
  if (!options_->redirect_output) return;
  for (const char* log : {kRedirectFile, kInaccessibleLog})
    files_in_use_.Add(JoinPath(start_directory_, log));
}

void CRunContext::ReportInaccessibleFile(const std::string& name, const char* why) {
  const bool first = !files_inaccessible_;
  files_inaccessible_ = true;
  if (!options_->redirect_output) {
    const std::string reason = why != nullptr ? why : LastSystemErrorText();
    log_.PrintMessage("MOLDEX: inaccessible file " + name);
    if (!reason.empty()) ShowHint(name + ": " + reason.substr(0, reason.find('\n')));
    return;
  }
  if (first) {
    const std::string path = JoinPath(start_directory_, kInaccessibleLog);
    const bool is_archive = IsSameFile(path, archive_path_);
    if (is_archive) RememberErrno(EBUSY);
    inaccessible_log_ = is_archive ? -1 : log_.OpenLog(path);
    if (inaccessible_log_ < 0) throw COpenExcept(kInaccessibleLog);
    log_.WriteLog(inaccessible_log_, "# List of inaccessible files");
    log_.WriteLog(inaccessible_log_, "# ==========================");
  }
  log_.WriteLog(inaccessible_log_, name);
}

}  // namespace moldex
