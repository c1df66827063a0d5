#!/usr/bin/env bash
# A sparse file of 5 GiB: several chunks, and a size that needs its high word. large_file.sh PROGRAM
set -euo pipefail
. "$(dirname "$0")/lib.sh"

size=$((5 * 1024 * 1024 * 1024 + 12345))
truncate -s "$size" large
# Something to find again at the start, over both ends of the first chunk, and at the end.
for position in 0 1073741820 4294967290 $((size - 10)); do
  printf 'MARK%06d' $((position % 1000000)) | dd of=large bs=1 seek="$position" conv=notrunc status=none
done

run -cf large.qel large
run -tf large.qel
grep -q -- "$size" log
# The high half of the size stands at offset 14 of the entry header, zero at offset 10.
halves=$(od -An -tu4 -j 14 -N 12 large.qel | tr -s ' ')
[ "$halves" = " $((size % 4294967296)) 0 1" ] || { echo "size fields are$halves"; exit 1; }
run -df large.qel
run -xf large.qel -R out
cmp large out/large
echo "$size bytes came back"
