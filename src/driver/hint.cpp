#include "driver/hint.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "report/error_codes.h"
#include "report/hints.h"
#include "report/last_failure.h"
#include "run/command.h"

namespace moldex {
namespace {

constexpr CommandSet kAny = kAnyCommand;
constexpr CommandSet kCreate = SetOf(kCommandCreate);
constexpr CommandSet kAppend = SetOf(kCommandAppend);
constexpr CommandSet kExtract = SetOf(kCommandExtract);
constexpr CommandSet kMerge = SetOf(kCommandMerge);
constexpr CommandSet kWriting = kEntryWriters;
constexpr CommandSet kUnpacking = kExtract | SetOf(kCommandVerify);
constexpr CommandSet kReading = kUnpacking | SetOf(kCommandList);

struct Hint {
  int what;             // as in PrintedFailure
  int errno_value;      // 0 for any
  CommandSet commands;  // that it helps
  const char* text;
};

constexpr char kUsageHint[] = "moldex without arguments prints its options, with examples";
constexpr char kElsewhereHint[] = "-R DIRECTORY extracts somewhere else";
constexpr char kDamageHint[] =
    "the archive is damaged there; its other entries can still be extracted by their names";

constexpr Hint kHints[] = {
    {kErrorOptionValue, 0, kAny, kUsageHint},
    {kErrorUnknownOption, 0, kAny, kUsageHint},
    {kErrorNoCommand, 0, kAny, kUsageHint},
    {kErrorNoFiles, 0, kAny, kUsageHint},
    {kErrorNoOctalValue, 0, kAny, "-p takes permissions in octal digits, such as -p 644"},
    {kErrorListFormat, 0, kAny, "a line of -T is OLD|NEW, a line of -A or -X is a name"},
    {kErrorOpen, ENOENT, kAppend, "-c makes a new archive"},
    {kErrorOpen, EACCES, kWriting, "-f names the archive; use a directory where you may write"},
    {kErrorWrite, ENOSPC, kWriting, "-f may name an archive on a volume that has more space"},
    {kErrorInaccessible, 0, kCreate,
     "the archive was not kept; -i keeps it, without the inaccessible files"},
    {kErrorInaccessible, 0, kAppend,
     "nothing was appended; -i appends the rest, without the inaccessible files"},
    {kErrorNoLinkTarget, 0, kWriting, "-r stores links themselves, whatever they point to"},
    {kFailureInvalidArchive, 0, kAppend, "only a .QEL archive can be appended to; -c makes one"},
    {kFailureInvalidArchive, 0, kReading,
     "moldex reads .QEL archives, and tar archives that are not compressed"},
    {kFailureShortArchive, 0, kReading,
     "the file is too short to be an archive; it may be an incomplete copy"},
    {kFailureNamesNotFound, 0, kUnpacking, "moldex -tf ARCHIVE lists the names to use"},
    {kFailureDamagedData, 0, kUnpacking, kDamageHint},
    {kErrorChecksum, 0, kUnpacking, kDamageHint},
    {kErrorRead, 0, kReading & ~SetOf(kCommandVerify),
     "moldex -df ARCHIVE says where the good part ends"},
    {kErrorConversion, 0, kReading, "a UTF-8 locale has the characters of every name"},
    {kErrorWrite, ENOSPC, kExtract, "moldex -tsf ARCHIVE says how much space is missing"},
    {kErrorSetPermissions, 0, kExtract,
     "-h leaves the permissions of directories alone, -R DIRECTORY extracts somewhere else"},
    {kErrorCreateDirectory, 0, kExtract, kElsewhereHint},
    {kErrorOpenForWriting, 0, kExtract, kElsewhereHint},
    {kErrorReplacesArchive, 0, kExtract, kElsewhereHint},
    {kErrorGeneric, 0, kMerge, "-m takes both archives in one value: -mf \"SOURCE TARGET\""},
};

}  // namespace

void PrintHints(int command_code) {
  ShowKeptHints();
  const PrintedFailure& failure = LastFailure();
  const auto* hint = std::find_if(std::begin(kHints), std::end(kHints), [&](const Hint& row) {
    return row.what == failure.what && IsOneOf(command_code, row.commands) &&
           (row.errno_value == 0 || row.errno_value == failure.errno_value);
  });
  if (hint != std::end(kHints)) ShowHint(hint->text);
}

}  // namespace moldex
