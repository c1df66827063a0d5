// What extraction puts off until all other entries of an archive are written.
//
// Symbolic links come last, so that no entry of their archive is written through one; then
// directories get their permissions, which may forbid writing below them. Both are looked up in the
// archive again instead of being remembered: it may hold any number of them.
#ifndef MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_
#define MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_

#include <cstdint>

#include "archive/archive_reader.h"
#include "extraction/entry_selection.h"
#include "run/run_context.h"

namespace moldex {

class CDeferredEntries {
 public:
  // `selection` is the one that the walk over this archive began with.
  CDeferredEntries(CRunContext& context, CArchiveReader& archive, const CEntrySelection& selection)
      : context_(context), archive_(archive), selection_(selection) {}

  // Makes the links; returns how many. A link is left out, and reported, when it would be made
  // through another link or over a file that the run is using, and when the system refuses it or a
  // directory for it.
  std::uint32_t MakeLinks();

  // Throws CChgModExcept.
  void ApplyDirectories();

 private:
  bool MakeLink(const CLink& link) const;
  // Visits the selected directories and symbolic links, and why they are left out.
  template <typename Visit>
  void ForEach(Visit visit);

  CRunContext& context_;
  CArchiveReader& archive_;
  const CEntrySelection& selection_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_
