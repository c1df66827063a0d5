#include "archive/container.h"

#include <array>
#include <span>

#include "archive/archive_format.h"
#include "report/except.h"

namespace moldex {

CContainer::CContainer(CRunContext& context, const std::string& archive_name, std::uint32_t mode)
    : name_(archive_name) {
  if (mode != kRead) writer_.emplace(file_, name_);
  if (!file_.Open(name_, mode >> 24)) throw COpenExcept(name_);
  const auto status = file_.Status();
  if (!status) throw COpenExcept(name_);
  status_ = *status;
  if (mode == kRead) {
    context.progress().BeginPart(IsRegularFile() ? status_.size_bytes : 0);
    reader_.emplace(context, file_, name_, status_.identity);
    return;
  }
  if (mode == kAppend) OpenForAppending(context);
  writer_->Begin(status_);
}

void CContainer::OpenForAppending(CRunContext& context) {
  std::array<std::uint8_t, kArchiveStartBytes> start{};
  file_.SetPosition(0);
  const auto count = file_.Read(start);
  if (!count) throw CReadExcept(name_);
  const ArchiveFormat format = FormatOf(std::span(start).first(*count));
  if (format == ArchiveFormat::kOther) throw CInvalExcept(name_);
  const bool is_cut_off = *count > kArchiveHeaderBytes && *count < start.size();
  if (is_cut_off) throw CReadExcept(name_);
  // New entries have to be in the mode of the existing ones.
  context.SetLongNames(format == ArchiveFormat::kVersion2LongNames);
  if (!file_.SeekToEnd()) throw COpenExcept(name_);
}

}  // namespace moldex
