#include "driver/usage.h"

#include "driver/version.h"
#include "report/output.h"

namespace moldex {
namespace {

constexpr char kUsage[] =
    R"(usage:
MOLDEX -c[vir][f archive] [-P] [-C directory]
       [-p mode] [-A filename] [-T filename] [-X filename] [file1 file2....]
MOLDEX -t[vs][f archive] [file1 file2....]
MOLDEX -x[v][f archive] [-R directory] [-A filename]
       [-P] [-h] [-flat] [-lower] [file1 file2....]
MOLDEX -d[v][f archive] [-V] [file1 file2....]
MOLDEX -a[v][f archive] file1 [file2....]
MOLDEX -m[f "source_archive target_archive"]
MOLDEX -l [-A filename][-X filename] [file1 file2...]
MOLDEX -version

other options:
-a            : append files to an archive
-A FILE       : get names to include from FILE
-backup       : accepted and ignored in this edition
-c            : create an archive
-C DIRECTORY  : change to DIRECTORY before archiving (create only)
-d            : verify an archive: every entry is decompressed and its checksum compared
-e            : write all output to the file moldex_output
-f ARCHIVE    : name of the archive, or list of archives (default DEFAULT.QEL)
-flat         : drop the directories of the names in the archive
-g            : ignore case in the names of archives
-h            : leave the permissions of directories alone
-i            : go on when files are inaccessible, and keep the archive
-l            : write the names of missing files to files.log
-lower        : turn the names in the archive to lower case (extract only)
-m            : append the first of two archives to the second
-n            : print the release and the statistics of the run
-p MODE       : store MODE (octal) as permissions of every entry
-P            : keep absolute names when archiving; allow names with ".." when extracting
-r            : store links and shortcuts themselves instead of what they point to
-R DIRECTORY  : extract below DIRECTORY
-s            : with -t: report whether there is space for an extraction
-t            : list an archive
-T FILE       : get names to rename from FILE
-v            : name every entry that is processed
-V            : accepted; checksums are always written and checked
-x            : extract an archive
-X FILE       : get names to exclude from FILE

examples:
MOLDEX -cvf backup.qel docs src          archive two directories
MOLDEX -cf all.qel -C /srv/data .        everything below /srv/data, with relative names
MOLDEX -tf backup.qel                    what is in it?
MOLDEX -xvf backup.qel -R /tmp/restore   bring it back somewhere else
MOLDEX -xf backup.qel docs/readme.txt    bring back one file
MOLDEX -mf "new.qel all.qel"             put the entries of new.qel behind those of all.qel

notes on names:
Names are stored as they are given, without a drive and a leading "/" unless -P is used. An
archive made with -P is extracted to where its absolute names say, unless -R names a directory.
"." archives everything in the current directory, files that begin with "." included; "*" does
not match those. A name on the command line of -x, -t and -d must be the name in the archive; the
name of a directory selects what follows it and lies below it.

notes on the list of archives:
The archives of -f are separated by blanks, or by "," when a name contains white space; "*" and
"?" in their names are expanded by the program. A value that names an existing file is that
archive.

notes on the files of -A, -T and -X:
One entry a line; lines that begin with "#" and empty lines are ignored. Names are relative to
the current directory unless absolute, "/" is the path delimiter, and no patterns are expanded.
A line of a -T file holds an old and a new name, separated by "|", or by white space when neither
contains any. What lies below a renamed directory keeps its own name unless it is listed, too. A
directory named in a -X file is excluded with everything below it.
)";

}  // namespace

void CUsage::Print() {
  WriteOutput(kUsage);
  WriteOutput(VersionText());
  FlushOutput();
}

}  // namespace moldex
