#!/usr/bin/env bash
# Installs libmoldexread, moves it elsewhere, builds its example against it in every way, and reads
# archives with it: reader.sh PROGRAM FOLDER [FLAGS]
# FOLDER is a build, or the folder where the packages of both libraries are installed. FLAGS are the
# compiler's flags that the library needs of a program. In a build for Windows the programs are there.
set -euo pipefail
program=$(realpath "$1") folder=$(realpath "$2") flags=${3:-}
tests=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "FAILED: $*"; exit 1; }
# same SUBJECT EXPECTED ACTUAL: fails unless the two are equal.
same() { [ "$2" = "$3" ] || fail "$1: expected '$2', not '$3'"; }

mkdir tree
seq 20000 >tree/numbers
printf x >tree/x
ln -s numbers tree/link
chmod 640 tree/*
chmod 755 tree
"$program" -crf whole.qel tree
head -c 5000 whole.qel >cut.qel
{ head -c 200 whole.qel; printf '\377\377\377\377'; tail -c +205 whole.qel; } >damaged.qel
echo text >text
cp whole.qel $'\u0141\u540d.qel'
cat >expected <<'END'
d755 tree, 0 bytes
l777 tree/link -> numbers, 0 bytes
-640 tree/numbers, 108894 bytes
-640 tree/x, 1 bytes
d755 tree, 0 bytes
l777 tree/link -> numbers, 0 bytes
-640 tree/numbers: error reading from cut.qel: it ends too early
: error reading from cut.qel: it ends too early
d755 tree, 0 bytes
l777 tree/link -> numbers, 0 bytes
-640 tree/numbers: error decompressing tree/numbers; error code is N
-640 tree/x, 1 bytes
: text is no .QEL archive
: error opening none: REASON
END
# lists EXAMPLE...: the command is the example.
lists() {
  if "$@" whole.qel cut.qel damaged.qel text none >printed; then fail "$* finds no fault"; fi
  tr -d '\r' <printed | sed 's/code is -[0-9]*/code is N/; s/\(error opening none: \).*/\1REASON/' |
    diff expected - || fail "$*"
}
functions="MxrClose MxrErrorText MxrNextEntry MxrNextPiece MxrNextStoredPiece MxrOpen MxrOpenUtf8 "
in_order() { LC_ALL=C sort | tr '\n' ' '; }

if [ -f "$folder/moldexread.dll" ]; then
  same "functions of the DLL" "$functions" "$(objdump -p "$folder/moldexread.dll" | grep -oE '\bMxr\w+$' | in_order)"
  in_wine() { MOLDEX_EXE=$folder/$1.exe "$tests/../windows/wine-moldex" "${@:2}"; }
  lists in_wine list_entries
  in_wine reader_test whole.qel damaged.qel || fail "reader_test"
  exit
fi

if [ -f "$folder/CMakeCache.txt" ]; then
  for component in library reader reader-dev; do
    cmake --install "$folder" --component $component --prefix "$work/installed" >log
  done
  mv installed moved
  lib=moved/lib
else
  cp -R "$folder" moved
  lib=moved/lib/$(cc -print-multiarch)
fi
examples=moved/share/doc/libmoldexread-dev/examples
functions_in() { nm "$@" --defined-only | awk '$2 == "T" { sub("@.*", "", $3); print $3 }' | in_order; }
same "functions of the shared library" "$functions" "$(functions_in -D $lib/libmoldexread.so)"
same "functions of the static library" "$functions" "$(functions_in -g $lib/libmoldexread.a)"
same "name of the shared library" libmoldexread.so.1 \
  "$(objdump -p $lib/libmoldexread.so | awk '$1 == "SONAME" { print $2 }')"
# The static one goes together with the compression library, whose code it holds, too.
# shellcheck disable=SC2086
c++ $flags -shared -Wl,--whole-archive $lib/libmoldexread.a $lib/libcscompr.a \
  -Wl,--no-whole-archive -o both.so

strict="-pedantic -Wall -Wextra -Wconversion -Werror $flags"
export PKG_CONFIG_LIBDIR=$work/$lib/pkgconfig LD_LIBRARY_PATH=$work/$lib
shared=$(pkg-config --cflags --libs moldexread)
same "version in the header" "$(pkg-config --modversion moldexread | awk -F. '{ print $1 * 10000 + $2 * 100 + $3 }')" \
  "$(echo MOLDEXREAD_VERSION | cc -E -P -include moved/include/moldexread/moldexread.h - | tail -n 1)"
# shellcheck disable=SC2086
cc -std=c99 $strict $examples/list_entries.c $shared -o in_c
# A program in C++ holds functions of the C++ library and places of exceptions, as the library does.
cat >own.cpp <<'END'
#include <stdexcept>
#include <string>
std::string Cut(int number) try { return std::to_string(number).substr(9); } catch (const std::exception& e) { return e.what(); }
END
# shellcheck disable=SC2086
c++ -std=c++20 $strict -Imoved/include -x c++ own.cpp $examples/list_entries.c -x none $lib/libmoldexread.a -o in_cpp
cmake -S $examples -B by_cmake -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" -DCMAKE_C_FLAGS="$flags" >log ||
  fail "$(cat log)"
cmake --build by_cmake >log || fail "$(cat log)"

for example in ./in_c ./in_cpp by_cmake/list_entries; do
  lists "$example"
done

# shellcheck disable=SC2086
cc -std=c99 $strict -pthread "$tests/reader_test.c" $shared -o reader_test
./reader_test whole.qel damaged.qel || fail "reader_test"

# The loop in the header is that of the example, apart from layout and what the example adds to it.
example=$(grep -v 'data == kMxrEnd' $examples/list_entries.c | tr -d '[:space:]')
loop=$(sed -n 's|^//     ||p' moved/include/moldexread/moldexread.h | tr -d '[:space:]')
[[ $example == *"$loop"* && -n $loop ]] || fail "the header shows a loop that the example lacks"
