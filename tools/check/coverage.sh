#!/usr/bin/env bash
# ./dev coverage [ctest arguments]: runs the tests over an instrumented build, prints the lines
# and branches they reach per module, and then each file of rules and parsers, which is to reach
# 95 % of its branches unless coverage_rules.txt says why not. A page per file: build/coverage/html
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh

need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${COVERAGE_PACKAGES[@]}"
configure coverage
build coverage
find build/coverage -name '*.gcda' -delete
say "running the tests"
tests=passed
ctest --preset coverage --parallel "$(nproc)" "$@" || tests=failed

say "collecting"
mkdir -p build/coverage/html
# The branches that the compiler adds for exceptions are nobody's decision.
gcovr --root . --object-directory build/coverage -j "$(nproc)" \
  --filter src/ --filter tools/ --exclude-throw-branches --exclude-unreachable-branches \
  --csv build/coverage/coverage.csv --html-details build/coverage/html/index.html \
  build/coverage 2>build/coverage/gcovr.log || {
  cat build/coverage/gcovr.log >&2
  fail "gcovr did not succeed"
}

say "modules"
tools/check/coverage_modules.awk build/coverage/coverage.csv
say "rules and parsers"
rules=passed
tools/check/coverage_rules.awk build/coverage/coverage.csv tools/check/coverage_rules.txt ||
  rules=failed
say "tests $tests, rules and parsers $rules; each line: build/coverage/html/index.html"
[ "$tests $rules" = "passed passed" ]
