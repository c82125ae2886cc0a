#!/usr/bin/env bash
# ./dev package [--try [SUITE]]: builds the Debian package of HEAD into build/package and has
# lintian judge it. --try (as root) does so in a fresh Debian, this one's or SUITE, then installs
# it in another one, runs every program and removes it again.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh

# The tree has its .git, from which the programs take the commit they name.
fresh_tree() { rm -rf "$1" && git clone --quiet . "$1"; }
make_package='dpkg-buildpackage -us -uc
  lintian --allow-root --fail-on error,warning --tag-display-limit 0 ../*.changes'

rm -rf build/package
mkdir -p build/package
if [ "${1-}" != --try ]; then
  [ $# -eq 0 ] || fail "usage: ./dev package [--try [SUITE]]"
  need_packages "${BUILD_PACKAGES[@]}" "${PACKAGE_PACKAGES[@]}"
  fresh_tree build/package/quorin-stream
  (cd build/package/quorin-stream && eval "$make_package")
else
  source tools/dev/fresh_debian.sh
  fresh_debian "${2-$(. /etc/os-release && echo "$VERSION_CODENAME")}"
  cp -a "$DEBIAN/bare" "$DEBIAN/builder"
  fresh_tree "$DEBIAN/builder/package/quorin-stream"
  inside builder 60 "cd /package/quorin-stream
    apt-get -q update >/log 2>&1
    apt-get -q install --yes --no-install-recommends dpkg-dev git lintian >>/log 2>&1
    apt-get -q build-dep --yes --no-install-recommends ./ >>/log 2>&1 || { tail /log && exit 1; }
    $make_package"
  cp "$DEBIAN"/builder/package/*.* build/package/
  cp build/package/quorin-stream_*.deb "$DEBIAN/bare/quorin-stream.deb"
  inside bare 20 "$(cat tools/package/trial.sh)"
fi
say "done: $(echo build/package/quorin-stream_*.deb)"
