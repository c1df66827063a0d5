#include "oldformat/extract_old.h"

#include "oldformat/invalid_archive.h"

namespace moldex {

void CExtractOld::Execute() { ReportInvalidArchive(context_, archive_name_); }

}  // namespace moldex
