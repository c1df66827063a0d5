#include "archive/entry_kinds.h"

#include <algorithm>
#include <utility>

#include "archive/entry_name.h"
#include "archive/entry_sink.h"
#include "base/name_rules.h"
#include "platform/file_services.h"
#include "report/except.h"

namespace moldex {
namespace {

// The bits of a mode that stay when the kind of a stored link is put in.
constexpr std::uint32_t kModeOutsideLinkKind = 0xFFFF1FFF;

std::uint32_t LinkMode(std::uint32_t mode) { return (mode & kModeOutsideLinkKind) | kModeShortcut; }

}  // namespace

bool CFile::Prepare(const EntrySettings& settings) {
  if (!OpenForReading(settings.keep_links)) return false;
  FillHeader(kTypeFile, settings);
  return true;
}

bool CDirectory::Prepare(const EntrySettings& settings) {
  FillHeader(kTypeDirectory, settings);
  return true;
}

void CDirectory::Create(IEntrySink& sink) const { sink.MakeDirectory(*this); }

bool CLink::Prepare(const EntrySettings& settings) {
  if (status().kind == FileKind::kSymbolicLink) return PrepareSymbolicLink(settings);
  if (!OpenForReading(settings.keep_links)) return false;
  FillHeader(kTypeShortcut, settings);
  SetMode(LinkMode(header().mode));
  return true;
}

bool CLink::PrepareSymbolicLink(const EntrySettings& settings) {
  const auto target = ReadSymbolicLink(GetName());
  if (!target) return false;
  const std::string utf8 = NameToUtf8(*target);
  if (utf8.size() > 0xFFFF) return false;
  FillHeader(kTypeLink, settings);
  SetMode(LinkMode(header().mode));
  SetSize(0);
  SetUserData({reinterpret_cast<const std::uint8_t*>(utf8.data()), utf8.size()});
  return true;
}

bool CLink::IsSymbolicLink() const { return header().type == kTypeLink && !NeedsData(); }

bool CLink::LacksData() const {
  return header().type == kTypeShortcut && header().size_bytes() != 0 && !has_data_;
}

void CLink::Create(IEntrySink& sink) const {
  if (!IsSymbolicLink()) CDirEntry::Create(sink);
}

std::string CLink::Target() const {
  const auto text = user_data();
  const bool cut_off = std::find(text.begin(), text.end(), std::uint8_t{0}) != text.end();
  return cut_off ? std::string() : TextFromUtf8(text);
}

CDirEntry* CSourceEntry::ObjectFor(const EntryType& type) {
  switch (*KindOf(type)) {
    case EntryKind::kDirectory:
      return &directory_;
    case EntryKind::kLink:
      return &link_;
    case EntryKind::kFile:
      break;
  }
  return &file_;
}

CDirEntry* CSourceEntry::Fill(const EntryHeader& header, std::string_view name,
                              std::span<const std::uint8_t> user_data, bool has_data) {
  CDirEntry* entry = ObjectFor(header.type);
  if (entry == nullptr) return nullptr;
  entry->Fill(header, name, user_data);
  if (entry == &link_) link_.SetHasData(has_data);
  return entry;
}

std::unique_ptr<CDirEntry> MakeEntry(const std::string& disk_name, const FileStatus& status,
                                     bool keep_links) {
  switch (status.kind) {
    case FileKind::kDirectory:
      return std::make_unique<CDirectory>(disk_name, status);
    case FileKind::kRegular:
      if (keep_links && IsShortcutName(SystemPathRules(), disk_name)) {
        return std::make_unique<CLink>(disk_name, status);
      }
      return std::make_unique<CFile>(disk_name, status);
    case FileKind::kSymbolicLink:
      return std::make_unique<CLink>(disk_name, status);
    case FileKind::kOther:
      break;
  }
  throw CExcept("MOLDEX: error creating file object for " + disk_name);
}

}  // namespace moldex
