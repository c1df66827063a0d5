#include "archive/entry_adder.h"

#include "archive/entry_kinds.h"
#include "archive/entry_name.h"
#include "base/name_rules.h"
#include "platform/file_services.h"
#include "platform/shortcut.h"
#include "report/except.h"

namespace moldex {
namespace {

EntrySettings SettingsOf(CRunContext& context) {
  const CCmdLineOptions& options = context.options();
  EntrySettings settings;
  settings.keep_links = !options.resolve_links;
  settings.long_names = context.long_names();
  if (options.permission_text != nullptr) settings.permissions = options.permission_value;
  return settings;
}

}  // namespace

CEntryAdder::CEntryAdder(CRunContext& context, const FileIdentity& archive, CEntryQueue& queue)
    : context_(context),
      options_(context.options()),
      settings_(SettingsOf(context)),
      archive_(archive),
      queue_(queue) {}

bool CEntryAdder::OnObject(const std::string& name, const FileStatus& status, bool is_start) {
  if (is_start) return true;
  // An archive never contains itself, whatever it is called here.
  if (status.identity == archive_) return false;
  const bool resolve = options_.resolve_links && status.kind == FileKind::kRegular &&
                       IsShortcutName(SystemPathRules(), name);
  if (!resolve) return AddEntry(name, status, name);
  AddShortcutTarget(name, status);
  return false;
}

// A shortcut becomes its target: a file, or a directory without its contents. It is stored under
// the target's name, in full where absolute names are kept. A shortcut to another shortcut is left
// out: following a chain could go in circles.
void CEntryAdder::AddShortcutTarget(const std::string& name, const FileStatus& status) {
  const Shortcut shortcut = ResolveShortcut(name);
  if (shortcut.kind == ShortcutKind::kPlainFile) {
    AddEntry(name, status, name);
    return;
  }
  if (shortcut.kind == ShortcutKind::kNoTarget) {
    OnLinkWithoutTarget(name);
    return;
  }
  const PathRules rules = SystemPathRules();
  const auto target = QueryStatus(shortcut.target);
  const std::string last(LastComponent(rules, shortcut.target));
  if (!target || last.empty() || IsShortcutName(rules, last)) {
    OnInaccessible(name, target ? "a shortcut that leads to no file" : nullptr);
  } else if (target->identity != archive_) {
    AddEntry(shortcut.target, *target, options_.absolute_paths ? shortcut.target : last);
  }
}

std::string CEntryAdder::PrepareEntry(CDirEntry& entry, const std::string& archive_name) {
  const std::string& name = entry.GetName();
  try {
    std::string utf8_name = NameToUtf8(archive_name);
    if (utf8_name.size() > kLongestName) {
      OnInaccessible(name, "its name is too long");
      return {};
    }
    if (Prepare(entry) && !utf8_name.empty()) return utf8_name;
    OnInaccessible(name, nullptr);
  } catch (CConversionExcept& failure) {  // of the name, or of a link's target
    queue_.CatchUp();
    context_.log().PrintInfo(failure);
    OnInaccessible(name, "its name, or its target, has no form in UTF-8");
  }
  return {};
}

bool CEntryAdder::AddEntry(const std::string& name, const FileStatus& status,
                           const std::string& stored_as) {
  const std::string archive_name =
      StoredName(SystemPathRules(), options_.Renamed(stored_as), options_.absolute_paths);
  // Text about the entries before it may be part of this object.
  if (context_.files_in_use().Holds(status.identity)) queue_.Finish();
  auto entry = MakeEntry(name, status, settings_.keep_links);
  std::string utf8_name = PrepareEntry(*entry, archive_name);
  if (utf8_name.empty()) return false;
  queue_.Add({std::move(entry), archive_name, std::move(utf8_name)});
  return true;
}

bool CEntryAdder::Prepare(CDirEntry& entry) {
  return entry.Prepare(settings_) || (queue_.FreeResources() && entry.Prepare(settings_));
}

void CEntryAdder::OnInaccessible(const std::string& name, const char* why) {
  queue_.CatchUp();
  context_.ReportInaccessibleFile(name, why);
}

void CEntryAdder::OnLinkWithoutTarget(const std::string& name) {
  queue_.CatchUp();
  CExcept failure("MOLDEX: no link target for " + name, kErrorNoLinkTarget, false);
  context_.log().PrintInfo(failure);
}

void CEntryAdder::OnCutOffDirectory() {
  queue_.CatchUp();
  throw CExcept("MOLDEX: error in CCreate::ProcessDirectory");
}

}  // namespace moldex
