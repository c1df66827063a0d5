// The commands extract (-x) and verify (-d).
#ifndef MOLDEX_COMMANDS_EXTRACT_H_
#define MOLDEX_COMMANDS_EXTRACT_H_

#include <cstdint>
#include <memory>
#include <string>

#include "archive/container.h"
#include "archive/parallel_source.h"
#include "extraction/entry_selection.h"
#include "extraction/output_place.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Walks every archive of -f and pushes the data of every selected entry through decompression and
// checksum. Extract creates the entries on disk as well; verify writes nothing.
//
// An archive that cannot be opened is reported, one of another format goes to the old-format
// command, and the run goes on with the next; every other failure ends the command, and what was
// written until then stays on disk.
class CExtract : public CCommand {
 public:
  explicit CExtract(CRunContext& context);

  void Execute() override;

 private:
  std::unique_ptr<CParallelSource> ReadAhead(CContainer& container);
  void ProcessArchive(const std::string& name);

  CRunContext& context_;
  bool extracting_;
  CEntrySelection selection_;
  COutputPlace place_;
  std::uint32_t total_count_ = 0;  // in all archives so far
  bool print_summary_ = true;      // until an archive of another format was met
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_EXTRACT_H_
