#!/usr/bin/env bash
# Installs the library, moves it elsewhere, builds the example against it by pkg-config, by CMake and as
# C++, and runs it: library.sh FOLDER [FLAGS]
# FOLDER is a build, or the folder where the package is installed. FLAGS are the compiler's flags that
# the library needs of a program.
set -euo pipefail
folder=$1 flags=${2:-}
source=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "FAILED: $*"; exit 1; }
# same SUBJECT EXPECTED ACTUAL: fails unless the two are equal.
same() { [ "$2" = "$3" ] || fail "$1: expected '$2', not '$3'"; }

if [ -f "$folder/CMakeCache.txt" ]; then
  cmake --install "$folder" --component library --prefix "$work/installed" >log
  mv installed moved
  libdir=lib
  # Folders asked for by absolute paths are found there.
  cmake -S "$source" -B absolute -G Ninja -DCMAKE_INSTALL_LIBDIR=/the/lib \
    -DCMAKE_INSTALL_INCLUDEDIR=/the/include >log || fail "$(cat log)"
  same "flags for absolute paths" "-I/the/include -L/the/lib -lcscompr" \
    "$(PKG_CONFIG_LIBDIR=absolute pkg-config --cflags --libs cscompr | sed 's/ *$//')"
else
  cp -R "$folder" moved
  libdir=lib/$(cc -print-multiarch)
fi
same "what is installed" "include/cscompr/cscompr.h \
$libdir/cmake/cscompr/cscompr-config-version.cmake $libdir/cmake/cscompr/cscompr-config.cmake \
$libdir/libcscompr.a $libdir/libcscompr.so $libdir/libcscompr.so.1 $libdir/libcscompr.so.1.0.0 \
$libdir/pkgconfig/cscompr.pc \
share/doc/libcscompr-dev/copyright share/doc/libcscompr-dev/examples/CMakeLists.txt \
share/doc/libcscompr-dev/examples/roundtrip.c " \
  "$(cd moved && find . ! -type d ! -name changelog.gz ! -path '*/libcscompr1/*' | sed 's|^\./||' |
    LC_ALL=C sort | tr '\n' ' ')"
header=moved/include/cscompr/cscompr.h
examples=moved/share/doc/libcscompr-dev/examples

# The shared library needs nothing of the C++ library and exports only its interface; the version of the
# interface changes with it. A library that links the static one exports the same.
# shellcheck disable=SC2086
cc $flags -shared -Wl,-z,defs -Wl,--whole-archive moved/$libdir/libcscompr.a \
  -Wl,--no-whole-archive -o shared.so
for shared in shared.so moved/$libdir/libcscompr.so; do
  same "functions exported" "CsCheckHeader CsCompr CsCreateDecoder CsCreateEncoder CsDecode CsDecompr \
CsDestroyDecoder CsDestroyEncoder CsEncode CsErrorText " \
    "$(nm -D --defined-only "$shared" | awk '{ print $3 }' | LC_ALL=C sort | tr '\n' ' ')"
done
same "name and needs" "libc.so.6 libcscompr.so.1 " "$(readelf -d "moved/$libdir/libcscompr.so" |
  sed -nE '/libc\.so|libcscompr|libstdc/s/.*\[(.*)\]/\1/p' | LC_ALL=C sort | tr '\n' ' ')"

# The example, built in every way.
strict="-pedantic -Wall -Wextra -Wconversion -Werror $flags"
export PKG_CONFIG_LIBDIR=$work/moved/$libdir/pkgconfig
same "version in the header" "$(pkg-config --modversion cscompr | awk -F. '{ print $1 * 10000 + $2 * 100 + $3 }')" \
  "$(echo CSCOMPR_VERSION | cc -E -P -include $header - | tail -n 1)"
# shellcheck disable=SC2046,SC2086
cc -std=c99 $strict $examples/roundtrip.c $(pkg-config --cflags --libs cscompr) -o in_c
# shellcheck disable=SC2046,SC2086
cc -std=c99 $strict $examples/roundtrip.c $(pkg-config --cflags cscompr) moved/$libdir/libcscompr.a \
  -o with_archive
# shellcheck disable=SC2046,SC2086
c++ -std=c++20 $strict -x c++ $examples/roundtrip.c -x none \
  $(pkg-config --cflags --libs cscompr) -o in_cpp
cmake -S "$examples" -B by_cmake -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" \
  -DCMAKE_C_FLAGS="$flags" >log || fail "$(cat log)"
cmake --build by_cmake >log || fail "$(cat log)"

cat >expected <<'END'
LZC: 19975 bytes packed to N and restored
LZH, level 2: 19975 bytes packed to N and restored
LZH, level 9: 19975 bytes packed to N and restored
half a stream: the input ends early (-1)
a damaged stream: a block of a type that the stream may not have (-22)
no stream: not a compressed stream (-50)
END
export LD_LIBRARY_PATH=$work/moved/$libdir
for program in ./in_c ./with_archive ./in_cpp by_cmake/roundtrip; do
  "$program" >printed || fail "$program ends with $?"
  sed -E 's/packed to [0-9]{4} /packed to N /' printed | diff expected - || fail "$program"
done

# A first call that gets no memory says so; sanitizers need more themselves.
if [ -z "$flags" ]; then
  same "a first call without memory" "LZC: no memory (-12)" \
    "$( (ulimit -d 600; ./with_archive || true) | head -n 1)"
fi

# The loops in the header are those of the example, except for layout.
example=$(tr -d '[:space:]' <"$examples/roundtrip.c")
loops=0
while IFS= read -r loop; do
  [[ $example == *"$loop"* ]] || fail "the header shows a loop that the example lacks: $loop"
  loops=$((loops + 1))
done < <(awk '/^\/\/     / { sub("//", ""); gsub(/[ \t]/, ""); printf "%s", $0; inside = 1; next }
              inside { print ""; inside = 0 }' "$header")
same "loops in the header" 2 "$loops"
