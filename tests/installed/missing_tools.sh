#!/usr/bin/env bash
# Where scripts/build cannot install the packages that it needs, it says which ones are missing.
set -euo pipefail
build=$(realpath "$(dirname "$0")/../../scripts/build")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin"
for tool in bash cat dirname grep; do ln -s "$(command -v "$tool")" "$work/bin/"; done

# has TOOL OUTPUT STATUS: the system has this tool, too.
has() {
  printf '#!/bin/sh\necho "%s"\nexit %s\n' "$2" "$3" >"$work/bin/$1"
  chmod +x "$work/bin/$1"
}
# expect ADVICE
expect() {
  local status=0 said
  said=$(CXX="" PATH=$work/bin bash "$build" 2>&1) || status=$?
  [[ $status = 1 && $said == *"scripts/build: missing: g++ cmake ninja-build"* && $said == *"$1"* ]] ||
    { echo "FAILED: expected '$1', not '$said', status $status"; exit 1; }
}

expect "This system has no dpkg"
has dpkg-query "" 1
has id 1000 0
expect "There is no sudo; as root run: apt-get install g++ cmake ninja-build"
has sudo "" 100
expect "apt-get could not install them"
