// A tar archive as a source of entries, which are named and filled like those of a version-2
// archive, so that listing and extraction treat them alike.
#ifndef MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_
#define MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_

#include <optional>
#include <string>

#include "archive/entry_kinds.h"
#include "archive/entry_source.h"
#include "oldformat/tar_reader.h"
#include "run/run_context.h"

namespace moldex {

class COldArchive : public IEntrySource {
 public:
  // Throws COpenExcept, and CInvalExcept for a file that is of no format known here. Ends the run's
  // long-name mode, which such archives do not have.
  COldArchive(CRunContext& context, const std::string& name);

  // The name of an entry has no "/" at either end and no drive. An entry whose name has no form in
  // the local code page is reported and passed over. Throws what CTarReader does.
  CDirEntry* NextEntry() override;
  DataPiece NextPiece() override { return {reader_.Data()}; }
  // Does nothing: such archives keep nothing that could prove the data.
  void CheckEnd() override {}
  // Links, devices and the like; names that lead out of the target directory; and files that are
  // named like directories.
  std::optional<LeftOut> WhyLeftOut() const override;
  void Rewind() override;
  const FileIdentity& identity() const override { return reader_.identity(); }

 private:
  std::optional<std::string> ReadName();
  CDirEntry& Fill(const std::string& name);

  CRunContext& context_;
  CTarReader reader_;
  TarHeader header_;
  bool reports_ = true;
  CFile file_entry_;
  CDirectory directory_entry_;
  CDirEntry* entry_ = nullptr;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_OLD_ARCHIVE_H_
