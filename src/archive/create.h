// The commands create (-c) and append (-a).
#ifndef MOLDEX_ARCHIVE_CREATE_H_
#define MOLDEX_ARCHIVE_CREATE_H_

#include <memory>
#include <string>
#include <vector>

#include "archive/compress_strategy.h"
#include "archive/container.h"
#include "archive/tree_walk.h"
#include "run/command.h"
#include "run/run_context.h"

namespace moldex {

class CCreate : public CCommand, private ITreeVisitor {
 public:
  explicit CCreate(CRunContext& context);
  ~CCreate() override;

  // Walks the operands and the names of the -A file in order and writes an entry for each object.
  // What cannot be read is reported and left out; every other failure ends the command and leaves
  // the archive with the entries that are in it as a whole, and a new one without any is deleted.
  void Execute() override;

 private:
  bool OnObject(const std::string& name, const FileStatus& status, bool is_start) override;
  void OnInaccessible(const std::string& name, const char* why) override;
  void OnLinkWithoutTarget(const std::string& name) override;
  [[noreturn]] void OnCutOffDirectory() override;

  void OpenArchive();
  void WriteArchive();
  std::unique_ptr<ICompressStrategy> MakeStrategy();
  void CountTotal();
  void FinishArchive();
  std::vector<std::string> CleanUp();
  std::vector<std::string> DeleteArchive();
  void HintAtRest() const;
  // The entry's name in UTF-8; empty when the entry cannot be stored, for the reason `why`, as in
  // OnInaccessible.
  std::string PrepareEntry(CDirEntry& entry, const std::string& archive_name, const char** why);
  // Writes the entry for an object, stored under `stored_as` unless that is renamed.
  bool AddEntry(const std::string& name, const FileStatus& status, const std::string& stored_as);
  void AddShortcutTarget(const std::string& name, const FileStatus& status);

  CRunContext& context_;
  const CCmdLineOptions& options_;
  bool appending_;
  std::unique_ptr<CContainer> archive_;
  CompressionBuffers buffers_;
  std::unique_ptr<ICompressStrategy> strategy_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_CREATE_H_
