// Any bytes as an archive: every entry is listed, verified and restored into a temporary file, and
// then read through the library for other programs. A wrong checksum is ignored, so that damage
// reaches the entries after it.
#include "archive/container.h"
#include "archive/entry_sink.h"
#include "fuzz/memory_file_posix.h"
#include "fuzz/target.h"
#include "moldexread/open_archive.h"
#include "platform/file_handle.h"
#include "report/except.h"
#include "run/run_context.h"

namespace {

using moldex::CDirEntry;
using moldex::CRunContext;

// Restores entries into a file in memory, or only takes their data.
class CSink : public moldex::IEntrySink {
 public:
  explicit CSink(bool to_disk) : to_disk_(to_disk) {}

  void MakeFile(const CDirEntry& /*entry*/) override {
    // The open file is locked.
    (void)file_.Close();
    moldex::fuzz::Require(!to_disk_ || file_.Open(place_.Path(), moldex::kOpenReadWrite));
  }
  void MakeDirectory(const CDirEntry& /*entry*/) override {}
  void Write(const moldex::DataPiece& piece) override {
    if (!to_disk_) return;
    if (piece.is_backup_stream) {
      (void)file_.BackupWrite(piece.bytes);
    } else {
      (void)file_.WriteAll(piece.bytes);
    }
  }
  void EndData() override { (void)file_.EndBackup(); }

 private:
  const bool to_disk_;
  const moldex::fuzz::MemoryFile place_{{}};
  moldex::CFileHandle file_;
};

// False when the archive cannot be read on.
bool Restore(moldex::IEntrySource& archive, const CDirEntry& entry, CSink& sink) {
  try {
    entry.Extract(archive, sink);
  } catch (const moldex::CExcept& failure) {
    return failure.code() == moldex::kErrorChecksum;
  }
  return true;
}

void ReadThrough(CRunContext& context, const std::string& path, bool to_disk) {
  moldex::CContainer container(context, path, moldex::CContainer::kRead);
  CSink sink(to_disk);
  while (const CDirEntry* entry = container.reader().NextEntry()) {
    if (!to_disk) entry->Print(context.log());
    if (!Restore(container.reader(), *entry, sink)) return;
  }
}

void ReadByLibrary(const std::string& path, bool stored) {
  moldex::COpenArchive archive(path);
  const MxrEntry* entry = nullptr;
  MxrPiece piece{};
  std::int32_t status = archive.Open(moldex::kOpenExisting);
  const auto next =
      stored ? &moldex::COpenArchive::NextStoredPiece : &moldex::COpenArchive::NextPiece;
  while (status == kMxrOk && (status = archive.NextEntry(&entry)) == kMxrOk) {
    std::uint64_t bytes = 0;
    std::int32_t data = kMxrOk;
    while ((data = (archive.*next)(&piece)) == kMxrOk)
      bytes += piece.length;
    moldex::fuzz::Require(bytes <= entry->size &&
                          (data == kMxrEnd || !archive.error_text().empty()));
  }
  moldex::fuzz::Require(archive.NextEntry(&entry) == status);
}

}  // namespace

void moldex::fuzz::TryInput(ByteSpan input) {
  const moldex::fuzz::MemoryFile file(input);
  for (const bool to_disk : {false, true}) {
    ReadByLibrary(file.Path(), to_disk);
    CRunContext::GetInstance().SetLongNames(false);
    try {
      ReadThrough(CRunContext::GetInstance(), file.Path(), to_disk);
    } catch (const moldex::CExcept&) {
      // Damage ends the archive.
    }
  }
  CRunContext::Destroy();
}
