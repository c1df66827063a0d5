// The C interface over COpenArchive. This file alone is visible outside a shared library.
#include "moldexread/moldexread.h"

#include <new>

#include "moldexread/open_archive.h"

struct MxrArchive {
  moldex::COpenArchive archive;
};

namespace {

int32_t Open(const char* path, unsigned flags, MxrArchive** archive) {
  if (archive != nullptr) *archive = nullptr;
  if (path == nullptr || archive == nullptr) return kMxrBadCall;
  try {
    *archive = new MxrArchive{moldex::COpenArchive(path)};
  } catch (const std::bad_alloc&) {
    return kMxrNoMemory;
  }
  return (*archive)->archive.Open(flags);
}

}  // namespace

int32_t MxrOpen(const char* path, MxrArchive** archive) {
  return Open(path, moldex::kOpenExisting, archive);
}

int32_t MxrOpenUtf8(const char* path, MxrArchive** archive) {
  return Open(path, moldex::kOpenUtf8Path, archive);
}

void MxrClose(MxrArchive* archive) { delete archive; }

int32_t MxrNextEntry(MxrArchive* archive, const MxrEntry** entry) {
  if (entry != nullptr) *entry = nullptr;
  if (archive == nullptr) return kMxrBadCall;
  return entry != nullptr ? archive->archive.NextEntry(entry) : archive->archive.RefuseCall();
}

int32_t MxrNextPiece(MxrArchive* archive, MxrPiece* piece) {
  if (archive == nullptr) return kMxrBadCall;
  return piece != nullptr ? archive->archive.NextPiece(piece) : archive->archive.RefuseCall();
}

int32_t MxrNextStoredPiece(MxrArchive* archive, MxrPiece* piece) {
  if (archive == nullptr) return kMxrBadCall;
  return piece != nullptr ? archive->archive.NextStoredPiece(piece) : archive->archive.RefuseCall();
}

const char* MxrErrorText(const MxrArchive* archive) {
  if (archive == nullptr) return "no archive: out of memory, or a null argument";
  return archive->archive.error_text().c_str();
}
