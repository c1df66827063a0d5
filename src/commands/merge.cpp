#include "commands/merge.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "archive/archive_format.h"
#include "archive/cut_back.h"
#include "platform/file_handle.h"
#include "platform/interrupt.h"
#include "report/except.h"
#include "report/hints.h"

namespace moldex {
namespace {

constexpr std::size_t kCopyBytes = 65536;

FileStatus StatusOf(const CFileHandle& file, const std::string& name) {
  const auto status = file.Status();
  if (!status) throw CExcept("MOLDEX: can't get size of file " + name);
  return *status;
}

void CopyRest(CFileHandle& source, const std::string& source_name, std::uint64_t remaining_bytes,
              CFileHandle& target, const std::string& target_name, CProgress& progress) {
  std::vector<std::uint8_t> buffer(kCopyBytes);
  while (remaining_bytes > 0) {
    ThrowIfInterrupted();
    const std::span<std::uint8_t> chunk(
        buffer.data(),
        static_cast<std::size_t>(std::min<std::uint64_t>(kCopyBytes, remaining_bytes)));
    if (!source.ReadAll(chunk)) throw CReadExcept(source_name);
    if (!target.WriteAll(chunk)) throw CWriteExcept(target_name);
    remaining_bytes -= chunk.size();
    progress.Advance(chunk.size());
  }
  if (!target.Close()) throw CWriteExcept(target_name);
}

// Cuts the target back to what it was, even if it is closed already, because closing it may have
// been what failed. Returns a line that reports a failure of this; empty on success.
std::string RestoreTarget(CFileHandle& target, const std::string& name, const FileStatus& former) {
  if (former.kind != FileKind::kRegular) return {};
  interrupt::Mute();
  const auto status = ReopenArchive(target, name, former.identity);
  return CutBack(target, status, former.size_bytes, name);
}

}  // namespace

void CMerge::Execute() {
  const std::vector<std::string> archives = context_.ArchiveList();
  if (archives.size() != 2) {
    throw CExcept("MOLDEX: merging only supported for exactly two archives");
  }
  const std::string& source_name = archives[0];
  const std::string& target_name = archives[1];
  CFileHandle source;
  CFileHandle target;
  if (!source.Open(source_name, kOpenExisting)) throw COpenExcept(source_name);
  if (!target.Open(target_name, kOpenReadWrite | kOpenAtEnd)) throw COpenExcept(target_name);
  const FileStatus status = StatusOf(source, source_name);
  const FileStatus former = StatusOf(target, target_name);
  if (status.identity == former.identity) {
    throw CExcept("MOLDEX: an archive can not be merged with itself: " + target_name,
                  kErrorMergeWithItself, false);
  }
  if (status.size_bytes < kArchiveHeaderBytes) throw CReadExcept(source_name);
  if (!source.Skip(kArchiveHeaderBytes, 0)) {
    throw CExcept("MOLDEX: can't move file pointer in " + source_name);
  }
  const std::uint64_t entry_bytes = status.size_bytes - kArchiveHeaderBytes;
  context_.progress().SetTotal(entry_bytes);
  context_.progress().SetCurrentName(source_name);
  try {
    CopyRest(source, source_name, entry_bytes, target, target_name, context_.progress());
  } catch (CExcept& failure) {
    const std::string line = RestoreTarget(target, target_name, former);
    if (!line.empty()) failure.AddLine(line);
    const bool is_as_before = line.empty() && former.kind == FileKind::kRegular;
    if (is_as_before && dynamic_cast<CInterruptExcept*>(&failure) != nullptr) {
      KeepHint(target_name + " was left as it was before the merge, with " +
               std::to_string(former.size_bytes) + " bytes");
    }
    throw;
  }
}

}  // namespace moldex
