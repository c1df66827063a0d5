#!/usr/bin/env bash
# sandbox.sh FOLDER COMMAND...: runs COMMAND in FOLDER, as root, where it harms nothing else. All other
# files of the root's file system are read-only, and /dev is new. /tmp is the new folder sandbox.tmp in FOLDER,
# not in memory, because tests rely on the largest size of a file on a disk.
set -euo pipefail
if [ "${1:-}" != --inside ]; then
  exec unshare --mount --pid --fork --kill-child "${BASH_SOURCE[0]}" --inside "$@"
fi
folder=$2
shift 2
cd "$folder"
mount -t proc proc /proc
mount -t tmpfs -o mode=755 tmpfs /dev
mkdir -m 1777 /dev/shm /dev/pts
mount -t devpts -o newinstance,ptmxmode=666,mode=620 devpts /dev/pts
while read -r name type major minor; do mknod -m 666 "/dev/$name" "$type" "$major" "$minor"; done <<'END'
null c 1 3
zero c 1 5
full c 1 7
random c 1 8
urandom c 1 9
tty c 5 0
END
ln -s pts/ptmx /dev/ptmx
ln -s /proc/self/fd /dev/fd
ln -s fd/0 /dev/stdin
ln -s fd/1 /dev/stdout
ln -s fd/2 /dev/stderr
rm -rf sandbox.tmp
mkdir -m 1777 sandbox.tmp
mount --bind sandbox.tmp /tmp
mkdir -p "$folder"  # it may have been below /tmp
mount --no-canonicalize --bind /proc/self/cwd "$folder"
mount -o remount,bind,ro /
cd "$folder"
exec "$@"
