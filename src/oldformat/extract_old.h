// Extraction and verification of archives without the version-2 header.
#ifndef MOLDEX_OLDFORMAT_EXTRACT_OLD_H_
#define MOLDEX_OLDFORMAT_EXTRACT_OLD_H_

#include <cstdint>
#include <string>

#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// No older format is read so far: every such archive is reported as invalid, with status 40.
class CExtractOld : public CCommand {
 public:
  CExtractOld(CRunContext& context, std::string archive_name)
      : context_(context), archive_name_(std::move(archive_name)) {}

  void Execute() override;

  // Entries that Execute processed.
  std::uint32_t entry_count() const { return 0; }

 private:
  CRunContext& context_;
  std::string archive_name_;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_EXTRACT_OLD_H_
