/* Reads two archives in several threads at the same time, and calls the library wrongly:
 * reader_test WHOLE DAMAGED */
#include <moldexread/moldexread.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define REQUIRE(promise)                                    \
  do {                                                      \
    if (!(promise)) {                                       \
      printf("line %d: %s is wrong\n", __LINE__, #promise); \
      exit(1);                                              \
    }                                                       \
  } while (0)

static char** paths;

/* Reads every second entry, and thereby skips the others. Returns the bytes, or -1 for damage. */
static long Read(const char* path) {
  MxrArchive* archive;
  const MxrEntry* entry;
  MxrPiece piece;
  long bytes = 0;
  int damaged = 0;
  int count = 0;
  REQUIRE(MxrOpen(path, &archive) == kMxrOk);
  while (MxrNextEntry(archive, &entry) == kMxrOk) {
    int32_t status = kMxrEnd;
    while (count % 2 == 0 && (status = MxrNextPiece(archive, &piece)) == kMxrOk)
      bytes += (long)piece.length;
    REQUIRE(status == kMxrEnd || status == kMxrBadData);
    if (status == kMxrBadData) damaged += strstr(MxrErrorText(archive), entry->name) != NULL;
    ++count;
  }
  REQUIRE(MxrNextEntry(archive, &entry) == kMxrEnd && entry == NULL && count == 4);
  MxrClose(archive);
  return damaged ? -1 : bytes;
}

static void* ReadOften(void* unused) {
  for (int i = 0; i < 50; ++i) {
    REQUIRE(Read(paths[1]) == 108894);
    REQUIRE(Read(paths[2]) == -1);
  }
  return unused;
}

int main(int count, char** arguments) {
  pthread_t threads[4];
  MxrArchive* archive;
  const MxrEntry* entry;
  MxrPiece piece;
  paths = arguments;
  REQUIRE(count == 3);
  REQUIRE(MxrOpen(NULL, &archive) == kMxrBadCall && archive == NULL);
  REQUIRE(MxrNextPiece(NULL, &piece) == kMxrBadCall && MxrErrorText(NULL)[0] != '\0');
  REQUIRE(MxrOpen(paths[1], &archive) == kMxrOk);
  REQUIRE(MxrNextPiece(archive, &piece) == kMxrBadCall && MxrErrorText(archive)[0] != '\0');
  REQUIRE(MxrNextEntry(archive, NULL) == kMxrBadCall);
  MxrClose(archive);
  REQUIRE(MxrOpen("no such archive", &archive) == kMxrOpenFailed);
  REQUIRE(MxrNextEntry(archive, &entry) == kMxrOpenFailed && entry == NULL);
  REQUIRE(MxrNextPiece(archive, &piece) == kMxrOpenFailed);
  MxrClose(archive);
  MxrClose(NULL);
  REQUIRE(MxrOpenUtf8("\xC5\x81\xE5\x90\x8D.qel", &archive) == kMxrOk);
  REQUIRE(MxrNextEntry(archive, &entry) == kMxrOk);
  MxrClose(archive);
  REQUIRE(MxrOpenUtf8("\xC5", &archive) == kMxrOpenFailed);
  MxrClose(archive);
  for (int i = 0; i < 4; ++i)
    REQUIRE(pthread_create(&threads[i], NULL, ReadOften, NULL) == 0);
  for (int i = 0; i < 4; ++i)
    REQUIRE(pthread_join(threads[i], NULL) == 0);
  return 0;
}
