#!/usr/bin/env bash
# file(1) and the desktops' database tell archives from files that only look like them, as the program
# does: file_types.sh PROGRAM
set -euo pipefail
program=$(realpath "$1")
share=$(realpath "$(dirname "$0")/../../share")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export LC_ALL=C

fail() { echo "FAILED: $*"; exit 1; }
# same SUBJECT EXPECTED ACTUAL: fails unless the two are equal.
same() { [ "$2" = "$3" ] || fail "$1: expected '$2', not '$3'"; }

same "warnings about the magic file" "" "$(file -C -m "$share/moldex.magic" 2>&1)"
mkdir -p data/mime/packages
cp "$share/moldex-mime.xml" data/mime/packages/moldex.xml
export XDG_DATA_HOME=$work/none XDG_DATA_DIRS=$work/data
update-mime-database data/mime

desktop_type() { gio info -a standard::content-type "$1" | sed -n 's/.*content-type: //p'; }
# archive NAME DESCRIPTION: how file describes ./NAME, which is an archive.
archive() {
  "$program" -tf "$1" >log 2>&1 || fail "the program does not read $1: $(cat log)"
  same "$1" "MOLDEX archive, version 2.00$2" "$(file -b -m moldex.magic.mgc "$1")"
  same "type of $1" application/x-moldex "$(file -b --mime-type -m moldex.magic.mgc "$1")"
  same "type of $1 on desktops" application/x-moldex "$(desktop_type "$1")"
}
no_archive() {
  if "$program" -tf "$1" >log 2>&1; then fail "the program reads $1"; fi
  case $(file -b -m moldex.magic.mgc "$1") in *MOLDEX*) fail "file takes $1 for an archive" ;; esac
  [ "$(desktop_type "$1")" != application/x-moldex ] || fail "desktops take $1 for an archive"
}
# in_long_name_mode FROM TO
in_long_name_mode() { { printf 'VUK\0002.00'; tail -c +9 "$1"; } >"$2"; }

mkdir -p tree
echo content >"tree/a \"name\" of its own"
ln -s elsewhere tree/link
"$program" -crf directory tree
"$program" -cf file "tree/a \"name\" of its own"
"$program" -crf link tree/link
printf 'VUK 2.00' >empty
sed 's/RG/SC/' file >shortcut
archive directory ', first a directory "tree"'
archive file ', first a file "tree/a "name" of its own"'
archive link ', first a symbolic link "tree/link"'
archive shortcut ', first a shortcut "tree/a "name" of its own"'
archive empty ', without entries'
for name in directory empty; do
  in_long_name_mode "$name" "long_$name"
done
archive long_directory ', long names, first a directory "tree"'
archive long_empty ', long names, without entries'
same "extension" qel "$(file -b --extension -m moldex.magic.mgc file)"

sed 's/^VUK 2.00/VUK 1.00/' file >other_version
sed 's/^VUK 2.00/VUK\t2.00/' file >other_mark
head -c 7 file >cut_off
{ printf ' '; cat file; } >further_on
for name in other_version other_mark cut_off further_on; do
  no_archive "$name"
done
echo "still being copied" >NAMED.QEL
same "type of a file named so" application/x-moldex "$(desktop_type NAMED.QEL)"
