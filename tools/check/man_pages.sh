#!/usr/bin/env bash
# Every option and command that a program's --help lists stands in its man page, and the other
# way round; the page is sound roff; --version tells version and commit.
# usage: man_pages.sh MAN_PAGE PROGRAM
set -euo pipefail
page=$1
program=$2
broken=0
complain() {
  echo "$(basename "$program"): $*"
  broken=1
}

option_names() { { grep -oE -- '--?[a-zA-Z][a-zA-Z0-9-]*' || true; } | sort -u; }

# In the help, an option begins its line and two blanks end its part; a value is no option.
options_of_help() { sed -nE 's/^ +(-.*)$/\1/p' <<<"$1" | sed -E 's/  .*//; s/[ =]<[^>]*>//g' | option_names; }
# In the page it is the line after a .TP.
options_of_page() { sed -nE '/^\.TP/{n;s/\\f[A-Z]//g;s/\\-/-/g;/^-/p}' "$1" | option_names; }

# Commands: a word that begins a line of the help, and what the page's section of that name holds.
commands_of_help() { sed -nE 's/^  ([a-z]+)  .*/\1/p' <<<"$1" | sort -u; }
commands_of_page() { sed -nE '/^\.SH COMMANDS/,/^\.SH OPTIONS/{s/^\.B ([a-z]+)$/\1/p}' "$1" | sort -u; }

help=$("$program" --help) || complain "--help fails with status $?"
words_of_help() { options_of_help "$help" && commands_of_help "$help"; }
words_of_page() { options_of_page "$page" && commands_of_page "$page"; }
missing=$(comm -23 <(words_of_help | sort) <(words_of_page | sort))
stale=$(comm -13 <(words_of_help | sort) <(words_of_page | sort))
[ -n "$(options_of_help "$help")" ] || complain "no option found in --help"
[ -z "$missing" ] || complain "not in $(basename "$page"):" $missing
[ -z "$stale" ] || complain "not in --help:" $stale

if command -v groff >/dev/null; then
  warnings=$(LC_ALL=C.UTF-8 groff -man -Tutf8 -ww -z "$page" 2>&1)
  [ -z "$warnings" ] || complain "$warnings"
fi

said=$("$program" --version) || complain "--version fails with status $?"
[[ $said =~ ^"$(basename "$program")"\ [0-9]+\.[0-9]+\.[0-9]+\ \(([0-9a-f]{7}|unknown)\)$ ]] ||
  complain "--version says '$said', not '$(basename "$program") 1.2.3 (18c74eb)'"
exit $broken
