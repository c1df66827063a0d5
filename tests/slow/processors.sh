#!/usr/bin/env bash
# The tests of the library, of the archive and of the program on other processors, run by qemu:
#   processors.sh [PROCESSOR...]     aarch64, and s390x with the high byte first
# Their archives are those of this machine, byte for byte. Debian's compilers for them cannot stand beside
# those for 32 bits, so all of this happens in a bare Debian. It needs 3 GB in MOLDEX_LARGE_DIR or /var/tmp.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/packages.sh
. scripts/lib/chroot.sh
[ "$(id -u)" -eq 0 ] || { echo "left out: only root can make a bare Debian"; exit 77; }
[ $# -gt 0 ] || set -- aarch64 s390x

work=$(mktemp -d -p "${MOLDEX_LARGE_DIR:-/var/tmp}")
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
root=$work/debian
make_chroot "$root"
for processor in "$@"; do
  debian=${processor/aarch64/arm64}
  in_chroot "$root" dpkg --add-architecture "$debian"
  foreign+=("g++-$processor-linux-gnu" "zlib1g-dev:$debian" "libstdc++6:$debian")
done
install_in_chroot "$root" g++ cmake ninja-build qemu-user googletest libgtest-dev ncompress zlib1g-dev "${foreign[@]}"
# The locale C.UTF-8 is a file in the processor's order of bytes.
for processor in "$@"; do
  in_chroot "$root" sh -ec 'mkdir -p "/locales/$1" && cd "/locales/$1" && apt-get download -qq "libc-bin:$2" &&
    dpkg-deb -x libc-bin_*.deb .' sh "$processor" "${processor/aarch64/arm64}"
done
mkdir "$root/moldex"
sources | tar -C "$root/moldex" --no-same-owner -xf -
in_chroot "$root" /moldex/tests/slow/processors_inside.sh "$@"
