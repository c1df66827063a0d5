// Reads .QEL archives in other programs: entries, their fields and their data, front to back.
//
//     MxrArchive* archive;
//     const MxrEntry* entry;
//     int32_t status = MxrOpen(path, &archive);
//     while (status == kMxrOk && (status = MxrNextEntry(archive, &entry)) == kMxrOk) {
//       MxrPiece piece;
//       int32_t data;
//       BeginEntry(entry);
//       while ((data = MxrNextPiece(archive, &piece)) == kMxrOk)
//         TakePiece(&piece);
//       if (data != kMxrEnd) Complain(MxrErrorText(archive));
//     }
//     if (status != kMxrEnd) Complain(MxrErrorText(archive));
//     MxrClose(archive);
//
// All state of an archive is in its MxrArchive. A program may have any number of them open, in any
// threads, as long as no two calls work on the same one at the same time. The library prints
// nothing and leaves the locale, signal handlers and streams of the program alone. Each archive
// takes at most a megabyte of memory, however long it is.
//
// Archives may come from anywhere: damage ends in a status, whatever bytes they hold. But names and
// link targets are as they are stored, and may well be "../x" or "/etc/x". A program that makes
// files of entries has to refuse those itself.
#ifndef MOLDEX_MOLDEXREAD_MOLDEXREAD_H_
#define MOLDEX_MOLDEXREAD_MOLDEXREAD_H_

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): C callers include this header too
#include <stdint.h>  // NOLINT(modernize-deprecated-headers)

#ifdef __cplusplus
extern "C" {
#endif

// The version of this header for #if: 10000 * major + 100 * minor + patch.
#define MOLDEXREAD_VERSION 10000

// The results of the calls. After the statuses up to kMxrBadCall the archive can be read on. After
// the others every call on it gives the same status again.
enum MxrStatus {
  kMxrOk = 0,
  kMxrEnd = 1,           // no further entry, or no further data
  kMxrBadData = -1,      // the entry's data are damaged, or not those of its size or its checksum
  kMxrBadCall = -2,      // a null argument, or data before the first entry
  kMxrDamaged = -10,     // no entry or no block where one has to be
  kMxrCutOff = -11,      // the archive ends too early
  kMxrNoArchive = -12,   // the file is no .QEL archive of version 2
  kMxrOpenFailed = -13,  // the system refuses to open the file
  kMxrReadFailed = -14,  // the system fails to read from it
  kMxrNoMemory = -15
};

enum MxrType {
  kMxrFile = 1,
  kMxrDirectory = 2,
  kMxrSymbolicLink = 3,
  kMxrShortcut = 4  // a Windows shortcut: its data are those of the .lnk file
};

// NOLINTBEGIN(modernize-use-using): C has no using
typedef struct MxrArchive MxrArchive;

// An entry as it is stored. Later versions may add fields at the end.
typedef struct MxrEntry {
  // The name in UTF-8, with "/" between directories. It is neither checked nor converted.
  const char* name;
  // Where a symbolic link leads, in the same form; empty if it holds a zero byte. Null for other
  // types.
  const char* link_target;
  int32_t type;         // an MxrType
  uint32_t mode;        // the permission bits in its low 9, as POSIX has them
  uint32_t attributes;  // as Windows has them: 1 read-only, 2 hidden, 4 system, 0x10 directory ...
  // Of the data that MxrNextStoredPiece gives, in bytes.
  uint64_t size;
  // The time of the last change: seconds since 1970-01-01 00:00 UTC, negative before, and units of
  // 100 ns from 0 to 9,999,999. `has_time` is 0 for an entry that stores none; both are 0 then.
  int64_t seconds;
  uint32_t ticks;
  int32_t has_time;
} MxrEntry;

// Some data of an entry, never 0 bytes.
typedef struct MxrPiece {
  const uint8_t* bytes;
  size_t length;
  // The place of the bytes in the file. They follow the piece before, except in a sparse file,
  // where zeros fill the gap.
  uint64_t offset;
  // Whether the archive holds a backup stream of the file, rather than its bytes alone: what the
  // Windows call BackupRead gives, with security, extended attributes and named streams.
  int32_t is_backup_stream;
} MxrPiece;
// NOLINTEND(modernize-use-using)

// Opens an archive. The path is in the form that fopen takes, which on Windows is text in the ANSI
// code page of the program, and may be that of a pipe. Sets `*archive` also on failure, so that
// MxrErrorText can tell more, to an archive that has to be closed. It is null for kMxrNoMemory and
// kMxrBadCall.
int32_t MxrOpen(const char* path, MxrArchive** archive);

// The same for a path in UTF-8 on every system, so that on Windows it can name any file. Elsewhere
// the two functions are equal.
int32_t MxrOpenUtf8(const char* path, MxrArchive** archive);

// Closes an archive and frees its memory. Null does nothing.
void MxrClose(MxrArchive* archive);

// Goes on to the first entry, and then to each next one, however much was read of the one before.
// Returns kMxrOk; kMxrEnd after the last. The entry is valid until the next call of this function
// or MxrClose. `*entry` is null unless the status is kMxrOk.
int32_t MxrNextEntry(MxrArchive* archive, const MxrEntry** entry);

// The next piece of the entry's file, decompressed. Of a backup stream these are the bytes of the
// file, and the rest of the stream is passed over. Returns kMxrOk; kMxrEnd after the last piece,
// when the data have proved to have the size and the checksum that the archive announces. The piece
// is valid until the next call on the archive, and unchanged unless the status is kMxrOk.
int32_t MxrNextPiece(MxrArchive* archive, MxrPiece* piece);

// The same for the data as they are stored: a backup stream as a whole. `offset` counts its bytes.
// Data of one entry are read by one of the two functions alone.
int32_t MxrNextStoredPiece(MxrArchive* archive, MxrPiece* piece);

// The last failure on an archive in words, without a line's end; empty when there was none. The
// words are English in UTF-8; the path is as MxrOpen got it, and the system's reason is in the
// system's language and encoding. Valid until the next call on the archive. For null, a text about
// the two failures that leave no archive.
const char* MxrErrorText(const MxrArchive* archive);

#ifdef __cplusplus
}
#endif

#endif  // MOLDEX_MOLDEXREAD_MOLDEXREAD_H_
