// The archive file that a command works on: opens it and owns the reader or the writer of its
// entries, whichever the mode asks for.
#ifndef MOLDEX_ARCHIVE_CONTAINER_H_
#define MOLDEX_ARCHIVE_CONTAINER_H_

#include <cstdint>
#include <optional>
#include <string>

#include "archive/archive_reader.h"
#include "archive/archive_writer.h"
#include "platform/file_handle.h"
#include "run/run_context.h"

namespace moldex {

class CContainer {
 public:
  // The upper byte is what the file is opened with (file_handle.h).
  enum OpenMode : std::uint32_t {
    kRead = 0,
    kNewArchive = 0x60000000,
    kAppend = 0x50000000,
  };

  // Opens the archive. Throws COpenExcept. In append mode it also reads the header, which puts the
  // run into the archive's long-name mode and throws CSetFilePointerExcept, CReadExcept, and
  // CInvalExcept for anything but a version-2 archive; nothing of the file is changed until
  // something is written.
  CContainer(CRunContext& context, const std::string& archive_name, std::uint32_t mode);
  // Closes the archive. Bytes given to the writer are lost unless Finish or KeepWholeEntries has
  // written them.
  ~CContainer() = default;
  CContainer(const CContainer&) = delete;
  CContainer& operator=(const CContainer&) = delete;

  // The identity of the archive's file, so that it is not put into itself.
  const FileIdentity& identity() const { return status_.identity; }
  bool IsRegularFile() const { return status_.kind == FileKind::kRegular; }

  // Only in mode kRead.
  CArchiveReader& reader() { return *reader_; }
  // Only in the other modes.
  CArchiveWriter& writer() { return *writer_; }

 private:
  void OpenForAppending(CRunContext& context);

  std::string name_;
  CFileHandle file_;
  FileStatus status_;  // when it was opened
  std::optional<CArchiveReader> reader_;
  std::optional<CArchiveWriter> writer_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CONTAINER_H_
