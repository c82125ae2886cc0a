#!/usr/bin/env bash
# ./dev check [STEP...]: everything that is checked beyond the tests. Every step runs, whatever
# the others say; the summary comes last. QUORIN_FUZZ_SECONDS: how long each fuzzer runs (60).
set -uo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.." || exit
source tools/dev/common.sh

STEPS=(format lint asan tsan fuzz)

sources() { find src tools tests bench -name '*.h' -o -name '*.cpp' | sort; }

step_format() { sources | xargs clang-format-19 --dry-run --Werror; }

# Also the build with clang: warnings are errors, with thread-safety analysis.
step_lint() {
  configure lint && build lint &&
    run-clang-tidy-19 -quiet -p build/lint -j "$(nproc)" "^$PWD/(src|tools|tests|bench)/"
}

sanitized_tests() {
  configure "$1" && build "$1" && ctest --preset "$1" --parallel "$(nproc)" "${@:2}"
}
step_asan() {
  LSAN_OPTIONS=suppressions=$PWD/tools/check/lsan.supp sanitized_tests asan
}
# Without those that start the helper: the sanitizer does not survive QProcess's clone.
step_tsan() {
  TSAN_OPTIONS="suppressions=$PWD/tools/check/tsan.supp halt_on_error=1" sanitized_tests tsan \
    --exclude-regex "OneClick|HandsOver"
}

step_fuzz() {
  configure fuzz && build fuzz || return
  local fuzzer corpus seeds
  for fuzzer in build/fuzz/bin/*_fuzz; do
    [ -x "$fuzzer" ] || { echo "no fuzzer was built" && return 1; }
    corpus=build/fuzz/corpus/$(basename "$fuzzer")
    mkdir -p "$corpus"
    seeds=tests/fuzz/seeds/$(basename "$fuzzer")
    [ ! -d "$seeds" ] || cp -n "$seeds"/* "$corpus"
    say "fuzzing with $(basename "$fuzzer")"
    "$fuzzer" -max_total_time="${QUORIN_FUZZ_SECONDS:-60}" -print_final_stats=1 -verbosity=0 \
      -artifact_prefix="$corpus-" "$corpus" || return
  done
}

main() {
  local chosen=("$@") step summary=() failed=0 begun verdict
  [ $# -gt 0 ] || chosen=("${STEPS[@]}")
  for step in "${chosen[@]}"; do
    declare -F "step_$step" >/dev/null || fail "check: no step '$step' (there are: ${STEPS[*]})"
  done
  need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${CHECK_PACKAGES[@]}" || exit
  for step in "${chosen[@]}"; do
    say "step $step"
    begun=$SECONDS
    verdict=passed
    "step_$step" || verdict=FAILED failed=1
    summary+=("$(printf '%s  %-9s %4d s' $verdict "$step" $((SECONDS - begun)))")
  done
  say "summary"
  printf '%s\n' "${summary[@]}"
  return $failed
}

main "$@"
