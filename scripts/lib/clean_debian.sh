#!/usr/bin/env bash
# Tries the packages of a folder in bare Debians: clean_debian.sh FOLDER
# In one it builds and tests the source package, and lintian finds nothing. In the other apt installs the
# .debs. The program and the Python module work, Midnight Commander copies a file out of an archive,
# desktops know archives, and file does as README.Debian says. Nothing stays after the removal.
set -euo pipefail
. "$(dirname "$0")/packages.sh"
. "$(dirname "$0")/chroot.sh"
folder=$(realpath "$1")
work=$(mktemp -d -p "${MOLDEX_LARGE_DIR:-/var/tmp}")
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
cd "$work"

make_chroot "$work/build"
cp -a build install

mkdir build/src install/debs
cp "$folder"/*.dsc "$folder"/*.tar.* build/src
in_chroot build sh -ec 'cd /src
  { apt-get update -qq && apt-get build-dep -y -qq --no-install-recommends ./*.dsc; } >/var/log/install 2>&1
  dpkg-source -x ./*.dsc unpacked && cd unpacked && dpkg-buildpackage -us -uc' >log 2>&1 ||
  { tail -n 40 log build/var/log/install; exit 1; }
install_in_chroot build lintian
in_chroot build sh -c 'lintian --fail-on error,warning --allow-root /src/*.changes'
echo "built in a bare Debian; its tests:" && grep -E 'PASSED|^Ran ' log

find build/src -maxdepth 1 -name '*.deb' ! -name '*dbgsym*' -exec cp -t install/debs {} +
install_in_chroot install file shared-mime-info libglib2.0-bin mc tmux
in_chroot install sh -ec 'cd /root
  apt-get install -y -qq /debs/*.deb
  moldex -cf archive.qel /usr/share/doc && moldex -xf archive.qel -R out && diff -r /usr/share/doc out/usr/share/doc

  python3 -m moldex_archive -t archive.qel | grep ", 0 damaged"
  # Ctrl-S finds a name, F5 copies the file into the other panel.
  soon() { for _ in $(seq 100); do if "$@"; then return; fi; sleep 0.2; done; tmux capture-pane -p; return 1; }
  screen_shows() { tmux capture-pane -p | grep -q "$1"; }
  mkdir panel
  tmux new-session -d -x 120 -y 40 "mc -u archive.qel/uqel://usr/share/doc/moldex panel"
  soon screen_shows CONTRIBUTING.md
  tmux send-keys C-s README.md F5
  soon screen_shows "Copy file"
  tmux send-keys Enter
  soon cmp -s panel/README.md /usr/share/doc/moldex/README.md
  tmux kill-server

  gio info -a standard::content-type archive.qel | grep -q application/x-moldex
  test -z "$(file archive.qel | grep MOLDEX)"
  sed -n "s/^ *for .*:  \(.*\)/\1/p" /usr/share/doc/moldex/README.Debian >ways
  while read -r way; do
    eval "$way" >said
    file archive.qel | cat - said | grep -q "MOLDEX archive, version 2.00"
    rm -f ~/.magic && : >/etc/magic
  done <ways
  test "$(wc -l <ways)" -eq 3
  apt-get purge -y -qq moldex libcscompr1 libmoldexread1 && rm -r archive.qel out
  test -z "$(find / -xdev \( -name "*moldex*" -o -name "*cscompr*" -o -name uqel \) -not -path "/debs/*")"' >log 2>&1 ||
  { tail -n 40 log; exit 1; }
echo "installed, used and removed in a bare Debian"
