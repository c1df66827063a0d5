// The archives that the value of -f names.
#ifndef MOLDEX_RUN_ARCHIVE_LIST_H_
#define MOLDEX_RUN_ARCHIVE_LIST_H_

#include <cstdint>
#include <string>
#include <vector>

namespace moldex {

inline constexpr char kDefaultArchive[] = "DEFAULT.QEL";

// Whether a value names no archive at all.
bool NamesNoArchive(const char* value);

// A value that names an existing file as it stands is that one archive. Otherwise it is a list,
// split at "," where it holds one and at blanks where it does not; "*" and "?" in the last part of
// a name are expanded, sorted by name. With `ignore_case`, capital and small letters match each
// other. A pattern that matches nothing stays as it is, so that opening it reports it. Never empty:
// a value without any name is opened as it is, which reports it.
std::vector<std::string> ExpandArchiveList(const std::string& value, bool ignore_case);

// The size of all archives of a list together; 0 when that of one cannot be known. An archive that
// cannot be looked up counts as 0; opening it reports it.
std::uint64_t TotalBytes(const std::vector<std::string>& archives);

}  // namespace moldex

#endif  // MOLDEX_RUN_ARCHIVE_LIST_H_
