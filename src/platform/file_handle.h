// One open file. It has one position, which reads and writes move; Skip, SeekToEnd and SetPosition
// move it without a transfer.
//
// This is the seam to the operating system: everything above it is the same on every system. A call
// that fails returns the system's error and remembers it for messages (platform/result.h). A call
// on a file that is not open fails. Unless a call says otherwise, a failure leaves the file open.
#ifndef MOLDEX_PLATFORM_FILE_HANDLE_H_
#define MOLDEX_PLATFORM_FILE_HANDLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/file_status.h"
#include "platform/result.h"

namespace moldex {

// How Open opens. Without a flag: an existing file, for reading.
enum OpenFlags : unsigned {
  kOpenExisting = 0x00,
  kOpenNoLink = 0x01,     // for reading; a symbolic link is refused where the system can do that
  kOpenUtf8Path = 0x02,   // for reading; on Windows the path is UTF-8, not in the local code page
  kOpenAtEnd = 0x10,      // move to the end after opening
  kOpenCreate = 0x20,     // create or empty the file; read and write
  kOpenReadWrite = 0x40,  // an existing file, for reading and writing, locked; see Open
  kOpenExtracted = 0x80,  // with kOpenCreate: a file that comes out of an archive; see Open
  kOpenNew = 0x100        // with kOpenExtracted: fails if anything has the name, links included
};

// The outcome of writing a piece of a backup stream.
enum class BackupPiece {
  kRestored,
  kRefused  // it would do more than restore a file (backup_filter.h); nothing of it was written
};

class CFileHandle {
 public:
  CFileHandle();
  CFileHandle(CFileHandle&& other) noexcept;
  CFileHandle& operator=(CFileHandle&& other) noexcept;
  CFileHandle(const CFileHandle&) = delete;
  CFileHandle& operator=(const CFileHandle&) = delete;
  // Closes. All that was written stays on disk.
  ~CFileHandle();

  // Opens a file. A file that was open before is closed, even if this call fails. Directories are
  // refused. With kOpenCreate a missing file is made; without, the call fails.
  //
  // With kOpenReadWrite a regular file is locked until Close: opening it that way again fails, but
  // others may read it. On a file system without locks the file is used unlocked. With kOpenCreate
  // as well, a file is emptied only after it was locked, and anything but a regular file is opened
  // for writing alone; a named pipe then waits for its reader.
  //
  // kOpenExtracted makes a file that nobody else can reach through the name while its data arrive:
  // only its owner can read it until SetPermissions. A symbolic link of that name is replaced
  // rather than followed. So is a file with other names, which keep its bytes, and, on POSIX, a
  // file of another user. A file that its owner may not write to is refused, and so is anything
  // else that is no regular file.
  Result<void> Open(const std::string& path, unsigned flags);
  bool IsValid() const { return handle_ != kInvalid; }
  // Fails when the system reports that earlier writes were lost; the file is closed all the same.
  // Closing twice does nothing.
  Result<void> Close();
  // Closes the file and deletes it; `path` is its name. Where the system allows it, the name goes
  // first, so that nobody else begins to write into the file in between.
  Result<void> Delete(const std::string& path);
  // Ends the writes to a file that is to get a date or permissions. Fails as Close does. On a
  // system that keeps these by the file's name the file is closed here. After this call only
  // SetDate, SetPermissions, SetAttributes and, at the end, Close may follow.
  Result<void> EndWriting();

  // Reads as much as fits, and returns how many bytes that were: fewer only at the end of the file.
  // A failure may come after some bytes were read; the position is undefined then.
  Result<std::size_t> Read(std::span<std::uint8_t> buffer);
  // The same, but an end of the file before the buffer is full is a failure, with no system error.
  Result<void> ReadAll(std::span<std::uint8_t> buffer);
  // Makes one read of the system. Returns at least 1 byte; 0 at the end of the file.
  Result<std::size_t> ReadSome(std::span<std::uint8_t> buffer);
  // Writes all bytes. A failure may come after some were written, as on a full disk.
  Result<void> WriteAll(std::span<const std::uint8_t> bytes);

  // Moves the position forward by a 64-bit distance in two halves, also beyond the end of the file.
  // Fails, without moving, when a half is negative and when the system refuses, as in a pipe.
  Result<void> Skip(std::int32_t low, std::int32_t high);
  Result<void> SeekToEnd();

  // Says that a part of the file which is skipped and never written need take no space. A file
  // system that cannot do that keeps zeros there, as it does everywhere without this call.
  void AllowHoles();

  // The low 32 bits of the position. Throws CInvalidHandle and CGetFilePosExcept.
  std::uint32_t GetPosition();
  // Moves to a 32-bit position. Throws CInvalidHandle and CSetFilePointerExcept.
  void SetPosition(std::uint32_t position);

  // Status of the open file itself, whatever happened to its name.
  Result<FileStatus> Status() const;
  // Cuts the file to `size_bytes` and moves to its new end.
  Result<void> Truncate(std::uint64_t size_bytes);
  // After EndWriting: sets access and modification time, in seconds since 1970-01-01 00:00 UTC.
  Result<void> SetDate(std::uint32_t seconds);
  // Before EndWriting: sets the modification time alone, as a Windows file time (file_time.h).
  Result<void> SetLastWriteTime(std::uint64_t file_time);
  // Sets the permission bits (kModePermissions).
  Result<void> SetPermissions(std::uint32_t bits);
  // Sets Windows attributes, as SetAttributesAt does for a name.
  Result<void> SetAttributes(std::uint32_t attributes, bool executable);

  // Reads the file as a backup stream (backup_stream.h), piece by piece: its bytes and whatever
  // else the system keeps of it. A piece of 0 bytes is the end. The file's position belongs to the
  // backup until EndBackup.
  Result<std::size_t> BackupRead(std::span<std::uint8_t> buffer);
  // Restores the file from a backup stream that is cut into pieces of any size. Streams that the
  // system has no place for are passed over.
  Result<BackupPiece> BackupWrite(std::span<const std::uint8_t> bytes);
  // Ends what BackupRead or BackupWrite began. Fails when a stream was left incomplete.
  Result<void> EndBackup();

  struct BackupContext;

 private:
  static constexpr std::intptr_t kInvalid = -1;

  Result<std::size_t> WriteSome(std::span<const std::uint8_t> bytes);
  Result<void> MoveToSkipped();

  std::intptr_t handle_ = kInvalid;
  bool may_wait_ = false;  // transfers may have to wait for somebody else, as with a pipe
  // The position that skips have moved to. A system that can read from a given position learns of
  // it only when something other than a read follows.
  std::optional<std::uint64_t> read_position_;
  std::string name_;  // from Open to Close, where the system needs it
  std::unique_ptr<BackupContext> backup_;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_FILE_HANDLE_H_
