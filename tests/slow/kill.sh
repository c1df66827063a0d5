#!/usr/bin/env bash
# Ends the program by kill -9 at random moments: the entries written before stay readable, and nothing
# else changes. kill.sh PROGRAM
set -euo pipefail
. "$(dirname "$0")/lib.sh"

mkdir d
for name in a b c; do head -c 6000000 /dev/urandom >"d/$name"; done
begin=$(date +%s%N)
run -cf whole.qel d
taken=$(($(date +%s%N) - begin))
head -c 8 whole.qel >former.qel
run -af former.qel d/a
cp former.qel before.qel

# killed ARGS...: runs the program, and kills it within the time that it has taken.
kills=0
killed() {
  local time=$((1 + taken / 32768 * RANDOM))
  { timeout -s KILL "$((time / 1000000000)).$(printf %09d $((time % 1000000000)))" "${launch[@]}" "$@" >log ||
    kills=$((kills + 1)); } 2>/dev/null
}
# good ARCHIVE: every entry before the end of the good part, as -d reports it, is whole.
good() {
  if ! "${launch[@]}" -df "$1" >log; then
    end=$(sed -n 's/.*ends at byte \([0-9]*\),.*/\1/p' log)
    head -c "${end:-8}" "$1" >good.qel
    run -df good.qel
  fi
}
for _ in $(seq 60); do
  rm -rf a.qel out
  killed -cf a.qel d
  [ ! -s a.qel ] || good a.qel
  cp before.qel former.qel
  killed -af former.qel d
  cmp -n "$(stat -c %s before.qel)" before.qel former.qel
  good former.qel
  cp before.qel former.qel
  killed -mf whole.qel,former.qel
  cmp -n "$(stat -c %s before.qel)" before.qel former.qel
  good former.qel
  killed -xf whole.qel -R out
  # A file has its permissions only once it is complete.
  for name in a b c; do
    [ "$(stat -c %a "out/d/$name" 2>/dev/null)" != 644 ] || cmp "d/$name" "out/d/$name"
  done
done
echo "nothing was lost by $kills kills"
[ "$kills" -gt 60 ]
