// Files and directories by name: the calls of the operating system that need no open file.
//
// A call that fails returns the system's error and remembers it for messages (platform/result.h). A
// name under which nothing exists is a failure unless the call says otherwise. Names are the
// system's own, in the local code page.
#ifndef MOLDEX_PLATFORM_FILE_SERVICES_H_
#define MOLDEX_PLATFORM_FILE_SERVICES_H_

#include <cstdint>
#include <optional>
#include <string>

#include "base/path_rules.h"
#include "platform/file_status.h"
#include "platform/result.h"

namespace moldex {

// The rules of names of the system that the program runs on.
PathRules SystemPathRules();

// Status of the object that a name leads to, symbolic links followed.
Result<FileStatus> QueryStatus(const std::string& path);

// Status of the name itself: a symbolic link is reported as one.
Result<FileStatus> QueryLinkStatus(const std::string& path);

// The same for a name in the directory with this identity. Also fails when the path now leads to
// another directory, as far as the system can tell.
Result<FileStatus> QueryLinkStatusIn(const FileIdentity& directory, const std::string& path);

enum class StandardStream { kOutput, kError };

// Status of the file that a standard stream is. Empty when the stream is closed or is the null
// device, and where the system cannot tell one device or pipe from another. Remembers no error.
std::optional<FileStatus> StandardStreamStatus(StandardStream stream);

enum class Existence { kExists, kMissing };

// Whether an object of this name exists. Its absence is an answer, not a failure; the call fails
// when the system does not say.
Result<Existence> TestExistence(const std::string& path);

// Creates one directory. Succeeds also when a directory of that name, or a link to one, exists.
// Tells whether one did.
Result<Existence> CreateDirectoryAt(const std::string& path);

// The same for a directory that only its owner may enter, where the system's permissions can say
// so. A directory that exists stays as it is.
Result<Existence> CreatePrivateDirectoryAt(const std::string& path);

// The target of a symbolic link, as it stands in the link. Fails for anything else.
Result<std::string> ReadSymbolicLink(const std::string& path);

// Makes a symbolic link. A file or link of that name is replaced; a directory and a read-only file
// are a failure and stay.
Result<void> CreateSymbolicLink(const std::string& path, const std::string& target);

// Sets the modification time of a symbolic link itself.
Result<void> SetLinkDate(const std::string& path, const TimePoint& time);

// Bytes that the caller may still write to the volume of `path`. -1 on a system that cannot tell.
Result<double> DiskFreeSpace(const std::string& path);

Result<void> DeleteFileAt(const std::string& path);

// Sets the permission bits (kModePermissions) of a file or directory. The other bits of its mode
// stay.
Result<void> SetPermissionsAt(const std::string& path, std::uint32_t bits);

// Sets Windows attributes, as far as the system knows them. `executable` applies where the right to
// execute does not come from the name.
Result<void> SetAttributesAt(const std::string& path, std::uint32_t attributes, bool executable);

// Gives a directory that came out of an archive the permissions of its entry's mode. In long-name
// mode the mode was made from attributes, which say nothing about the right to search. Everybody
// who may read may search then.
Result<void> SetDirectoryModeAt(const std::string& path, std::uint32_t mode, bool long_names);

// Marks a directory as hidden, or as a system directory, where its entry's mode says so and the
// system knows such directories.
Result<void> AddDirectoryAttributesAt(const std::string& path, std::uint32_t mode);

Result<std::string> CurrentDirectory();

Result<void> ChangeDirectory(const std::string& path);

// Succeeds when ChangeDirectory would succeed now. The current directory stays what it is.
Result<void> CanEnterDirectory(const std::string& path);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_FILE_SERVICES_H_
