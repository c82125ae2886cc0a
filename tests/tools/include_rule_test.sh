#!/usr/bin/env bash
# The include rule lets the good include lines pass and names each bad one.
# usage: include_rule_test.sh PATH_OF_include_rule.sh
set -euo pipefail
rule=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{wire,platform/audio,audio,wifi,app}

put() { printf '%s\n' "$2" >>"$tree/$1"; }
put wire/a.h '#include <array>'
put wifi/a.h '#include "wire/a.h"'
put audio/a.cpp '#include "platform/audio/a.h"'
put app/a.h '#include "wifi/a.h"'
put app/a.h '#include <QWidget>'
"$rule" "$tree" >/dev/null || { echo "good includes were refused" && exit 1; }

put wifi/b.h '#include "app/a.h"'
put wifi/c.h '#include "audio/a.h"'
put audio/b.h '#include <QString>'
put platform/audio/b.h '  #  include "audio/a.h"'
put app/b.h '#include "a.h"'
if said=$("$rule" "$tree"); then
  echo "bad includes passed" && exit 1
fi
for place in wifi/b.h:1 wifi/c.h:1 audio/b.h:1 platform/audio/b.h:1 app/b.h:1; do
  grep -q "^$place: " <<<"$said" || { echo "$place was not named in: $said" && exit 1; }
done
[ "$(wc -l <<<"$said")" -eq 5 ] || { echo "more than the bad lines were named: $said" && exit 1; }
