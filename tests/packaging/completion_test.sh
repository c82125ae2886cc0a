#!/usr/bin/env bash
# bash offers a program's own options, the values of a choice, and files where one is wanted.
# usage: completion_test.sh PATH_OF_quorin.bash
set -euo pipefail
source "$1"
here=$(mktemp -d)
trap 'rm -rf "$here"' EXIT
cd "$here"
touch sound.wav other.txt
cat >quorin-stream <<'HELP'
#!/bin/sh
cat <<'TEXT'
Usage: quorin-stream [options]

Options:
  --start <wifi|cable>  Enter that mode; see --nothing.
  --port <N>            A number.
  --wav FILE.wav        A file.
  --sink NAME           A name.
  status                A command.
  -h, --help            Print this.
TEXT
HELP
chmod +x quorin-stream

offers() { # offers EXPECTED WORD...: for the last of the words
  local expected=$1
  COMP_WORDS=("${@:2}")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _quorin ./quorin-stream
  [ "${COMPREPLY[*]}" = "$expected" ] ||
    { echo "'${COMP_WORDS[*]}' offers '${COMPREPLY[*]}', not '$expected'" && exit 1; }
}
offers "--start --port --wav --sink status --help" quorin-stream ""
offers "--start --sink" quorin-stream --s
offers "status" quorin-stream st
offers "wifi cable" quorin-stream --start ""
offers "cable" quorin-stream --port 9000 --start c
offers "" quorin-stream --port ""
offers "" quorin-stream --sink --
offers "sound.wav" quorin-stream --wav s
offers "--start --port --wav --sink --help" quorin-stream --help --
