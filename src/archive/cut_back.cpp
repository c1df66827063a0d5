#include "archive/cut_back.h"

#include "report/output.h"
#include "report/system_error.h"

namespace moldex {

std::optional<FileStatus> ReopenArchive(CFileHandle& file, const std::string& path,
                                        const FileIdentity& identity) {
  if (!file.IsValid() && !file.Open(path, kOpenReadWrite)) return std::nullopt;
  auto status = file.Status().AsOptional();
  if (status && status->identity != identity) status.reset();
  return status;
}

std::string CutBack(CFileHandle& file, const std::optional<FileStatus>& status,
                    std::uint64_t size_bytes, const std::string& archive_name) {
  const bool is_cut =
      status && (status->size_bytes == size_bytes || file.Truncate(size_bytes)) && file.Close();
  if (is_cut) return {};
  return RepairFailure("could not cut back to byte " + std::to_string(size_bytes) + " the archive ",
                       archive_name);
}

std::string RepairFailure(const std::string& text, const std::string& archive_name) {
  return EscapedForTerminal("MOLDEX: " + text + archive_name + ". ") + LastSystemErrorText();
}

}  // namespace moldex
