// Cuts an archive back after a failure to write into it: incomplete new entries go, and everything
// before them stays.
#ifndef MOLDEX_ARCHIVE_CUT_BACK_H_
#define MOLDEX_ARCHIVE_CUT_BACK_H_

#include <cstdint>
#include <optional>
#include <string>

#include "platform/file_handle.h"

namespace moldex {

// The status of an archive that is to be cut back. A closed archive is opened again, because
// closing it may have been what failed. Empty when it cannot be opened, or when something else has
// its name by now.
std::optional<FileStatus> ReopenArchive(CFileHandle& file, const std::string& path,
                                        const FileIdentity& identity);

// Cuts the open file back to `size_bytes` and closes it; `status` is what ReopenArchive returned.
// Returns a line that reports a failure, with the system's error; empty on success.
std::string CutBack(CFileHandle& file, const std::optional<FileStatus>& status,
                    std::uint64_t size_bytes, const std::string& archive_name);

// A line about a failed repair: "MOLDEX: ", the text, the archive's name and the system's error.
std::string RepairFailure(const std::string& text, const std::string& archive_name);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CUT_BACK_H_
