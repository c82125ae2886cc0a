#!/usr/bin/env bash
# ./dev try-release SUITE: what HEAD does on a bare Debian of that name: ./dev demo and ./dev test
# in a clean clone, with nothing installed before. Needs root.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh
source tools/dev/fresh_debian.sh
[ $# -eq 1 ] || fail "usage: ./dev try-release SUITE    (bookworm, trixie)"

fresh_debian "$1"
git clone --quiet . "$DEBIAN/bare/quorin"
inside bare 90 'cd /quorin && ./dev demo && ./dev test' || fail "HEAD does not work on $1."
say "./dev demo and ./dev test work on a bare $1"
