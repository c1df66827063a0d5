# Sourced by the slow tests: a work folder that is removed, and the program under a memory limit.
#   program: path of the archiver; work: the folder, current from here on
# MOLDEX_LARGE_DIR, or else large_dir, is where the folder is made. The environment variable WORKERS
# may be 1, for one processor, or another number if the program is moldex_workers; else the program
# uses all processors.

program=$(realpath "$1")
work=$(mktemp -d -p "${MOLDEX_LARGE_DIR:-${large_dir:-/var/tmp}}")
trap 'echo "$highest KB of $limit"; chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work"

workers=${WORKERS:-$(nproc)}
launch=("$program")
case ${WORKERS:-all} in
  all) ;;
  1) launch=(taskset -c "$(taskset -cp $$ | sed 's/.*: \([0-9]*\).*/\1/')" "$program") ;;
  *) launch=("$program" "$workers") ;;
esac
limit=$((8192 + 4096 * ((workers > 16 ? 16 : workers) - 1)))
highest=0

# run ARGS...: runs the program, output to ./log; fails on its status, and on more than 8 MiB with 4
# MiB for every worker but the first.
run() {
  local status=0 peak
  /usr/bin/time -o peak -f %M "${launch[@]}" "$@" >log || status=$?
  peak=$(tail -n 1 peak)
  [ "$peak" -lt "$limit" ] || { echo "$* took $peak KB"; return 1; }
  highest=$((peak > highest ? peak : highest))
  [ "$status" -eq 0 ] || tail -n 5 log
  return "$status"
}
