#include "oldformat/type_old.h"

#include "oldformat/invalid_archive.h"

namespace moldex {

void CTypeOld::Execute() { ReportInvalidArchive(context_, archive_name_); }

}  // namespace moldex
