// Selects the entries of an archive that the command line asks for, by name alone, for extraction,
// verification and listing.
#ifndef MOLDEX_EXTRACTION_ENTRY_SELECTION_H_
#define MOLDEX_EXTRACTION_ENTRY_SELECTION_H_

#include <string>
#include <vector>

#include "run/sought_names.h"

namespace moldex {

// Without names every entry is selected. Otherwise an entry is selected when its name equals one of
// the names byte for byte, or when it lies below the directory that such a name selected last. That
// directory is remembered from entry to entry and from archive to archive.
class CEntrySelection {
 public:
  // `sought`, which outlives the selection, is told which names were found.
  CEntrySelection(std::vector<std::string> names, CSoughtNames& sought);

  // A copy that selects the same, but tells nobody which names were found.
  CEntrySelection Forecast() const;

  bool Selects(const std::string& name, bool is_directory);

  std::size_t name_count() const { return names_.size(); }

 private:
  std::vector<std::string> names_;  // sorted
  CSoughtNames* sought_;            // null for a forecast
  bool looked_for_ = false;         // told the run what is sought
  std::string selected_directory_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_ENTRY_SELECTION_H_
