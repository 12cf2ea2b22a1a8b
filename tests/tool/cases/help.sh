# What the help tells is also in the manual page and in what shells complete.
page=$(kvx manual)
while read -r command; do
    [[ $(kvx "$command" --help) =~ $'\n'(Examples|Subcommands):$'\n  ' ]] || fail "$command has no example"
    [[ $(kvx "$command" --help) == *$'\nGlobal options:\n  --store'* ]] || fail "$command hides --store"
    [[ $page == *".SS \"kvx $command"* ]] || fail "$command is not in the manual page"
done < <(kvx complete 'kvx ' | cut -f 1)
[[ $(kvx help) == "$(kvx --help)" && $(kvx help policy set) == "$(kvx policy set --help)" ]]
[[ $(kvx -h) == "$(kvx --help)" && $(kvx put -h) == "$(kvx put --help)" && $(kvx -V) == "$(kvx --version)" ]]
expect 2 $'kvx: history: there is no such command: did you mean versions?\nTry: kvx --help' kvx history
kvx init -q --user team
kvx mkdir -p '/docs/two words' /docs/a:b/c '/cash/$ 5'
printf '' | kvx put - :/docs/.hid
compopt() { echo -n "$* "; }
eval "$(kvx completion bash)"
COMP_WORDS=(x) COMP_CWORD=0 COMP_WORDBREAKS=$' \t\n"\'@><=;|&(:'
while IFS='|' read -r line names; do
    COMP_LINE="$line and more" COMP_POINT=${#line}
    [[ $(_kvx kvx; echo "${COMPREPLY[*]}") == "$names" ]] ||
        fail "$line: $(_kvx kvx; echo "${COMPREPLY[*]}")"
done <<'TABLE'
kvx --store none.db -q sta|stat statistics
kvx rm --rec|--recursive
kvx help sta|stat statistics
kvx ls --color=a|auto always
kvx find --type |f d
kvx ls |-o nospace -o filenames :/
kvx ls :|-o nospace -o filenames /
kvx ls te|-o nospace team:
kvx ls /cash/|-o nospace /cash/\$\ 5/
kvx ls -la :/do|-o nospace -o filenames /docs/
kvx put none ":/do|-o nospace -o filenames :/docs/
kvx ls /docs/two\ w|-o nospace -o filenames /docs/two words/
kvx ls :/docs/a:|-o nospace -o filenames b/
kvx ls :/docs/a\:b/|-o nospace -o filenames /docs/a:b/c/
kvx cat /docs/.h|-o filenames /docs/.hid
kvx ls --store none.db /do|
kvx put lo|-o bashdefault -o default 
TABLE
