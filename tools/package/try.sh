#!/usr/bin/env bash
# Installs a package in a fresh Debian, runs its programs, removes it and looks for leftovers.
# Needs root; mounts live in a namespace of their own and end with it.  usage: try.sh PACKAGE
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh
package=$(readlink -f -- "$1")
[ "$(id -u)" -eq 0 ] || fail "A fresh Debian needs root: sudo ./dev package --try"

root=$(mktemp -d --tmpdir quorin-debian.XXXXXX)
trap 'rm -rf --one-file-system "$root"' EXIT
say "making a fresh Debian in $root"
debootstrap --variant=minbase "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$root" \
  >"$root.log" 2>&1 || fail "debootstrap did not succeed; its output is in $root.log"
rm -f "$root.log"
cp --dereference /etc/resolv.conf "$root/etc/"
cp "$package" "$root/quorin-stream.deb"

cat >"$root/try" <<'TRY'
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
export QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/user/0
mount -t proc proc /proc
mkdir -p -m 700 $XDG_RUNTIME_DIR
# A minimal system leaves out manuals and documents; a person's has them.
rm -f /etc/dpkg/dpkg.cfg.d/*

files() { find / -xdev -path /proc -prune -o -path /var -prune -o -path /tmp -prune -o \
  -path /run -prune -o -path /root -prune -o -print | sort; }

apt-get -q update >/log 2>&1
echo "== installing"
# What the package needs goes in first, so that what remains at the end is the package's own.
apt-get -q install --yes --no-install-recommends $(dpkg-deb --field /quorin-stream.deb Depends |
  sed -E 's/\([^)]*\)//g; s/\|[^,]*//g; s/,/ /g') >>/log 2>&1 || { tail /log && exit 1; }
files >/before
apt-get -q install --yes --no-install-recommends /quorin-stream.deb >>/log 2>&1 || { tail /log && exit 1; }
dpkg --verify quorin-stream

programs=$(dpkg --listfiles quorin-stream | sed -n 's|^/usr/bin/||p')
for program in $programs; do
  "$program" --version
  "$program" --help >/dev/null
  test -s "/usr/share/man/man1/$program.1.gz"
  test -s "/usr/share/bash-completion/completions/$program"
done

echo "== starting quorin-stream"
quorin-stream >/said 2>&1 &
sleep 3
kill -TERM $!
wait $! || { echo "quorin-stream ended with status $?" && cat /said && exit 1; }

echo "== diagnosing"
# There is no sound server here, which is a problem and no failure.
quorin-stream --diagnose >/said 2>&1 || [ $? -eq 1 ] || { cat /said && exit 1; }

echo "== removing"
apt-get -q purge --yes quorin-stream >>/log 2>&1 || { tail /log && exit 1; }
files >/after
left=$(comm -13 /before /after | grep -vE '^/(said|after)$' || true)
[ -z "$left" ] || { echo "left behind:" && echo "$left" && exit 1; }
echo "nothing is left behind"
TRY
unshare --mount --pid --fork chroot "$root" /bin/bash /try
