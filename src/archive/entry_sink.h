// The destination of an entry that comes out of an archive. CDirEntry::Extract tells it what to
// make and then passes it the entry's data.
#ifndef MOLDEX_ARCHIVE_ENTRY_SINK_H_
#define MOLDEX_ARCHIVE_ENTRY_SINK_H_

#include "archive/entry_source.h"

namespace moldex {

class IEntrySink {
 public:
  virtual ~IEntrySink() = default;
  // Makes the object for an entry, which outlives the work on it. A symbolic link is not made here.
  virtual void MakeFile(const CDirEntry& entry) = 0;
  virtual void MakeDirectory(const CDirEntry& entry) = 0;
  // Takes the entry's data, in pieces that are not empty.
  virtual void Write(const DataPiece& piece) = 0;
  // Called after everything of the entry was given to Write.
  virtual void EndData() = 0;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_SINK_H_
