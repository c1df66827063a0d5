// Prepares an entry for every object that a walk finds, and adds it to the queue into the archive.
//
// An object that cannot be read or stored is reported and left out. Every other failure leaves as
// the CExcept that the queue throws.
#ifndef MOLDEX_ARCHIVE_ENTRY_ADDER_H_
#define MOLDEX_ARCHIVE_ENTRY_ADDER_H_

#include <string>

#include "archive/dir_entry.h"
#include "archive/entry_queue.h"
#include "archive/tree_walk.h"
#include "run/run_context.h"

namespace moldex {

class CEntryAdder : public ITreeVisitor {
 public:
  // `archive` is the archive's own file. The context and the queue outlive the object.
  CEntryAdder(CRunContext& context, const FileIdentity& archive, CEntryQueue& queue);

  bool OnObject(const std::string& name, const FileStatus& status, bool is_start) override;
  void OnInaccessible(const std::string& name, const char* why) override;
  void OnLinkWithoutTarget(const std::string& name) override;
  [[noreturn]] void OnCutOffDirectory() override;
  bool OnFailedCall() override { return queue_.FreeResources(); }

 private:
  // The entry's name in UTF-8; empty when the entry cannot be stored, which is reported.
  std::string PrepareEntry(CDirEntry& entry, const std::string& archive_name);
  bool Prepare(CDirEntry& entry);
  // Adds the entry for an object, stored under `stored_as` unless that is renamed. False when it
  // was left out.
  bool AddEntry(const std::string& name, const FileStatus& status, const std::string& stored_as);
  void AddShortcutTarget(const std::string& name, const FileStatus& status);

  CRunContext& context_;
  const CCmdLineOptions& options_;
  EntrySettings settings_;
  FileIdentity archive_;
  CEntryQueue& queue_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_ADDER_H_
