// The work that extraction puts off until all other entries of an archive are written.
//
// Symbolic links come last, so that no entry of their archive is written through one. After them
// directories get their permissions, which may forbid writing below them. Both are looked up in the
// archive again instead of being remembered: it may hold any number of them.
#ifndef MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_
#define MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_

#include <cstdint>

#include "archive/entry_kinds.h"
#include "archive/entry_source.h"
#include "extraction/admission.h"
#include "extraction/entry_selection.h"
#include "extraction/output_place.h"
#include "report/log_manager.h"

namespace moldex {

class CDeferredEntries {
 public:
  // `selection` is the one that the walk over this archive began with.
  CDeferredEntries(IEntrySource& source, const CEntrySelection& selection, COutputPlace& place,
                   const AdmissionRules& rules, CLogMan& log)
      : source_(source), selection_(selection), place_(place), rules_(rules), log_(log) {}

  // Makes the links; returns how many. A link is left out, and reported, when it would be made
  // through another link or over a file that the run is using, and when the system refuses it or a
  // directory for it.
  std::uint32_t MakeLinks();

  // Gives the directories their attributes, and their permissions where those are wanted. Throws
  // CChgModExcept.
  void ApplyDirectories(bool set_permissions);

 private:
  bool MakeLink(const CLink& link) const;
  // Calls `visit` for the selected directories and symbolic links, with the reason why each is left
  // out, if any.
  template <typename Visit>
  void ForEach(Visit visit);

  IEntrySource& source_;
  const CEntrySelection& selection_;
  COutputPlace& place_;
  const AdmissionRules& rules_;
  CLogMan& log_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_DEFERRED_ENTRIES_H_
