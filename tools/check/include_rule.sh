#!/usr/bin/env bash
# The include rule: a module includes only what this table allows it. Prints every line that
# breaks the rule and fails when there is one.  usage: include_rule.sh [SOURCE_FOLDER]
set -euo pipefail
cd -- "${1:-$(dirname -- "$(readlink -f -- "$0")")/../../src}"

# module: what it may include besides itself; a folder that is not listed may include nothing
RULES='
wire:
platform/posix:
platform/log:
platform/version:
platform/dispatch: platform/log platform/posix wire
platform/audio:    platform/dispatch platform/log platform/posix wire
platform/network:  platform/dispatch platform/log platform/posix wire
platform/qr:       platform/dispatch platform/log platform/posix wire
platform/usb:      platform/dispatch platform/log platform/posix wire
platform/desktop:  platform/dispatch platform/log platform/posix wire
platform/pictures: platform/dispatch platform/log platform/posix wire
audio:             wire platform
wifi:              wire platform
usb:               wire platform
panel:             wire platform audio
app:               wire platform audio wifi usb panel
'
# What knows the rules and the data never knows a widget.
WITHOUT_QT='wire audio wifi usb'

files() { find . -name '*.h' -o -name '*.cpp' | sort | sed 's|^\./||'; }

files | xargs -d '\n' awk -v rules="$RULES" -v without_qt="$WITHOUT_QT" '
  # "platform/audio" of "platform/audio/engine.h", "wifi" of "wifi/pages/server.h"
  function module_of(path,   part, depth) {
    depth = split(path, part, "/")
    if (depth < 2) return ""
    return part[1] == "platform" && depth > 2 ? part[1] "/" part[2] : part[1]
  }
  function report(text) {
    print FILENAME ":" FNR ": " text
    broken = 1
  }
  BEGIN {
    count = split(rules, line, "\n")
    for (i = 1; i <= count; ++i) {
      words = split(line[i], word, /:? +|:$/)
      for (k = 2; k <= words; ++k) may[word[1], word[k]] = 1
    }
    count = split(without_qt, word, " ")
    for (i = 1; i <= count; ++i) no_qt[word[i]] = 1
  }
  /^[ \t]*#[ \t]*include[ \t]*["<]/ {
    from = module_of(FILENAME)
    split($0, quoted, /["<>]/)
    target = quoted[2]
    if (/</) {
      if (target ~ /^Q/ && from in no_qt) report(from " may not know Qt")
      next
    }
    to = module_of(target)
    top = to
    sub("/.*", "", top)
    if (to == "") report("includes without its module: " target)
    else if (to != from && !((from, to) in may) && !((from, top) in may))
      report(from " may not include " to)
  }
  END {
    if (!broken) print "include rule: kept"
    exit broken
  }'
