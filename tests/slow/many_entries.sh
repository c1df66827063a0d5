#!/usr/bin/env bash
# A million entries, and a directory 2,000 deep under a small stack, in constant memory:
# many_entries.sh PROGRAM
set -euo pipefail
# Two million files are made and removed in seconds here, and in many minutes on a disk; they take
# 8 GiB of memory.
large_dir=/dev/shm
. "$(dirname "$0")/lib.sh"

python3 - <<'PYTHON'
import os
# Directories around them have more names than the walk keeps in memory.
place = "many"
for around in range(10):
    os.makedirs(place)
    for name in range(5000):
        open(f"{place}/{name:060}", "w").close()
    place += "/0"
for outer in range(1000):
    os.makedirs(f"{place}/{outer}")
    for inner in range(950):
        with open(f"{place}/{outer}/{inner}", "w") as file:
            file.write(f"{outer} {inner}\n")
# Among them some that take the most memory to compress.
for noise in range(100):
    with open(f"{place}/noise{noise}", "wb") as file:
        file.write(os.urandom(4_000_000 if noise % 10 == 0 else 400_000))
PYTHON
run -cf many.qel many
run -df many.qel
run -tf many.qel
[ "$(grep -c many/ log)" -eq 1001110 ]
run -xf many.qel -R out
diff -r many out/many
echo "1,000,000 files came back"

# Deeper than names may be long: the walk neither needs the stack for it nor fails, and what has a
# name that fits is kept.
mkdir -p "$(printf 'd/%.0s' $(seq 2000))"
ulimit -s 256
status=0
run -cif deep.qel d || status=$?
[ "$status" -eq 44 ] || { echo "status $status instead of 44"; exit 1; }
run -xf deep.qel -R o
[ "$(find o -type d -name d | wc -l)" -eq 130 ] || { find o -type d | wc -l; exit 1; }
echo "the first 130 of 2,000 directories came back"
