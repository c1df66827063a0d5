// Extracts or verifies one archive, whatever its format: goes through an entry source, selects
// entries, has admission.h judge them, and passes their data to an entry writer.
#ifndef MOLDEX_EXTRACTION_ARCHIVE_EXTRACTION_H_
#define MOLDEX_EXTRACTION_ARCHIVE_EXTRACTION_H_

#include <cstdint>

#include "archive/dir_entry.h"
#include "archive/entry_source.h"
#include "extraction/admission.h"
#include "extraction/entry_selection.h"
#include "extraction/entry_writer.h"
#include "extraction/output_place.h"
#include "run/run_context.h"

namespace moldex {

class CArchiveExtraction {
 public:
  // All arguments outlive this object. `absolute_paths` allows names and links that lead out of the
  // target directory. Every entry that is extracted or verified adds 1 to `total_count`.
  CArchiveExtraction(CRunContext& context, IEntrySource& source, COutputPlace& place,
                     bool absolute_paths, std::uint32_t& total_count);

  // Goes through the archive once, and again for what extraction has to put off. Writes the
  // selected entries to disk, or with the command verify proves that their data are whole. Reports
  // entries that have to be left out, and an archive that lacks some of the selected names. Throws
  // what the source throws, and any failure to write an entry.
  void ProcessEntries(CEntrySelection& selection);

  // Hints, after an interruption, at what an extraction has done and has not done.
  void HintAtRest() const;

 private:
  bool ProcessEntry(const CDirEntry& entry);
  Refusal MakeOrRefuse(const CDirEntry& entry);
  void WriteEntry(const CDirEntry& entry);
  void CountEntry(const char* mark, const CDirEntry& entry);
  void MakeDeferred(const CEntrySelection& selection);
  const char* Done() const { return extracting_ ? "extracted" : "tested"; }

  CRunContext& context_;
  IEntrySource& source_;
  COutputPlace& place_;
  const bool extracting_;
  AdmissionRules rules_;
  CEntryWriter writer_;
  std::uint32_t& total_count_;
  std::uint32_t archive_count_ = 0;
  // Entries that have to wait until everything else is written.
  bool directories_wait_ = false;
  std::uint32_t links_wait_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_ARCHIVE_EXTRACTION_H_
