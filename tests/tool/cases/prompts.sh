kvx init -q --token-file token
mkfifo keys
exec 4<>keys
# onTerminal KEYS COMMAND: types the keys when it is prompted for them.
onTerminal() {
    : >seen
    (until grep -q 'Token: ' seen; do sleep 0.05; done; printf "$1" >&4) &
    script -qec "$2" /dev/null <&4 >seen || true
    seen=$(<seen)
}
onTerminal "$(<token)\n" "$program login"
[[ $seen == *'logged in to'* && $seen != *$(<token)* ]] || fail "login: $seen"
onTerminal '\003' "trap : INT; $program login; echo code=\$?; stty -a"
[[ $seen == *code=130* && $seen == *' echo '* ]] || fail "interrupted: $seen"
