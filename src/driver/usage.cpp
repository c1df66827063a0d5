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
