#!/usr/bin/env bash
# Faults of a real system: a file system of 1 MB that fills up, places that may not be written to or
# read, files that change while they are archived. real_faults.sh PROGRAM
# Ends with 77 where it may neither mount nor become another user.
set -euo pipefail
program=$(realpath "$1")
if [ "${2:-}" != mounted ]; then
  unshare -m true 2>/dev/null || { echo "may not mount a file system: skipped"; exit 77; }
  exec unshare -m "$0" "$program" mounted
fi

work=$(mktemp -d /tmp/moldex-faults-XXXXXX)
trap 'umount "$work/small" 2>/dev/null || true; rm -rf "$work"' EXIT
chmod 755 "$work"
cd "$work"
mkdir small d

fail() { echo "FAILED: $*"; cat log; exit 1; }
# expect STATUS TEXT COMMAND...: how the command ends, and what it prints.
expect() {
  local status=0 expected=$1 text=$2
  shift 2
  "$@" >log 2>&1 || status=$?
  [ "$status" -eq "$expected" ] || fail "status $status instead of $expected: $*"
  [ -z "$text" ] || grep -qF -- "$text" log || fail "no \"$text\": $*"
}
# whole ARCHIVE COUNT: the archive has as many entries, all of them good.
whole() { expect 0 "MOLDEX: $2 file(s) tested" "$program" -df "$1"; }

head -c 300000 /dev/urandom >d/a
head -c 300000 /dev/urandom >d/b
head -c 900000 /dev/urandom >d/c
expect 0 "" "$program" -cf all.qel d

# A file system that fills up.
mount -t tmpfs -o size=1m none small
no_room="No space left on device"
expect 4 "$no_room" "$program" -cf small/a.qel d
whole small/a.qel 3
cp small/a.qel before
expect 4 "error writing to small/a.qel (error 4). $no_room" "$program" -af small/a.qel d/c
cmp before small/a.qel || fail "an append without space changed the archive"
expect 4 "$no_room" "$program" -mf all.qel,small/a.qel
cmp before small/a.qel || fail "a merge without space changed its target"
rm small/a.qel
expect 4 "error writing to small/out/d/c (error 4). $no_room" "$program" -xf all.qel -R small/out
! grep -q 'file(s) extracted' log || fail "says that files were extracted"
cmp d/a small/out/d/a
expect 4 "$no_room" "$program" -cf /dev/full d
expect 4 "error writing to standard output (error 4). $no_room" bash -c "'$program' -tf all.qel >/dev/full"
umount small

# An archive that has both outputs gets no text.
"$program" -cvf /dev/stdout d 2>&1 | cat >both.qel
whole both.qel 4
for wrong in "-naf /dev/stdout d" "-f /dev/stdout d"; do
  # shellcheck disable=SC2086
  "$program" $wrong >>both.qel 2>log || true
  whole both.qel 4
done

# No entry is written over the file that has the program's output.
echo text >taken
expect 0 "" "$program" -cf taken.qel taken
expect 60 "" bash -c "'$program' -xf taken.qel >taken"

# Standard descriptors that are closed at the start: no file is taken for one of them.
for descriptor in 0 1 2; do
  result=$([ $descriptor -eq 1 ] && echo 4 || echo 0)
  expect "$result" "" bash -c "exec '$program' -cvf closed.qel d $descriptor>&-"
  cmp all.qel closed.qel || fail "an archive made with $descriptor closed is not the same"
  expect "$result" "" bash -c "exec '$program' -l -n no $descriptor>&-"
  [ "$(tail -n 1 files.log)" = no ] || fail "a log written with $descriptor closed is not the same"
done
expect 4 "" bash -c "exec '$program' -cf /dev/stdout d >&-"

# A stack or a memory that is too small, before anything is written. AddressSanitizer itself needs
# more memory than that.
limits=("-s 20")
grep -q __asan_init "$program" || limits+=("-d 300" "-d 700" "-d 1100" "-d 1400")
for limit in "${limits[@]}"; do
  for command in "-cf none d" "-xf all.qel -R none" "-df all.qel" "-tf all.qel"; do
    expect 2 "MOLDEX: can not allocate new memory" bash -c "ulimit $limit; exec '$program' $command"
    [ ! -e none ] || fail "something was written with $limit: $command"
  done
done

# Places and files that belong to somebody else.
nobody() { setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; }
mkdir closed
cp all.qel closed/
chmod 755 closed
expect 6 "Permission denied" nobody "$program" -cf closed/new.qel d
expect 3 "Permission denied" nobody "$program" -xf all.qel -R closed/out
expect 6 "Permission denied" nobody "$program" -af closed/all.qel d
cmp all.qel closed/all.qel || fail "an append without permission changed the archive"
chmod 600 d/b
mkdir open
chmod 777 open
expect 44 "MOLDEX: inaccessible file d/b" nobody "$program" -cif open/a.qel d
whole open/a.qel 3

# Files that shrink, grow and vanish while they are read.
# until_size FILE BYTES: waits for so much of the file, ten seconds at most.
until_size() {
  for _ in $(seq 10000); do
    [ "$(stat -c %s "$1" 2>/dev/null || echo -1)" -lt "$2" ] || return 0
    sleep 0.001
  done
}
truncate -s 2G d/big
{ until_size shrunk.qel 1000000; truncate -s 1M d/big; } &
expect 5 "error reading from d/big" "$program" -cf shrunk.qel d/a d/big
wait
whole shrunk.qel 1
truncate -s 64M d/big
{ until_size grown.qel 0; truncate -s 65M d/big; } &
expect 0 "" "$program" -cf grown.qel d/big
wait
whole grown.qel 1
rm d/big
mkdir many
for i in $(seq 3000); do echo "$i" >"many/$i"; done
{ until_size fewer.qel 0; rm -rf many; } &
status=0
"$program" -cif fewer.qel many >log 2>&1 || status=$?
wait
[ "$status" -eq 0 ] || [ "$status" -eq 44 ] || fail "status $status while files vanish"
echo "status $status while files vanished"
expect 0 "file(s) tested" "$program" -df fewer.qel
echo "every fault was reported, and no archive was spoiled"
