// Files and directories by name: the calls of the operating system that need no open file.
//
// Every failure remembers the system's error (report/system_error.h). Names are the system's own,
// in the local code page.
#ifndef MOLDEX_PLATFORM_FILE_SERVICES_H_
#define MOLDEX_PLATFORM_FILE_SERVICES_H_

#include <cstdint>
#include <optional>
#include <string>

#include "base/path_rules.h"
#include "platform/file_status.h"

namespace moldex {

// Whether something stands under a name; kUnknown when the system will not say. That nothing does
// is an answer, not a failure, and not remembered as one.
enum class Existence { kExists, kMissing, kUnknown };

// The rules of names of the system that the program runs on.
PathRules SystemPathRules();

// Status of the object that a name leads to, symbolic links followed. Empty when there is none.
std::optional<FileStatus> QueryStatus(const std::string& path);

// Status of the name itself: a symbolic link is reported as one.
std::optional<FileStatus> QueryLinkStatus(const std::string& path);

// The same of a name in the directory of this identity. Empty also where the path leads into
// another directory by now, as far as the system can tell.
std::optional<FileStatus> QueryLinkStatusIn(const FileIdentity& directory, const std::string& path);

enum class StandardStream { kOutput, kError };

// Status of the file that a standard stream is. Empty when it is closed or the null device, and
// where the system does not tell a device or a pipe from others.
std::optional<FileStatus> StandardStreamStatus(StandardStream stream);

Existence TestExistence(const std::string& path);

// True also when a directory of that name, or a link to one, exists already.
bool CreateDirectoryAt(const std::string& path);

// The same for a directory that only its owner may enter, where the system keeps it so by its
// permissions. One that exists stays as it is.
bool CreatePrivateDirectoryAt(const std::string& path);

// The target of a symbolic link, as it stands in the link. Empty when there is none.
std::optional<std::string> ReadSymbolicLink(const std::string& path);

// Makes a symbolic link; a file or link of that name is replaced, a directory or a read-only file
// is not.
bool CreateSymbolicLink(const std::string& path, const std::string& target);

// Sets the modification time of a symbolic link itself.
bool SetLinkDate(const std::string& path, const TimePoint& time);

// Bytes that the caller may still write to the volume of `path`. -1 on a system that cannot tell;
// empty when the call failed.
std::optional<double> DiskFreeSpace(const std::string& path);

bool DeleteFileAt(const std::string& path);

// Sets the permission bits (kModePermissions) of a file or directory; what else its mode holds
// stays.
bool SetPermissionsAt(const std::string& path, std::uint32_t bits);

// Sets Windows attributes, as far as the system knows them. `executable` counts where the right to
// execute does not come from the name.
bool SetAttributesAt(const std::string& path, std::uint32_t attributes, bool executable);

// Gives a directory that came out of an archive the permissions of its entry's mode. In long-name
// mode that was made from attributes, which say nothing of searching: who may read may search then.
bool SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool long_names);

// Makes a directory hidden, or one of the system, where its entry's mode says so and the system
// knows such directories.
bool AddDirectoryAttributesAt(const std::string& path, std::uint32_t mode);

// Empty text when the system cannot tell.
std::string CurrentDirectory();

bool ChangeDirectory(const std::string& path);

// Whether ChangeDirectory would succeed now. The current directory stays what it is.
bool CanEnterDirectory(const std::string& path);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_FILE_SERVICES_H_
