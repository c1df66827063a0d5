// The system that the program under test runs on, and what of a test's expectations depends on it.
//
// MOLDEX_TARGET=windows says that MOLDEX_PROGRAM is moldex.exe, run by Wine. The tests themselves
// run here either way, and see the files as this system shows them.
#ifndef MOLDEX_TESTS_SUPPORT_TARGET_H_
#define MOLDEX_TESTS_SUPPORT_TARGET_H_

#include <string>

#include "support/tree.h"

namespace moldex::test {

bool OnWindows();

// True on Windows, for a part of a test that cannot be run there: says which and why. A whole test
// is skipped instead.
bool LeftOutOnWindows(const char* part_and_reason);

// The system's sentence for an error. Windows ends it with a line break.
enum class Complaint { kNoFile, kNoPath, kIsDirectory, kDenied, kBadName, kNotADirectory };
std::string SystemText(Complaint complaint);

// The mode that is stored for a file or directory of this one. Windows knows only whether a file
// is read-only.
unsigned StoredMode(unsigned mode);

// A tree as it is after extraction: on Windows with the permissions that Wine makes of attributes.
Tree AsExtracted(Tree tree);
unsigned ExtractedMode(Kind kind, unsigned mode);

// A text without the "\r" that Windows puts in front of line feeds; unchanged elsewhere.
std::string WithLineFeeds(std::string text);

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_TARGET_H_
