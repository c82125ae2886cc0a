# bash completion for the programs of Quorin Stream. The options come from the program's own
# --help, so they are always those of the installed version.

# shellcheck disable=SC2207 # options and values hold no blanks
_quorin() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} help value
  COMPREPLY=()
  help=$("$1" --help 2>/dev/null) || return 0

  # "--start <wifi|cable>": the words between the bars; "--wav FILE": a file.
  if [[ $previous == -* ]]; then
    value=$(sed -nE "s/^ *(-[^ ]*,? )*$previous[ =]<?([A-Za-z|./_-]+)>?.*/\2/p" <<<"$help" | head -n 1)
    case $value in
      *'|'*)
        COMPREPLY=($(compgen -W "${value//|/ }" -- "$current"))
        return 0
        ;;
      FILE* | file*)
        compopt -o filenames 2>/dev/null || true # outside of a completion there is none
        COMPREPLY=($(compgen -f -- "$current"))
        return 0
        ;;
      ?*) return 0 ;;
    esac
  fi
  # Options, and the commands of a program that has some.
  COMPREPLY=($(compgen -W "$(sed -nE \
    -e 's/^ +(-[a-zA-Z], )?(--[a-z][a-z-]*).*/\2/p' -e 's/^  ([a-z]+)  .*/\1/p' <<<"$help")" \
    -- "$current"))
}
complete -F _quorin quorin-stream quorin-listen quorin-panel quorin-device
