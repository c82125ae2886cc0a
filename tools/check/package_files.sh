#!/usr/bin/env bash
# What the desktop reads of us is valid, and the release is the same one everywhere.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
id=org.quorin.Stream
desktop=packaging/desktop/$id.desktop
metainfo=packaging/desktop/$id.metainfo.xml

broken=0
complain() {
  echo "$*"
  broken=1
}

said=$(desktop-file-validate "$desktop" 2>&1) || true
[ -z "$said" ] || complain "$said"
said=$(appstreamcli validate --no-net --no-color "$metainfo" 2>&1) || complain "$said"

version=$(sed -nE 's/^project\(.*VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
[ -n "$version" ] || complain "CMakeLists.txt: no version found"
grep -q "<release version=\"$version\"" "$metainfo" || complain "$metainfo: no release $version"
head -n 1 debian/changelog | grep -qF "($version)" ||
  complain "debian/changelog: does not begin with $version"

# A window finds its launcher by this name, and the desktop the icon.
grep -rqF "\"$id\"" src || complain "src does not set the desktop file name $id"
grep -qx "Icon=$id" "$desktop" || complain "$desktop does not name the installed icon $id"
exit $broken
