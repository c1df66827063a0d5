# Installs the Debian packages that the other scripts need. They source this file.

# need_packages NAME...: installs the missing ones; prints nothing if there are none. Where it cannot
# install, it says what is missing and fails.
need_packages() {
  local missing=() name
  if ! command -v dpkg-query >/dev/null; then
    need_programs "$@"
    return
  fi
  for name in "$@"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed ||
      missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
      lacking "${missing[*]}" "There is no sudo; as root run: apt-get install ${missing[*]}"
      return 1
    }
    as_root=(sudo)
  fi
  echo "installing: ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  # One installation at a time: apt-get fails if another run holds one of its locks.
  local apt=("${as_root[@]}" flock "${TMPDIR:-/tmp}/moldex-packages.lock" apt-get
    -o DPkg::Lock::Timeout=600)
  "${apt[@]}" update -qq >&2 &&
    "${apt[@]}" install -y -qq --no-remove --no-install-recommends "${missing[@]}" >&2 || {
      lacking "${missing[*]}" "apt-get could not install them. The names are those of Debian 12."
      return 1
    }
}

# Without dpkg: the packages that are programs must be there. Libraries have other names elsewhere;
# CMake says which one it does not find.
need_programs() {
  local missing=() name
  for name in "$@"; do
    case $name in
      g++) command -v "${CXX:-c++}" >/dev/null || missing+=("$name") ;;
      ninja-build) command -v ninja >/dev/null || missing+=("$name") ;;
      cmake | git | python3 | gzip | tar | clang-* | mandoc | cppcheck | file | pkg-config | wine | zip | unzip)
        command -v "$name" >/dev/null || missing+=("$name")
        ;;
    esac
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  lacking "${missing[*]}" "This system has no dpkg; install its own packages of these programs."
  return 1
}

# lacking PACKAGES ADVICE
lacking() {
  printf 'scripts/%s: missing: %s\n  %s\n  The program alone needs a C++20 compiler and CMake: %s\n' \
    "${0##*/}" "$1" "$2" "cmake -B build && cmake --build build" >&2
}

need_build_packages() { need_packages g++ cmake ninja-build; }

# The libraries that bench/ links, and the programs that scripts/bench runs.
need_bench_libraries() { need_packages libbenchmark-dev zlib1g-dev libdeflate-dev libisal-dev; }
need_bench_packages() {
  need_bench_libraries
  need_packages python3 ncompress zip unzip pigz libarchive-tools 7zip gnuplot-nox time
}
