// The commands create (-c) and append (-a).
#ifndef MOLDEX_ARCHIVE_CREATE_H_
#define MOLDEX_ARCHIVE_CREATE_H_

#include <memory>
#include <string>
#include <vector>

#include "archive/compress_strategy.h"
#include "archive/container.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

class CCreate : public CCommand {
 public:
  explicit CCreate(CRunContext& context);
  ~CCreate() override;

  // Walks the operands and the names of the -A file in order and writes an entry for each object.
  // An object that cannot be read is reported and left out. Every other failure ends the command
  // and leaves the archive with its whole entries; a new archive without any is deleted.
  void Execute() override;

 private:
  void OpenArchive();
  void WriteArchive();
  void AddEntries();
  CompressionMethod Method() const;
  void CountTotal();
  void FinishArchive();
  std::vector<std::string> CleanUp();
  std::vector<std::string> DeleteArchive();
  void HintAtRest() const;

  CRunContext& context_;
  const CCmdLineOptions& options_;
  bool appending_;
  std::unique_ptr<CContainer> archive_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CREATE_H_
