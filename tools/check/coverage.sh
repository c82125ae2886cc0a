#!/usr/bin/env bash
# ./dev coverage [ctest arguments]: runs the tests over an instrumented build and prints which
# branches of the parsers and rules in gcovr.cfg they reach. A page per file of everything:
# build/coverage/html
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh

need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${COVERAGE_PACKAGES[@]}"
configure coverage
build coverage
find build/coverage -name '*.gcda' -delete
say "running the tests"
ctest --preset coverage --parallel "$(nproc)" "$@"
say "collecting"
mkdir -p build/coverage/html
gcovr --config /dev/null --root . --filter src/ --filter tools/ --exclude-throw-branches \
  --html-details build/coverage/html/index.html build/coverage
say "parsers and rules"
gcovr --branches build/coverage
