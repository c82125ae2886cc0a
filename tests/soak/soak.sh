#!/usr/bin/env bash
# ./dev soak [--minutes N] [--seed N]: the whole program for N minutes (5) while its clients, its
# network and its devices misbehave at random; the report is printed.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh

[ "$(id -u)" -eq 0 ] || fail "./dev soak makes a network of its own, which needs root: sudo ./dev soak"
need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
configure release
build release quorin-soak
mkdir -p build/soak
say "soaking; the program's own lines go to build/soak/output.log"
QT_QPA_PLATFORM=offscreen build/release/bin/quorin-soak "$@" >build/soak/output.log
