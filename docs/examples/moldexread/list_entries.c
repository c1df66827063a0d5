/* Lists the entries of .QEL archives and checks their data.
 *
 *     cc list_entries.c $(pkg-config --cflags --libs moldexread) -o list_entries
 *     ./list_entries a.qel b.qel
 */
#include <moldexread/moldexread.h>
#include <stdio.h>

static uint64_t bytes; /* of the entry that is being read */
static int faults;

static void BeginEntry(const MxrEntry* entry) {
  static const char kLetters[] = "?-dls"; /* by MxrType */
  bytes = 0;
  printf("%c%03o %s", kLetters[entry->type], (unsigned)entry->mode & 0777U, entry->name);
  if (entry->link_target != NULL) printf(" -> %s", entry->link_target);
}

static void TakePiece(const MxrPiece* piece) { bytes += piece->length; }

static void Complain(const char* text) {
  ++faults;
  printf(": %s\n", text);
}

static void List(const char* path) {
  MxrArchive* archive;
  const MxrEntry* entry;
  int32_t status = MxrOpen(path, &archive);
  while (status == kMxrOk && (status = MxrNextEntry(archive, &entry)) == kMxrOk) {
    MxrPiece piece;
    int32_t data;
    BeginEntry(entry);
    while ((data = MxrNextPiece(archive, &piece)) == kMxrOk)
      TakePiece(&piece);
    if (data != kMxrEnd) Complain(MxrErrorText(archive));
    if (data == kMxrEnd) printf(", %llu bytes\n", (unsigned long long)bytes);
  }
  if (status != kMxrEnd) Complain(MxrErrorText(archive));
  MxrClose(archive);
}

int main(int count, char** paths) {
  for (int i = 1; i < count; ++i)
    List(paths[i]);
  return faults != 0;
}
