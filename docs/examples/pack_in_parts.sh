#!/usr/bin/env bash
# Packs a directory with several processes at the same time and joins their archives:
#   pack_in_parts.sh ARCHIVE DIRECTORY PROCESSES [OPTION...]
# The archive is byte for byte that of `moldex -cf ARCHIVE OPTION... -C DIRECTORY .`. If a part fails, or has
# inaccessible files, even with -i, nothing is joined, and ARCHIVE stays as it was. MOLDEX names another
# program than the moldex of PATH.
set -euo pipefail
if [ $# -lt 3 ] || ! [[ $3 =~ ^[1-9][0-9]{0,3}$ ]]; then
  sed -n '2,6s/^# //p' "$0" >&2
  exit 2
fi
moldex=$(command -v "${MOLDEX:-moldex}") || { echo "$0: there is no program ${MOLDEX:-moldex}" >&2; exit 2; }
# Each in a line of its own, so that each failure ends the script.
moldex=$(realpath "$moldex")
archive=$(realpath "$1")
directory=$(realpath "$2")
directory=${directory%/}  # empty for the root directory
processes=$3
options=("${@:4}")
case $archive in
  "$directory"/*) echo "$0: $1 must not be below $2: the parts would be packed, too" >&2; exit 2 ;;
esac

# The names in the order in which one run would pack them, and their sizes.
cd "$directory/"
mapfile -d '' names < <(find . -mindepth 1 -maxdepth 1 -print0 | LC_ALL=C sort -z)
if [ ${#names[@]} -eq 0 ]; then exec "$moldex" -cf "$archive" "${options[@]}" .; fi
mapfile -d '' sizes < <(printf '%s\0' "${names[@]}" | du -skl0 --files0-from=-)
[ ${#sizes[@]} -eq ${#names[@]} ] || exit 1  # du has said which names it cannot look at
total=0
for ((i = 0; i < ${#names[@]}; ++i)); do
  sizes[i]=$((${sizes[i]%%[[:blank:]]*} + 1)) total=$((total + sizes[i]))
done

# The parts lie beside the archive, so that the joined one only needs a new name.
parts=$(mktemp -d "$archive.parts-XXXXXX")
jobs=()
trap 'kill "${jobs[@]}" 2>/dev/null || true; wait; rm -rf "$parts"' EXIT
count=0 status=0 first=0 reached=0 shares=0 length=0
for ((i = 0; i < ${#names[@]}; ++i)); do
  reached=$((reached + sizes[i])) length=$((length + ${#names[i]} + 1))
  # A part ends where its share of the bytes is reached, and at the last name. It ends before that if its names
  # might not fit on a command line, which takes 2 MiB on most systems.
  is_share=$((reached * processes >= total * (shares + 1)))
  if ((is_share || length > 100000)); then
    if ((count >= processes)); then
      wait "${jobs[count - processes]}" || status=$?
      unset "jobs[count - processes]"
    fi
    "$moldex" -cf "$parts/$count.qel" "${options[@]}" "${names[@]:first:i + 1 - first}" &
    jobs[count]=$!
    count=$((count + 1)) shares=$((shares + is_share)) first=$((i + 1)) length=0
  fi
done
for job in "${jobs[@]}"; do
  wait "$job" || status=$?
done
jobs=()
[ "$status" -eq 0 ] || exit "$status"

# The archive of the first part grows by the others, in order.
cd "$parts"
for ((part = 1; part < count; ++part)); do
  "$moldex" -mf "$part.qel 0.qel"
  rm "$part.qel"
done
mv 0.qel "$archive"
