# Installs the Debian packages that the other scripts need. They source this file.

# need_packages NAME...: installs the missing ones; prints nothing if there are none.
need_packages() {
  local missing=() name
  for name in "$@"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed ||
      missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "installing: ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  # One installation at a time: apt-get fails if another run holds one of its locks.
  local apt=("${as_root[@]}" flock "${TMPDIR:-/tmp}/moldex-packages.lock" apt-get
    -o DPkg::Lock::Timeout=600)
  "${apt[@]}" update -qq >&2 &&
    "${apt[@]}" install -y -qq --no-install-recommends "${missing[@]}" >&2
}

need_build_packages() { need_packages g++ cmake ninja-build; }

# The libraries that bench/ links, and the programs that scripts/bench runs.
need_bench_libraries() { need_packages libbenchmark-dev zlib1g-dev libdeflate-dev libisal-dev; }
need_bench_packages() {
  need_bench_libraries
  need_packages python3 ncompress zip unzip libarchive-tools 7zip gnuplot-nox time
}
