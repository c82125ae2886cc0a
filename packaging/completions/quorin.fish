# fish completion: the options and what they do, as the program's own --help tells them.
set -l program (string replace -r '\.fish$' '' (status basename))
for line in ($program --help 2>/dev/null)
    set -l found (string match -r '^ +(?:-\w, )?--([a-z][a-z-]*)(?:[ =]<?[^ ]+>?)?\s+(.*)' -- $line)
    and complete -c $program -l $found[2] -d $found[3]
    set found (string match -r '^  ([a-z]+)  +(.*)' -- $line)
    and complete -c $program -n __fish_use_subcommand -f -a $found[2] -d $found[3]
end
