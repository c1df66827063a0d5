# A bare Debian in a folder, for work that needs other packages than this machine may have. Scripts
# source this file. It needs root, and changes nothing outside the folder.

# make_chroot FOLDER: the packages that every Debian has, and apt.
make_chroot() {
  local root=$1
  [ "$(id -u)" -eq 0 ] || { echo "${0##*/}: a bare Debian is made by root alone" >&2; return 1; }
  need_packages debootstrap
  nice debootstrap --variant=minbase "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$root" \
    >"$root.log" || { tail -n 20 "$root.log" >&2; return 1; }
  rm -f "$root.log"
  find /etc/apt/apt.conf.d -name '*proxy*' -exec cp -t "$root/etc/apt/apt.conf.d" {} +
  printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d" && chmod +x "$root/usr/sbin/policy-rc.d"
}

# in_chroot FOLDER COMMAND...: runs the command there, as root. Its processes and mounts end with it.
in_chroot() {
  local root=$1
  shift
  # shellcheck disable=SC2016  # the inner shell expands them
  nice unshare --mount --pid --fork sh -c 'root=$1 && shift &&
    mount -t proc proc "$root/proc" && mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts" &&
    exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
      chroot "$root" "$@"' sh "$root" "$@"
}

# install_in_chroot FOLDER PACKAGE...: a package may be a file of that folder.
install_in_chroot() {
  local root=$1
  shift
  in_chroot "$root" sh -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends "$@"' sh "$@" \
    >"$root/var/log/install" 2>&1 || { tail -n 20 "$root/var/log/install" >&2; return 1; }
}

# sources: the files of this checkout, whether committed or not, as a tar archive.
sources() { git ls-files -z --cached --others --exclude-standard | tar --null -T - -cf -; }
