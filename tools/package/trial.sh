# shellcheck shell=bash
# Runs in a bare Debian: installs /quorin-stream.deb, runs its programs, removes it and looks for
# what it left.
export QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/user/0
mkdir -p $XDG_RUNTIME_DIR
chmod 700 $XDG_RUNTIME_DIR
# A minimal system leaves out manuals and documents; a desktop system has them.
rm -f /etc/dpkg/dpkg.cfg.d/*

apt() { apt-get -q "$@" >>/log 2>&1 || { tail /log && exit 1; }; }
files() {
  find / -xdev \( -path /proc -o -path /sys -o -path /var -o -path /tmp -o -path /run \
    -o -path /root \) -prune -o -print | sort
}

echo "== installing"
apt update
# What the package needs goes in first, so that what remains at the end is the package's own.
# shellcheck disable=SC2046 # each word is a package
apt install --yes --no-install-recommends $(dpkg-deb --field /quorin-stream.deb Depends |
  sed -E 's/\([^)]*\)//g; s/\|[^,]*//g; s/,/ /g')
touch /said /after
files >/before
apt install --yes --no-install-recommends /quorin-stream.deb
dpkg --verify quorin-stream

for program in $(dpkg --listfiles quorin-stream | sed -n 's|^/usr/bin/||p'); do
  "$program" --version
  "$program" --help >/dev/null
  test -s "/usr/share/man/man1/$program.1.gz"
  test -s "/usr/share/bash-completion/completions/$program"
done
# The launcher's icon is there.
icon=$(sed -n 's/^Icon=//p' /usr/share/applications/org.quorin.Stream.desktop)
test -s "/usr/share/icons/hicolor/scalable/apps/$icon.svg"

echo "== starting quorin-stream"
quorin-stream >/said 2>&1 &
sleep 3
kill -TERM $!
wait $! || { echo "quorin-stream ended with status $?" && cat /said && exit 1; }

echo "== diagnosing"
# There is no sound server here, which is a problem and no failure.
quorin-stream --diagnose >/said 2>&1 || [ $? -eq 1 ] || { cat /said && exit 1; }

echo "== removing"
apt purge --yes quorin-stream
files >/after
left=$(comm -13 /before /after)
[ -z "$left" ] || { echo "left behind:" && echo "$left" && exit 1; }
echo "nothing is left behind"
