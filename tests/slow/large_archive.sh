#!/usr/bin/env bash
# An archive beyond 8 GiB, so that entries stand where 32 bits do not reach: large_archive.sh PROGRAM
set -euo pipefail
. "$(dirname "$0")/lib.sh"

head -c $((2200 * 1024 * 1024)) /dev/urandom >noise
echo "first" >first
echo "the last entry" >last
run -cf part.qel noise
run -cf whole.qel first
for _ in 1 2 3 4; do run -mf part.qel,whole.qel; done
rm part.qel
run -af whole.qel last
[ "$(stat -c %s whole.qel)" -gt $((8 * 1024 * 1024 * 1024)) ] || { ls -l whole.qel; exit 1; }

run -tf whole.qel
[ "$(grep -c noise log)" -eq 4 ]
run -df whole.qel
grep -q "6 file(s) tested" log
run -xf whole.qel -R out
for name in noise first last; do cmp "$name" "out/$name"; done
rm -r out
run -xf whole.qel -R out last
cmp last out/last
echo "$(stat -c %s whole.qel) bytes of archive were read to the end"
