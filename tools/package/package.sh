#!/usr/bin/env bash
# ./dev package [--try]: builds the Debian package into build/package and has lintian judge it.
# --try (as root): installs it in a fresh Debian of its own, runs every program, removes it again.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh

try=no
for argument; do
  case $argument in
    --try) try=yes ;;
    *) fail "usage: ./dev package [--try]" ;;
  esac
done

need_packages "${BUILD_PACKAGES[@]}" "${PACKAGE_PACKAGES[@]}"

# Debian's own compiler and linker flags, as the C++ compiler is to have them.
flags() { DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get "$1"; }
linking="$(flags LDFLAGS) -Wl,--as-needed"
configure package -DCMAKE_CXX_FLAGS="$(flags CXXFLAGS) $(flags CPPFLAGS)" \
  -DCMAKE_EXE_LINKER_FLAGS="$linking" -DCMAKE_MODULE_LINKER_FLAGS="$linking"
build package

say "packing"
rm -f build/package/*.deb
(cd build/package && umask 022 && cpack >cpack.log 2>&1) || {
  cat build/package/cpack.log >&2
  fail "cpack did not succeed"
}
package=$(echo build/package/quorin-stream_*.deb)
dpkg-deb --field "$package" Package Version Architecture Depends Recommends

say "lintian"
as_user=()
[ "$(id -u)" -ne 0 ] || as_user=(--allow-root)
lintian "${as_user[@]}" --fail-on error --tag-display-limit 0 "$package"

[ "$try" = no ] || tools/package/try.sh "$package"
say "done: $package"
