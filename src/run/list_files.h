// The list files that options name: one entry a line, "#" comments and blank lines ignored.
//
// Both line ends are read, a UTF-8 byte-order mark at the start is skipped, and a last line needs
// no line end. All readers throw COpenExcept and CReadExcept for the file, and CExcept ("wrong
// format in file") for a line that breaks the rules; a NUL byte breaks them in every list.
#ifndef MOLDEX_RUN_LIST_FILES_H_
#define MOLDEX_RUN_LIST_FILES_H_

#include <map>
#include <string>
#include <vector>

namespace moldex {

// Orders names so that all spellings that this system takes for one name are equal.
struct NameOrder {
  bool operator()(const std::string& left, const std::string& right) const;
};

using RenameMap = std::map<std::string, std::string, NameOrder>;

// Names to include (-A) or to exclude (-X): each line is a name, without the blanks around it.
std::vector<std::string> ReadNameFile(const std::string& file);

// Pairs of old and new name (-T), separated by the first "|" of the line or, where there is none,
// by its first white space. Both names are normalised. Neither may be empty after that, as "."
// would be.
RenameMap ReadRenameFile(const std::string& file);

}  // namespace moldex

#endif  // MOLDEX_RUN_LIST_FILES_H_
