#include "commands/type.h"

#include "archive/container.h"
#include "extraction/listing.h"
#include "oldformat/type_old.h"
#include "report/except.h"
#include "run/archive_list.h"

namespace moldex {

CType::CType(CRunContext& context)
    : context_(context), selection_(context.options().NameList(), context.sought_names()) {
  if (context.options().space_check) space_.emplace(context.options());
}

void CType::Execute() {
  const std::vector<std::string> archives = context_.ArchiveList();
  if (context_.progress().IsShown()) context_.progress().SetTotal(TotalBytes(archives));
  for (const std::string& name : archives) {
    try {
      ListArchive(name);
    } catch (COpenExcept& failure) {
      context_.log().PrintInfo(failure);
    } catch (const CInvalExcept&) {
      CTypeOld(context_, name).Execute();
      space_.reset();
    }
  }
  if (space_) context_.log().PrintInfo(*space_);
}

void CType::ListArchive(const std::string& name) {
  CContainer container(context_, name, CContainer::kRead);
  CArchiveReader& archive = container.reader();
  if (!archive.CheckHeader()) throw CInvalExcept(name);
  context_.log().PrintMessage("MOLDEX: processing archive " + name + "...");
  ListEntries(context_, archive, selection_, [this](const CDirEntry& entry) {
    if (!space_) return;
    space_->AddEntry(entry.GetName(), static_cast<double>(entry.header().size_bytes()));
  });
}

}  // namespace moldex
