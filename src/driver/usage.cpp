#include "driver/usage.h"

#include <string>

#include "driver/version.h"
#include "report/output.h"
#include "run/option_table.h"

namespace moldex {
namespace {

constexpr char kSynopses[] =
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
)";

constexpr char kNotes[] =
    R"(
examples:
MOLDEX -cvf backup.qel docs src          archive two directories
MOLDEX -cf all.qel -C /srv/data .        everything below /srv/data, with relative names
MOLDEX -tf backup.qel                    list the archive
MOLDEX -xvf backup.qel -R /tmp/restore   extract it somewhere else
MOLDEX -xf backup.qel docs/readme.txt    extract one file
MOLDEX -mf "new.qel all.qel"             append the entries of new.qel to all.qel

notes on names:
Names are stored as they are given. Without -P they lose a drive and a leading "/". An archive
made with -P is extracted to where its absolute names say, unless -R names a directory.
"." archives everything in the current directory, including files that begin with "."; "*" does
not match those. A name on the command line of -x, -t and -d must equal the name in the archive.
The name of a directory selects the entries that follow it and lie below it.

notes on the list of archives:
Blanks separate the archives of -f, or "," when a name contains white space. The program expands
"*" and "?" in their names. A value that names an existing file is that archive.

notes on the files of -A, -T and -X:
Each line holds one entry. Lines that begin with "#" and empty lines are ignored. Names are
relative to the current directory unless they are absolute. "/" is the path delimiter, and
patterns are not expanded. A line of a -T file holds an old and a new name, separated by "|", or
by white space when neither contains any. Entries below a renamed directory keep their own names
unless they are listed, too. A -X file excludes a directory with everything below it.
)";

// "-A FILE       : get names to include from FILE"
std::string Line(const Option& option) {
  constexpr std::size_t kSpellingWidth = 14;
  std::string line = "-" + std::string(option.name);
  if (option.argument != Argument::kNone) line += " " + std::string(ArgumentName(option.argument));
  line.resize(kSpellingWidth, ' ');
  return line + ": " + std::string(option.text) + "\n";
}

}  // namespace

std::string iaxxusage() {
  std::string text = kSynopses;
  for (const Option& option : Options())
    text += Line(option);
  return text + kNotes;
}

void CUsage::Print() {
  WriteOutput(iaxxusage() + VersionText());
  FlushOutput();
}

}  // namespace moldex
