// An archive of an old format, as the commands on such see it: the entries that the command line
// asks for, named and filled like those of a version-2 archive, so that listing and extraction can
// treat them alike.
#ifndef MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_
#define MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_

#include <cstdint>
#include <span>
#include <string>

#include "archive/entry_kinds.h"
#include "extraction/entry_selection.h"
#include "oldformat/tar_reader.h"
#include "run/run_context.h"

namespace moldex {

class COldArchive {
 public:
  // Throws COpenExcept, and CInvalExcept for a file that is of no format known here.
  COldArchive(CRunContext& context, const std::string& name, const CCmdLineOptions& options);

  // The next entry that is asked for, valid until the next call; null at the end. Its name has no
  // "/" at either end and no drive. One whose name has no form in the local code page is reported
  // and passed over. Throws what CTarReader does.
  CDirEntry* Next();

  // What kind the entry is of, and where it leads if it is a link.
  TarKind kind() const { return header_.kind; }
  const std::string& link_target() const { return header_.link_target; }

  // The next piece of the entry's data; empty behind the last.
  std::span<const std::uint8_t> Data() { return reader_.Data(); }

  // Goes back to the start, with nothing selected. What was reported is not reported again.
  void Rewind();

  const FileIdentity& identity() const { return reader_.identity(); }
  std::size_t name_count() const { return selection_.name_count(); }

 private:
  bool ReadName(std::string* name);
  CDirEntry& Fill(std::string name);

  CRunContext& context_;
  const CCmdLineOptions& options_;
  CTarReader reader_;
  CEntrySelection selection_;
  TarHeader header_;
  bool reports_ = true;
  CFile file_entry_;
  CDirectory directory_entry_;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_
