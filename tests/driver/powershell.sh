#!/usr/bin/env bash
# A parser of PowerShell's language finds no fault in a script: powershell.sh SCRIPT FOLDER
# npm fetches the parser into the folder, once. Without npm or a way to its registry the test is left out.
set -euo pipefail
script=$(realpath "$1") files=$(realpath "$(dirname "$0")")/powershell
mkdir -p "$2" && cd "$2"
cp "$files"/* .

if ! cmp -s package-lock.json fetched; then
  command -v npm >/dev/null || { echo "left out: there is no npm"; exit 77; }
  npm ci --ignore-scripts --fetch-retries=1 --fetch-timeout=30000 >log 2>&1 || {
    cat log
    unreachable='ENOTFOUND|EAI_AGAIN|ECONN|ENETUNREACH|EHOSTUNREACH|ETIMEDOUT|ERR_SOCKET_TIMEOUT|E403|E5..|.*CERT'
    grep -qE "code ($unreachable)" log || exit 1
    echo "left out: npm does not reach its registry"
    exit 77
  }
  cp package-lock.json fetched
fi
node --liftoff-only parse.mjs "$script"
