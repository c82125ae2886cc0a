#!/usr/bin/env bash
# The include rule: a module includes only what this table allows it. Prints every line that
# breaks the rule and fails when there is one.  usage: include_rule.sh [SOURCE_FOLDER]
set -euo pipefail
cd -- "${1:-$(dirname -- "$(readlink -f -- "$0")")/../../src}"

# module            what it may include besides itself
RULES='
wire
platform/posix
platform/version
platform/log
platform/dispatch   platform/log platform/posix wire
platform/audio      platform/dispatch platform/log platform/posix wire
platform/network    platform/dispatch platform/log platform/posix wire
platform/qr         platform/dispatch platform/log platform/posix wire
platform/usb        platform/dispatch platform/log platform/posix wire
platform/pictures
platform/desktop    platform/dispatch platform/log platform/posix wire
audio               wire platform/*
wifi                wire platform/*
usb                 wire platform/*
panel               wire platform/* audio
app                 wire platform/* audio wifi usb panel
'
# What knows the rules and the data never knows a widget.
WITHOUT_QT='wire|audio|wifi|usb'

# module_of PATH: "platform/audio" of "platform/audio/engine.h", "wifi" of "wifi/server.h".
module_of() {
  case $1 in
    platform/*/*) echo "${1%/*}" ;;
    */*) echo "${1%%/*}" ;;
  esac
}

allowed() { # allowed FROM TO
  [ "$1" != "$2" ] || return 0
  local module may entry
  while read -r module may; do
    [ "$module" = "$1" ] || continue
    set -f # the entries are patterns, not file names
    for entry in $may; do
      # shellcheck disable=SC2053
      if [[ $2 == $entry ]]; then set +f; return 0; fi
    done
    set +f
    return 1
  done <<<"$RULES"
  return 1 # a folder that the table does not know may include nothing
}

broken=0
report() {
  echo "$1: $2"
  broken=1
}

while IFS=: read -r file line text; do
  from=$(module_of "$file")
  [[ $text =~ [\"\<]([^\"\>]+) ]] || continue
  to=$(module_of "${BASH_REMATCH[1]}")
  case $text in
    *'"'*)
      [ -n "$to" ] || report "$file:$line" "includes without its module's name: $text"
      [ -z "$to" ] || allowed "$from" "$to" || report "$file:$line" "$from may not include $to"
      ;;
    *'<Q'*)
      [[ ! $from =~ ^($WITHOUT_QT)$ ]] || report "$file:$line" "$from may not know Qt"
      ;;
  esac
done < <(grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*("|<Q)' \
  --include='*.h' --include='*.cpp' . | sed 's|^\./||')

[ $broken -eq 0 ] && echo "include rule: kept"
exit $broken
