// The data of one entry on their way out of an archive.
#ifndef MOLDEX_ARCHIVE_ENTRY_DATA_H_
#define MOLDEX_ARCHIVE_ENTRY_DATA_H_

namespace moldex {

class CArchiveReader;
class CDirEntry;

// Decompresses the current entry of the archive block by block and checks length and checksum.
// With `to_disk` the data go to the entry's open file. Nothing is written that lies beyond the
// size in the entry's header.
//
// Throws CDecompExcept, CWriteExcept, what CArchiveReader::GetEntryData throws, and CExcept for a
// length or a checksum that is wrong. What was written until then stays.
void RestoreData(CArchiveReader& archive, CDirEntry& entry, bool to_disk);

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_DATA_H_
