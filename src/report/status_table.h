// What the program's exit statuses mean: the table as README.md and the man page show it. It is
// made of texts because one meaning may stand for several numbers; error_codes.h has the numbers
// that the code uses. Words in backquotes are what somebody types.
#ifndef MOLDEX_REPORT_STATUS_TABLE_H_
#define MOLDEX_REPORT_STATUS_TABLE_H_

#include <string_view>

namespace moldex {

struct StatusRow {
  std::string_view statuses;  // "22 to 26, 31, 46"
  std::string_view meaning;
};

inline constexpr StatusRow kStatusTable[] = {
    {"0", "success; usage or version printed"},
    {"2", "out of memory"},
    {"3", "a directory cannot be created"},
    {"4", "error writing; or some of the output could not be written"},
    {"5", "error reading: a file has become shorter, an archive ends too early"},
    {"6", "a file or archive cannot be opened"},
    {"12", "checksum error"},
    {"13, 14", "permissions, date cannot be set"},
    {"17", "the working directory cannot be determined"},
    {"18, 19, 20", "option given twice; without its value; unknown"},
    {"21", "no command given"},
    {"22 to 26, 31, 46", "options that do not go with each other or with the command"},
    {"27", "`-p` without an octal number"},
    {"28", "a file cannot be opened for writing"},
    {"29", "no files or archives given"},
    {"30", "the space report found too little space"},
    {"32, 33, 34", "unexpected failure; text out of range; text too long"},
    {"38", "free space cannot be determined"},
    {"40",
     "not an archive; fewer entries than names were found; an old archive is damaged, or something "
     "of it was left out"},
    {"43", "a list file breaks its format"},
    {"44", "inaccessible files were left out"},
    {"45", "a link has no target"},
    {"47",
     "a name cannot be converted to or from UTF-8, or a word of the command line not to the code "
     "page"},
    {"48", "file attributes cannot be set"},
    {"49, 51", "security and long-name options that need each other"},
    {"50", "privileges cannot be acquired"},
    {"52, 53, 54", "invalid file handle; position cannot be read; position cannot be set"},
    {"55", "a name leaves the target directory and was left out"},
    {"56", "a name in the archive is longer than 260 bytes"},
    {"57", "a length in the archive breaks the format's limits or does not agree with the data"},
    {"58", "an archive was to be merged with itself"},
    {"59", "a name that this system gives another meaning was left out"},
    {"60", "an entry that would have replaced a file that the run is using was left out"},
    {"100", "any other failure, damaged compressed data among them"},
    {"130, 143", "interrupted by Ctrl-C, asked to end by SIGTERM; 129, 141 by SIGHUP, SIGPIPE"},
    {"101 and up",
     "100 plus the system's error number, when a directory cannot be entered or a file's status "
     "not be read"},
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_STATUS_TABLE_H_
