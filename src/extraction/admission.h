// Decides whether extraction may write an entry to the place that its name says. The same rules
// hold for all archive formats and systems. They look at the name, the target of a link and the
// files in use, and write nothing.
#ifndef MOLDEX_EXTRACTION_ADMISSION_H_
#define MOLDEX_EXTRACTION_ADMISSION_H_

#include "archive/dir_entry.h"
#include "extraction/output_names.h"
#include "report/log_manager.h"
#include "run/files_in_use.h"

namespace moldex {

// The reason why an entry is left out. The run goes on with the next entry.
enum class Refusal {
  kNone,
  kNoLinkTarget,  // a symbolic link without target, a shortcut without its bytes
  kBadTarget,     // the target has no form in the local code page
  kNotAllowed,    // the system would take the name for something else
  kLeavesTarget,  // the name, or a link's target, leads out of the target directory
  kIsInUse        // it would be written over a file that the run is using
};

// The part of the run that the rules depend on.
struct AdmissionRules {
  const COutputNames& names;
  const CFilesInUse& files_in_use;
  bool below_target;    // -R names a target directory
  bool absolute_paths;  // names and links may lead out of the target directory
};

// The reason to leave an entry out; kNone if it may be written. Reports nothing.
Refusal RefusalOf(const CDirEntry& entry, const AdmissionRules& rules);

// The two parts of RefusalOf. RefusalByName needs no look at the disk: any reason but kIsInUse.
// RefusalByPlace is for an entry that its name does not refuse: kIsInUse or kNone. It is kNone
// while nothing has the entry's name.
Refusal RefusalByName(const CDirEntry& entry, const AdmissionRules& rules);
Refusal RefusalByPlace(const CDirEntry& entry, const AdmissionRules& rules);

// Reports the refusal, which sets the exit status. `refusal` is not kNone.
void PrintRefusal(Refusal refusal, const CDirEntry& entry, CLogMan& log);

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_ADMISSION_H_
