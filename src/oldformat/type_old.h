// Listing of archives without the version-2 header.
#ifndef MOLDEX_OLDFORMAT_TYPE_OLD_H_
#define MOLDEX_OLDFORMAT_TYPE_OLD_H_

#include <string>

#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

// Prints the line of every selected entry, links and other things that extraction leaves out
// included. A failure is printed and makes the run end with status 40.
class CTypeOld : public CCommand {
 public:
  CTypeOld(CRunContext& context, std::string archive_name)
      : context_(context), archive_name_(std::move(archive_name)) {}

  void Execute() override;

 private:
  CRunContext& context_;
  std::string archive_name_;
};

}  // namespace moldex

#endif  // MOLDEX_OLDFORMAT_TYPE_OLD_H_
