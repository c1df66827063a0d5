#include "oldformat/old_archive.h"

#include <algorithm>
#include <limits>

#include "archive/entry_name.h"
#include "base/utf8.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {
namespace {

// A pipe has lost its beginning to whoever looked whether it is an archive of this format, and
// opening it again might wait for ever.
const std::string& Regular(const std::string& name) {
  const auto status = QueryStatus(name);
  if (status && status->kind != FileKind::kRegular) throw CInvalExcept(name);
  return name;
}

// Names are in UTF-8, unless they cannot be: then they come from times when names were bytes.
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

void SetTime(std::int64_t seconds, EntryHeader* header) {
  constexpr std::int64_t kLatest = std::numeric_limits<std::uint32_t>::max();
  header->time_low = static_cast<std::uint32_t>(std::clamp<std::int64_t>(seconds, 0, kLatest));
}

}  // namespace

COldArchive::COldArchive(CRunContext& context, const std::string& name,
                         const CCmdLineOptions& options)
    : context_(context),
      options_(options),
      reader_(Regular(name), context.progress()),
      selection_(options.file_names) {
  if (!reader_.IsTar()) throw CInvalExcept(name);
  context_.SetLongNames(false);
}

CDirEntry* COldArchive::Next() {
  while (auto header = reader_.Next()) {
    header_ = std::move(*header);
    std::string name;
    if (!ReadName(&name)) continue;
    if (selection_.Selects(name, header_.kind == TarKind::kDirectory)) return &Fill(name);
  }
  return nullptr;
}

void COldArchive::Rewind() {
  reader_.Rewind();
  selection_ = CEntrySelection(options_.file_names);
  reports_ = false;
}

bool COldArchive::ReadName(std::string* name) {
  try {
    *name = StoredName(SystemPathRules(), LocalName(header_.name), false);
  } catch (const CConversionExcept&) {  // says nothing of which name it was
    CExcept failure("MOLDEX: name can not be converted from UTF8: " + header_.name,
                    kErrorConversion, false);
    if (reports_) context_.log().PrintInfo(failure);
    return false;
  }
  if (name->empty()) name->push_back('.');  // of "/" nothing else is left
  *name = DeliveredName(std::move(*name), options_.lower_case, options_.flat);
  return true;
}

CDirEntry& COldArchive::Fill(std::string name) {
  context_.progress().SetCurrentName(name);
  const bool is_directory = header_.kind == TarKind::kDirectory;
  EntryHeader header;
  header.type = is_directory ? kTypeDirectory : kTypeFile;
  header.mode = KindBits(header_.kind) | header_.permissions;
  header.set_size_bytes(is_directory ? 0 : header_.size_bytes);
  SetTime(header_.modified_seconds, &header);
  CDirEntry* entry = &file_entry_;
  if (is_directory) entry = &directory_entry_;
  entry->Fill(header, std::move(name), {});
  return *entry;
}

}  // namespace moldex
