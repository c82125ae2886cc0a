# shellcheck shell=bash
# Fresh Debians beside this one, thrown away with the script that sourced this. Needs root.
# Sourced after common.sh.

# fresh_debian SUITE: makes $DEBIAN, a folder, and in it the minimal system "bare". What was
# downloaded stays in build/apt for the next time.
fresh_debian() {
  [ "$(id -u)" -eq 0 ] || fail "A fresh Debian needs root: run this command with sudo."
  need_packages debootstrap git
  APT_CACHE=$PWD/build/apt/$1
  mkdir -p "$APT_CACHE"
  DEBIAN=$(mktemp -d "${TMPDIR:-/var/tmp}/quorin-debian.XXXXXX")
  trap 'rm -rf --one-file-system "$DEBIAN"' EXIT
  say "making a fresh Debian, $1, in $DEBIAN"
  timeout 15m debootstrap --variant=minbase --cache-dir="$APT_CACHE" "$1" "$DEBIAN/bare" \
    >"$DEBIAN/log" 2>&1 || {
    tail -n 20 "$DEBIAN/log" >&2
    fail "debootstrap $1 did not succeed; the lines above are the last it said."
  }
  cp --dereference /etc/resolv.conf "$DEBIAN/bare/etc/"
}

# inside SYSTEM MINUTES SCRIPT: runs the text SCRIPT with bash in that system of $DEBIAN. Its
# processes and mounts end with it, and so does all of it after so many minutes.
inside() {
  # shellcheck disable=SC2016 # the inner shell expands it
  timeout --kill-after=10 "$2m" unshare --mount --pid --fork --kill-child bash -euc '
    mount --bind "$2" "$2" # a root that can be unshared again is a mount
    mount --bind "$1" "$2/var/cache/apt/archives"
    mount -t proc proc "$2/proc"
    mount -t sysfs -o ro sysfs "$2/sys"
    mount -t tmpfs tmpfs "$2/dev/shm"
    exec env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
      DEBIAN_FRONTEND=noninteractive chroot "$2" bash -euo pipefail -c "$3"
  ' -- "$APT_CACHE" "$DEBIAN/$1" "$3" </dev/null
}
