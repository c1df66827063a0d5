#include "oldformat/old_archive.h"

#include <utility>

#include "archive/entry_name.h"
#include "base/utf8.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {
namespace {

// A pipe has lost its beginning to the check for a version-2 archive, and opening it again might
// wait for ever.
const std::string& Regular(const std::string& name) {
  const auto status = QueryStatus(name);
  if (status && status->kind != FileKind::kRegular) throw CInvalExcept(name);
  return name;
}

// Names are in UTF-8. A name that is no UTF-8 is older than that rule and is taken as bytes.
std::string LocalName(const std::string& stored) {
  if (ValidUtf8Prefix(stored) < stored.size()) return stored;
  return TextFromUtf8({reinterpret_cast<const std::uint8_t*>(stored.data()), stored.size()});
}

std::uint32_t KindBits(TarKind kind) {
  switch (kind) {
    case TarKind::kDirectory:
      return kModeDirectory;
    case TarKind::kSymbolicLink:
    case TarKind::kHardLink:
      return kModeShortcut;
    default:
      return kModeRegular;
  }
}

struct KindText {
  TarKind kind;
  const char* text;
};

constexpr KindText kLeftOutKinds[] = {
    {TarKind::kSymbolicLink, "MOLDEX: symbolic link left out: "},
    {TarKind::kHardLink, "MOLDEX: hard link left out: "},
    {TarKind::kDevice, "MOLDEX: device left out: "},
    {TarKind::kFifo, "MOLDEX: FIFO left out: "},
    {TarKind::kSparseFile, "MOLDEX: sparse file left out: "},
    {TarKind::kUnknown, "MOLDEX: entry of unknown kind left out: "},
};

}  // namespace

COldArchive::COldArchive(CRunContext& context, const std::string& name)
    : context_(context), reader_(Regular(name), context.progress()) {
  if (!reader_.IsTar()) throw CInvalExcept(name);
  context_.SetLongNames(false);
}

CDirEntry* COldArchive::NextEntry() {
  while (auto header = reader_.Next()) {
    header_ = std::move(*header);
    if (auto name = ReadName()) return &Fill(*name);
  }
  return nullptr;
}

void COldArchive::Rewind() {
  reader_.Rewind();
  reports_ = false;
}

std::optional<LeftOut> COldArchive::WhyLeftOut() const {
  const std::string& name = entry_->GetName();
  for (const KindText& row : kLeftOutKinds) {
    if (row.kind != header_.kind) continue;
    const std::string& target = header_.link_target;
    return LeftOut{row.text + name + (target.empty() ? "" : " -> " + target), kErrorOldFormat};
  }
  if (HasParentComponent(SystemPathRules(), name)) {
    return LeftOut{"MOLDEX: name leaves the target directory: " + name, kErrorLeavesTarget};
  }
  // No file can have such a name, whatever target directory comes before it.
  if (!entry_->IsDirectory() && NamesADirectory(SystemPathRules(), name)) {
    return LeftOut{"MOLDEX: file named like a directory left out: " + name, kErrorOldFormat};
  }
  return std::nullopt;
}

// Empty, and reported, when the name has no form in the local code page.
std::optional<std::string> COldArchive::ReadName() {
  std::string name;
  try {
    name = StoredName(SystemPathRules(), LocalName(header_.name), false);
  } catch (const CConversionExcept&) {  // does not say which name it was
    CExcept failure("MOLDEX: name can not be converted from UTF8: " + header_.name,
                    kErrorConversion, false);
    if (reports_) context_.log().PrintInfo(failure);
    return std::nullopt;
  }
  if (name.empty()) name = ".";  // the name was "/"
  const CCmdLineOptions& options = context_.options();
  return DeliveredName(std::move(name), options.lower_case, options.flat);
}

CDirEntry& COldArchive::Fill(const std::string& name) {
  context_.progress().SetCurrentName(name);
  const bool is_directory = header_.kind == TarKind::kDirectory;
  EntryHeader header;
  header.type = is_directory ? kTypeDirectory : kTypeFile;
  header.mode = KindBits(header_.kind) | header_.permissions;
  header.set_size_bytes(is_directory ? 0 : header_.size_bytes);
  StoreTime({header_.modified_seconds, 0}, false, &header);
  entry_ = &file_entry_;
  if (is_directory) entry_ = &directory_entry_;
  entry_->Fill(header, name, {});
  return *entry_;
}

}  // namespace moldex
