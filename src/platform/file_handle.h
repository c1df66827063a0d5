// One open file. It has one position, which reading and writing move; Skip, SeekToEnd and
// SetPosition move it without a transfer.
//
// This is the seam to the operating system: everything above it is the same on every system. A
// failed operation remembers the system's error (report/system_error.h) and leaves the decision to
// its caller.
#ifndef MOLDEX_PLATFORM_FILE_HANDLE_H_
#define MOLDEX_PLATFORM_FILE_HANDLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/file_status.h"

namespace moldex {

// How Open opens. Without a flag: an existing file, for reading.
enum OpenFlags : unsigned {
  kOpenExisting = 0x00,
  kOpenNoLink = 0x01,     // for reading; where the system can refuse a symbolic link, it does
  kOpenAtEnd = 0x10,      // move to the end after opening
  kOpenCreate = 0x20,     // create or empty the file; read and write
  kOpenReadWrite = 0x40,  // an existing file, for reading and writing, by nobody else; see Open
  kOpenExtracted = 0x80   // with kOpenCreate: a file that comes out of an archive, see Open
};

// How much a read or a write moved, and whether the system call succeeded. A read that meets the
// end of the file succeeds with fewer bytes than asked.
struct Transfer {
  bool ok = false;
  std::size_t bytes = 0;
  bool refused = false;  // nothing was moved, because of what the bytes are (BackupWrite)
};

class CFileHandle {
 public:
  CFileHandle();
  CFileHandle(CFileHandle&& other) noexcept;
  CFileHandle& operator=(CFileHandle&& other) noexcept;
  CFileHandle(const CFileHandle&) = delete;
  CFileHandle& operator=(const CFileHandle&) = delete;
  // Closes. What was written stays on disk.
  ~CFileHandle();

  // Opens, closing what was open before. False leaves the handle invalid. Directories are refused.
  //
  // With kOpenReadWrite a regular file is locked until Close: opening it once more that way fails,
  // while others may read. A file system that has no locks is used without. With kOpenCreate, too,
  // a file is emptied only once it is locked, and what is no regular file is opened for writing
  // alone; a named pipe then waits for its reader.
  //
  // kOpenExtracted asks for a file that nobody else can reach through the name while its data
  // arrive: it is readable by its owner alone until SetPermissions. A symbolic link of that name is
  // replaced rather than followed, and so is a file with other names, which keep its bytes, and, on
  // POSIX, a file of another user's. A file that its owner may not write to is refused, and so is
  // anything else that is no regular file.
  bool Open(const std::string& path, unsigned flags);
  bool IsValid() const { return handle_ != kInvalid; }
  // False when the system reports that earlier writes were lost. Closing twice does nothing.
  bool Close();
  // Closes, and deletes the file, whose name this is. Where the system lets it, the name goes
  // first, so that nobody else begins to write into the file in between.
  bool Delete(const std::string& path);
  // Ends the writing of a file that is to get a date or permissions; false as with Close. A system
  // that keeps these by the file's name closes it here: what may follow is SetDate, SetPermissions,
  // SetAttributes and, at the end, Close.
  bool EndWriting();

  // Move exactly the span where they can; fewer bytes mean the end of the file (read), a full disk
  // (write) or an error.
  Transfer Read(std::span<std::uint8_t> buffer);
  Transfer Write(std::span<const std::uint8_t> bytes);

  // Moves the position forward by a 64-bit distance in two halves, also beyond the end of the file.
  // False, without moving, when the handle is invalid, a half is negative (only forward moves), or
  // the system refuses, as it does in a pipe.
  bool Skip(std::int32_t low, std::int32_t high);
  bool SeekToEnd();

  // The low 32 bits of the position. Throws CInvalidHandle and CGetFilePosExcept.
  std::uint32_t GetPosition();
  // Moves to a 32-bit position. Throws CInvalidHandle and CSetFilePointerExcept.
  void SetPosition(std::uint32_t position);

  // Status of the open file itself, whatever happened to its name.
  std::optional<FileStatus> Status() const;
  // Cuts the file to `size_bytes` and moves to its new end.
  bool Truncate(std::uint64_t size_bytes);
  // After EndWriting: sets access and modification time, in seconds since 1970-01-01 00:00 UTC.
  bool SetDate(std::uint32_t seconds);
  // Before EndWriting: sets the modification time alone, as a Windows file time (file_time.h).
  bool SetLastWriteTime(std::uint64_t file_time);
  // Sets the permission bits (kModePermissions).
  bool SetPermissions(std::uint32_t bits);
  // Sets Windows attributes, as SetAttributesAt does for a name.
  bool SetAttributes(std::uint32_t attributes, bool executable);

  // The file as a backup stream (backup_stream.h), piece by piece: its bytes, and with them what
  // else the system keeps of it. A piece of 0 bytes is the end. The file's position belongs to the
  // backup until FinishBackup.
  Transfer BackupRead(std::span<std::uint8_t> buffer);
  // Restores the file from a backup stream, cut into pieces of any size. Streams that the system
  // has no place for are passed over. On a system that does what they say, those that would do more
  // than restore a file are refused (backup_filter.h).
  Transfer BackupWrite(std::span<const std::uint8_t> bytes);
  // Ends what BackupRead or BackupWrite began. False when a stream was left incomplete.
  bool FinishBackup();

  struct BackupContext;

 private:
  static constexpr std::intptr_t kInvalid = -1;

  bool Settle();

  std::intptr_t handle_ = kInvalid;
  bool may_wait_ = false;  // transfers may have to wait for somebody else, as with a pipe
  // Where a skip has moved to. Where the system can read from there without moving first, it is
  // told of it no earlier than by something else than a read.
  std::optional<std::uint64_t> read_position_;
  std::string name_;  // from Open to Close, where the system needs it
  std::unique_ptr<BackupContext> backup_;
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_FILE_HANDLE_H_
