#!/usr/bin/env bash
# Packs a tree in parts, by the script of docs/examples and as docs/manual.md shows for machines, and
# compares the results with a single run's: pack_in_parts.sh PROGRAM
set -euo pipefail
export MOLDEX=$1
script=$(realpath "$(dirname "$0")/../../docs/examples/pack_in_parts.sh")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "FAILED: $*"; exit 1; }
mkdir -p tree/{a,b/deep,empty} 'tree/with blank'
seq 30000 >tree/b/deep/numbers
seq 9000 >'tree/with blank/numbers'
for name in -x '*' '#c' 'a b' $'two\nlines' ä a.txt B .hidden 'with blank/,' 'end '; do
  echo "$name" >"tree/$name"
done

"$MOLDEX" -cf single.qel -C tree .
for processes in 1 2 3 40; do
  "$script" 'in, parts.qel' tree "$processes"
  cmp single.qel 'in, parts.qel' || fail "$processes processes"
done
printf 'b\n' >excluded
"$MOLDEX" -cf single-x.qel -X "$work/excluded" -C tree .
"$script" parts-x.qel tree 3 -X "$work/excluded"
cmp single-x.qel parts-x.qel || fail "an option"

# More names than a command line of this length takes.
mkdir many
printf 'many/%0200d\0' {1..1500} | xargs -0 touch
"$MOLDEX" -cf single-many.qel -C many .
(ulimit -s 1024 && "$script" parts-many.qel many 1)
cmp single-many.qel parts-many.qel || fail "many names"

# The commands of the manual, with the tree elsewhere for the second machine.
cp -a tree elsewhere
cp single.qel before.qel
(cd tree && "$MOLDEX" -cf ../names.qel ./a ./a.txt ./b)
"$MOLDEX" -cf part1.qel -C tree ./a ./a.txt
"$MOLDEX" -cf part2.qel -C elsewhere ./b
"$MOLDEX" -mf "part2.qel part1.qel"
cmp names.qel part1.qel || fail "two machines"

# A part that fails leaves everything as it was.
ln -s nowhere tree/dangling
status=0
"$script" before.qel tree 3 >log || status=$?
[ "$status" -eq 45 ] || fail "status $status"
cmp single.qel before.qel || fail "the archive of a failed run"
"$script" tree/inside.qel tree 2 2>log && fail "an archive within the tree"
"$script" rooted.qel / 2 2>log && fail "an archive below the root directory"
"$script" nowhere/a.qel tree 2 2>log && fail "an archive in no directory"
[ "$(find . -name '*.parts-*')" = "" ] || fail "parts were left"
echo "parts make the archive of a single run"
