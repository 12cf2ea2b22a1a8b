code=0
head -c 10M /dev/urandom >large
kvx init -q
printf 'x' | kvx put - $':/\e[31mred'
kvx put large :/
seen=$(script -qec "$program ls" /dev/null)
[[ $seen == *'\x1b[31mred'* && $seen != *$'\e'* ]] || fail "a terminal is told: $seen"
[[ $(kvx ls) == *$'\e[31mred'* ]] || fail 'a pipe gets the name as it is'

# The reader sleeps, the transfer takes its time, and so there is a bar, gone at the end.
mkfifo pipe
(sleep 1; cat >/dev/null) <pipe &
seen=$(script -qec "$program get :/large pipe" /dev/null)
[[ $seen == *'%  '*'/10M'* && $seen == *$'\r\e[K' ]] || fail "no progress: $seen"
(sleep 1; cat >/dev/null) <pipe &
seen=$(script -qec "$program -q get :/large pipe" /dev/null)
[[ -z $seen ]] || fail "not quiet: $seen"

kvx mkdir /folder /three
seen=$(script -qec "stty cols 30; $program ls" /dev/null)
[[ $seen == $'\\x1b[31mred  large\r\n\e[1;34mfolder\e[0m       \e[1;34mthree\e[0m\r' ]] || fail "columns: $seen"
for answer in "stty cols 10; $program ls" "$program ls -1"; do
    seen=$(NO_COLOR=1 script -qec "$answer" /dev/null)
    [[ $seen == $'\\x1b[31mred\r\nfolder\r\nlarge\r\nthree\r' ]] || fail "no colours: $seen"
done

(sleep 1; cat >/dev/null) <pipe &
seen=$(TERM=dumb script -qec "$program ls -1; $program get :/large pipe" /dev/null)
[[ $seen == $'\\x1b[31mred\r\nfolder\r\nlarge\r\nthree\r' ]] || fail "not for a dumb terminal: $seen"

# Asked before something is removed, one may say no, go away, or leave it at that.
for answer in 'n\n:0' '\n:0' '\x04:0' '\x03:130' 'y\n:0'; do
    kvx stat /large >/dev/null || fail 'removed without a yes'
    typed 'y/N' "${answer%:*}" "$program rm /large" || code=$?
    [[ $code == "${answer#*:}" && $(<seen) == *'remove :/large? [y/N] '* ]] || fail "$answer: $code $(<seen)"
    code=0
done
expect 3 'kvx: stat: /large: no such file or folder' kvx stat /large
[[ -z $(script -qec "$program rm -f /folder/none && $program rm -rf /folder" /dev/null) ]]

# Ctrl-C in the middle of a transfer leaves neither a bar nor half a file.
kvx put large :/
mkdir target
mkfifo target/pipe
kvx cp /large /pipe
typed '%  ' '\x03' "$program get :/large :/pipe target" || code=$?
[[ $code == 130 && $(<seen) == *'%  '*$'\r\e[K'* && $(ls -A target) != *.kvx-* ]] || fail "$code $(cat -v seen) $(ls -A target)"
