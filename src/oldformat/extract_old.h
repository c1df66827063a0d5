// Extraction and verification of archives without the version-2 header.
#ifndef MOLDEX_OLDFORMAT_EXTRACT_OLD_H_
#define MOLDEX_OLDFORMAT_EXTRACT_OLD_H_

#include <cstdint>
#include <string>

#include "extraction/output_place.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Extracts files and directories; reports links, devices and everything else that it leaves out,
// which makes the run end with status 40. Verification writes nothing, reads everything and leaves
// nothing out: such archives have checksums of their headers only. A failure ends the work on this
// archive, is printed and makes the run end with status 40.
class CExtractOld : public CCommand {
 public:
  // `place` outlives the command.
  CExtractOld(CRunContext& context, std::string archive_name, COutputPlace& place)
      : context_(context), archive_name_(std::move(archive_name)), place_(place) {}

  void Execute() override;

  // Entries that Execute processed.
  std::uint32_t entry_count() const { return entry_count_; }

 private:
  CRunContext& context_;
  std::string archive_name_;
  COutputPlace& place_;
  std::uint32_t entry_count_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_EXTRACT_OLD_H_
