#!/usr/bin/env bash
# The part of processors.sh that runs in the bare Debian: processors_inside.sh PROCESSOR...
set -euo pipefail
cd "$(dirname "$0")/../.."

quietly() { "$@" >log 2>&1 || { tail -n 60 log; return 1; }; }
quietly cmake -B build/native -G Ninja -D MOLDEX_TESTS=ON
quietly cmake --build build/native --target moldex program_tests
build/native/moldex -cf native.qel src docs/manual.md

for processor in "$@"; do
  echo "$processor:"
  quietly scripts/build "$processor"
  for tests in cscompr_tests archive_tests parallel_tests; do
    "qemu-$processor" "build/$processor/$tests" --gtest_brief=1
  done
  # The program tests run here and have the program run by qemu, whose own memory nobody wants to know.
  export MOLDEX_PROGRAM=$PWD/build/$processor/run-moldex
  cat >"$MOLDEX_PROGRAM" <<END
#!/bin/sh
LOCPATH=\${LOCPATH-/locales/$processor/usr/lib/locale} exec qemu-$processor ${MOLDEX_PROGRAM%/*}/moldex "\$@"
END
  chmod +x "$MOLDEX_PROGRAM"
  build/native/program_tests --gtest_brief=1
  "$MOLDEX_PROGRAM" -cf other.qel src docs/manual.md
  cmp native.qel other.qel
  "$MOLDEX_PROGRAM" -xf native.qel -R out
  diff -r src out/src
  rm -r out
done
