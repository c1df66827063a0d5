# Sourced by the slow tests: a work folder that is removed, and the program under a memory limit.
#   program: path of the archiver; work: the folder, current from here on
# MOLDEX_LARGE_DIR, or else large_dir, is where the folder is made.

program=$(realpath "$1")
work=$(mktemp -d -p "${MOLDEX_LARGE_DIR:-${large_dir:-/var/tmp}}")
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work"

# run ARGS...: runs the program, output to ./log; fails on its status, and on more than 8 MiB.
run() {
  local status=0 peak
  /usr/bin/time -o peak -f %M "$program" "$@" >log || status=$?
  peak=$(tail -n 1 peak)
  [ "$peak" -lt 8192 ] || { echo "$* took $peak KB"; return 1; }
  [ "$status" -eq 0 ] || tail -n 5 log
  return "$status"
}
