#!/usr/bin/env bash
# Every file that README.md and docs/*.md link to exists. Prints each link that leads nowhere.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."

broken=0
found=0
for document in README.md docs/*.md; do
  [ -f "$document" ] || continue
  while IFS=: read -r line link; do
    target=${link#*](}
    target=${target%)}
    target=${target%%#*}
    case $target in '' | *://* | mailto:*) continue ;; esac
    found=$((found + 1))
    [ -e "$(dirname "$document")/$target" ] || {
      echo "$document:$line: there is no $target"
      broken=1
    }
  done < <(grep -noE '\]\([^)]+\)' "$document")
done
echo "document links: $found looked at"
exit $broken
