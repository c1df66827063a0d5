#include "driver/text_target.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_services.h"
#include "report/output.h"
#include "report/system_error.h"
#include "run/archive_list.h"
#include "run/run_context.h"

namespace moldex {
namespace {

std::vector<std::string> Archives(const CCmdLineOptions& options) {
  const std::string value =
      options.archive_value != nullptr ? options.archive_value : kDefaultArchive;
  if (IsOneOf(options.command_code, kEntryWriters)) return {value};
  std::vector<std::string> archives = ExpandArchiveList(value, options.ignore_case);
  // A command line without a command is wrong. Any name in it may be meant as the archive's.
  if (options.command_code == kNoCommand) {
    archives.insert(archives.end(), options.file_names.begin(), options.file_names.end());
  }
  return archives;
}

// Whether the run reads or writes an archive that is this file.
bool IsArchive(const CCmdLineOptions& options, const std::optional<FileStatus>& file) {
  const int command = options.command_code;
  if (!file || command == kCommandScan) return false;
  // Text does no harm to a terminal or a pipe that an archive is read from.
  const bool reads_only = !IsOneOf(command, kEntryWriters | SetOf(kCommandMerge));
  if (reads_only && file->kind != FileKind::kRegular) return false;
  const CSystemErrorGuard guard;
  const std::vector<std::string> archives = Archives(options);
  return std::any_of(archives.begin(), archives.end(), [&](const std::string& name) {
    const auto archive = QueryStatus(name);
    return archive && archive->identity == file->identity;
  });
}

// Tries the file without emptying it: it may be the archive.
void RedirectOutput(const CCmdLineOptions& options, bool archive_is_output) {
  std::FILE* file = std::fopen(kRedirectFile, "a+");
  if (file != nullptr) std::fclose(file);
  if (file != nullptr && IsArchive(options, QueryStatus(kRedirectFile).AsOptional())) {
    SendTextPastArchives(options);
  } else if (file == nullptr || !SendTextToFile(kRedirectFile, archive_is_output)) {
    std::fputs("MOLDEX: could not redirect stdout to file moldex_output\n", stderr);
  }
}

}  // namespace

void SendTextPastArchives(const CCmdLineOptions& options) {
  if (IsArchive(options, StandardStreamStatus(StandardStream::kError))) {
    DropText();
  } else {
    SendTextToError();
  }
}

bool KeepTextOutOfArchives(CCmdLineOptions& options) {
  const bool archive_is_output = IsArchive(options, StandardStreamStatus(StandardStream::kOutput));
  if (archive_is_output) SendTextPastArchives(options);
  options.PrintNotes();
  return archive_is_output;
}

void DirectText(CCmdLineOptions& options) {
  const bool archive_is_output = KeepTextOutOfArchives(options);
  if (options.redirect_output) RedirectOutput(options, archive_is_output);
}

}  // namespace moldex
