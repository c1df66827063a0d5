#!/usr/bin/env bash
# Packs real trees and brings them back byte for byte: real_trees.sh PROGRAM [TREE...]
#
# Symbolic links are followed when packing, so the trees are compared with them followed; peak
# memory has to stay below 8 MiB throughout.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
shift

# inventory TREE: every regular file with permissions and time, links followed.
inventory() { (cd "$1" && find -L . -type f -printf '%p %m %Ts\n' 2>/dev/null | LC_ALL=C sort); }

# round_trip TREE: TREE is absolute.
round_trip() {
  local tree=$1 status=0
  echo "$tree: $(find -L "$tree" -type f 2>/dev/null | wc -l) files"
  # A link that leads nowhere or back is reported with status 45 and left out.
  run -cf "$work/tree.qel" -C "$tree" . || status=$?
  [ "$status" -eq 0 ] || [ "$status" -eq 45 ] || { cat log; return 1; }
  run -df tree.qel
  run -tf tree.qel
  rm -rf out
  run -xf tree.qel -R out
  inventory "$tree" >want
  inventory out >got
  diff want got >differences || { head differences; return 1; }
  diff -r "$tree" out >differences 2>&1 || true
  # A link that diff cannot follow either is no difference.
  ! grep -v 'No such file\|recursive directory loop\|Too many levels' differences
}

make_tiny_tree() {
  mkdir tiny
  (cd tiny && for d in $(seq 200); do
    mkdir "d$d"
    for f in $(seq 100); do echo "$d $f" >"d$d/f$f"; done
  done)
}

make_odd_tree() {
  mkdir -p odd/empty
  local size
  for size in 0 1 65535 65536 65537; do head -c "$size" /dev/urandom >"odd/random$size"; done
  for size in 1 65535 65536 65537; do head -c "$size" /dev/zero >"odd/zeros$size"; done
  mkdir "odd/Ärger" "odd/日本語"
  echo text >"odd/Ärger/naïve – file"
  echo text >"odd/日本語/文書.txt"
  echo text >"odd/with blank and : colon"
  chmod 400 odd/random1
  chmod 711 odd/empty
  touch -d '1987-06-05 04:03:02' odd/random65535
}

if [ $# -eq 0 ]; then
  make_tiny_tree
  make_odd_tree
  set -- "$work/tiny" "$work/odd" /usr/include /usr/share/doc /usr/lib/gcc
fi
for tree in "$@"; do round_trip "$tree"; done
echo "all trees came back"
