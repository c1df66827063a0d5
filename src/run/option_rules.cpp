// The rules on which options go with which command, for CCmdLineOptions::CheckOptions, in the order
// in which they are tried.
#include "report/except.h"
#include "run/archive_list.h"
#include "run/option_table.h"
#include "run/options.h"

namespace moldex {
namespace {

// A rule is broken when the command is one of `commands` and `applies` holds.
struct Rule {
  CommandSet commands;
  bool (*applies)(const CCmdLineOptions&);
  const char* message;
  int code;
  bool with_system_text;
};

bool NamesNothing(const CCmdLineOptions& options) {
  return options.file_names.empty() && options.include_file == nullptr;
}

const Rule kRules[] = {
    {SetOf(kCommandCreate),
     [](const CCmdLineOptions& o) { return NamesNothing(o) && o.rename_file == nullptr; },
     "MOLDEX: no files given for archiving", kErrorNoFiles, true},
    {SetOf(kCommandExtract),
     [](const CCmdLineOptions& o) {
       return o.archive_value == nullptr || NamesNoArchive(o.archive_value);
     },
     "MOLDEX: no archives specified for extracting", kErrorNoFiles, true},
    {SetOf(kCommandAppend), NamesNothing, "MOLDEX: no files specified for appending", kErrorNoFiles,
     true},
    {SetOf(kCommandScan), NamesNothing, "MOLDEX: no files specified for scanning", kErrorNoFiles,
     true},
    {SetOf(kNoCommand), [](const CCmdLineOptions&) { return true; },
     "MOLDEX: please specify a command (one of -c, -x, -t, -d, -a, -m, -l)", kErrorNoCommand, true},
    {kAnyCommand,
     [](const CCmdLineOptions& o) { return o.change_directory != nullptr && o.absolute_paths; },
     "MOLDEX: don't use both P-option and C-option", kErrorAbsoluteAndChange, true},
    {~CommandsOf("C"), [](const CCmdLineOptions& o) { return o.change_directory != nullptr; },
     "MOLDEX: use C-option only with create (-c)", kErrorChangeOption, true},
    {~CommandsOf("T"), [](const CCmdLineOptions& o) { return o.rename_file != nullptr; },
     "MOLDEX: use T-option only with create (-c) or append (-a)", kErrorRenameOption, true},
    {~CommandsOf("X"), [](const CCmdLineOptions& o) { return o.exclude_file != nullptr; },
     "MOLDEX: use X-option only with create (-c), append (-a) or scan (-l)", kErrorExcludeOption,
     true},
    {~CommandsOf("R"), [](const CCmdLineOptions& o) { return o.target_directory != nullptr; },
     "MOLDEX: use R-option only with extract (-x) or list content (-t)", kErrorTargetOption, true},
    {~CommandsOf("s"), [](const CCmdLineOptions& o) { return o.space_check; },
     "MOLDEX: use s-option only with list content (-t)", kErrorSpaceOption, true},
    {~CommandsOf("lower"), [](const CCmdLineOptions& o) { return o.lower_case; },
     "MOLDEX: use -lower only with extract (-x)", kErrorLowerOption, true},
    {kAnyCommand, [](const CCmdLineOptions& o) { return o.acl && !o.long_names; },
     "MOLDEX: use -acl with -longnames", kErrorAclOption, false},
    {kAnyCommand, [](const CCmdLineOptions& o) { return o.long_names && !o.acl; },
     "MOLDEX: use -longnames with -acl", kErrorLongNamesOption, false},
};

}  // namespace

void CCmdLineOptions::CheckOptions() {
  for (const Rule& rule : kRules) {
    if (IsOneOf(command_code, rule.commands) && rule.applies(*this)) {
      throw CExcept(rule.message, rule.code, rule.with_system_text);
    }
  }
}

}  // namespace moldex
