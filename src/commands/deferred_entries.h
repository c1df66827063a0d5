// What extraction puts off until all other entries of an archive are written.
//
// Symbolic links come last, so that no entry of their archive is written through one; then
// directories get their permissions, which may forbid writing below them. Both are looked up in the
// archive again instead of being remembered: it may hold any number of them.
#ifndef MOLDEX_COMMANDS_DEFERRED_ENTRIES_H_
#define MOLDEX_COMMANDS_DEFERRED_ENTRIES_H_

#include <cstdint>

#include "archive/container.h"
#include "archive/entry_selection.h"
#include "run/run_context.h"

namespace moldex {

class CDeferredEntries {
 public:
  // `selection` is the one that the walk over this archive began with.
  CDeferredEntries(CRunContext& context, CContainer& archive, const CEntrySelection& selection)
      : context_(context), archive_(archive), selection_(selection) {}

  // Makes the links; returns how many. Those are left out, and reported, that would be made through
  // other links, or over a file that other links lead to and the run is using, and those that the
  // system refuses, or a directory for them.
  std::uint32_t MakeLinks();

  // Throws CChgModExcept.
  void ApplyDirectories();

 private:
  bool MakeLink(const CLink& link) const;
  template <typename Visit>
  void ForEachAdmitted(Visit visit);

  CRunContext& context_;
  CContainer& archive_;
  const CEntrySelection& selection_;
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_DEFERRED_ENTRIES_H_
