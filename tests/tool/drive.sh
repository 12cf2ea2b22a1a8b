#!/bin/bash
# Drives the real program: drive.sh PROGRAM CASE, each case in an empty home of its own.
set -eu
program=$1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
export HOME=$work/home TZ=UTC LC_ALL=C.UTF-8
unset XDG_DATA_HOME XDG_STATE_HOME KVX_STORE KVX_TOKEN
store=$HOME/.local/share/kvx/store.db
mkdir "$HOME"

kvx() { "$program" "$@"; }
fail() { echo "FAILED: $*" >&2; exit 1; }

# expect CODE ERRORS COMMAND...: the exit code and the whole of standard error.
expect() {
    local code=$1 errors=$2 actual=0
    shift 2
    "$@" >output 2>errors || actual=$?
    [[ $actual == "$code" && $(<errors) == "$errors" ]] ||
        fail "$* -> $actual, not $code: $(<errors), not $errors"
}

# limited OPTION LIMIT COMMAND...: with a limit of ulimit, where the program is as it is shipped.
limited() {
    local option=$1 limit=$2
    shift 2
    (if [[ -z $SANITIZED ]]; then ulimit "$option" "$limit"; fi; "$@")
}

trees() {
    local i folder
    for ((i = 0; i < 20; i++)); do
        folder=tree/$((i % 4))/$((i / 4))
        mkdir -p "$folder"
        head -c 50K /dev/urandom | split -b 1K - "$folder/file"
        touch -d "@$((i * 100000000)).$((i + 100000000))" "$folder"/*
    done
    mkdir tree/empty
    touch tree/no-content tree/.hidden
    kvx init -q
    time kvx put -r tree :/
    time kvx get -r :/tree back
    diff -r tree back
    diff <(cd tree && find . -type f -printf '%P %T@\n' | sort) \
        <(cd back && find . -type f -printf '%P %T@\n' | sort)

    # Again over what is there: a changed file arrives, and nothing else is lost.
    echo changed >tree/1/1/fileaa
    kvx put -r tree :/
    kvx get -r :/tree/ back/
    [[ -d back/tree ]] && diff -r tree back/tree
}

largeFile() {
    head -c 256M /dev/urandom >large
    kvx init -q
    # One copy and the threads' stacks fit in, two copies do not.
    time limited -d 500000 kvx put large :/
    time limited -d 180000 kvx get :/large back
    cmp large back
    kvx cat /large | cmp - large
    head -c 20M large | kvx put - :/piped
    kvx get :/piped - | cmp -n 20971520 - large
}

names() {
    local name
    mkdir odd
    for name in 'two words' $'new\nline' '😀 ünï' '-dash' '[a,b]' 'a:b' '++' '%2F' $'tab\tbell\a' "it's" '"q"'; do
        echo "$name" >"odd/$name"
    done
    kvx init -q
    kvx put -r odd :/
    kvx get -r :/odd back
    diff -r odd back
    cd odd
    kvx mkdir /one
    kvx put -- 'two words' $'new\nline' '😀 ünï' -dash '[a,b]' ./a:b ++ %2F $'tab\tbell\a' "it's" '"q"' :/one
    cd ..
    kvx get -r :/one one
    diff -r odd one
    [[ $(kvx ls -- :/one/-dash) == /one/-dash ]]
    diff <(kvx ls /one | sort) <(ls --literal odd | sort)

    printf 'x' >$'odd/bad\xff'
    expect 4 'kvx: put: odd/bad\xff: the name is not valid UTF-8' kvx put -r odd :/again
    expect 4 'kvx: put: odd/bad\xff: the name is not valid UTF-8' kvx put $'odd/bad\xff' :/
    expect 4 'kvx: ls: /bad\xff: the name is not valid UTF-8' kvx ls $'/bad\xff'
    kvx get -r :/again again
    rm $'odd/bad\xff'
    diff -r odd again

    ln -s odd link
    ln -s link odd/inside
    mkfifo odd/pipe
    expect 0 $'kvx: put: link/inside: left out: a symbolic link\nkvx: put: link/pipe: left out: a special file' \
        kvx put -r link :/followed
    [[ $(kvx cat /followed/a:b) == a:b ]]
}

# Where sources go: a command, and what must then be there.
targets() {
    local command result
    mkdir -p tree/sub
    echo file >file
    echo other >other
    echo deep >tree/sub/deep
    kvx init -q
    kvx mkdir -p /folder/inner /tree
    kvx put file :/
    while IFS='|' read -r command result; do
        eval "kvx $command" || fail "$command"
        case $result in
            /*) kvx stat "$result" >/dev/null || fail "$command: no $result" ;;
            *) [[ -e $result ]] || fail "$command: no $result" ;;
        esac
    done <<'TABLE'
put file :/new|/new
put file :/folder|/folder/file
put other :/folder/|/folder/other
put file other :/folder/inner|/folder/inner/other
put -r tree :/copy|/copy/sub/deep
put -r tree/ :/folder|/folder/tree/sub/deep
put -r tree :/|/tree/sub/deep
put -r tree/. :/dot|/dot/sub/deep
put <(echo piped) :/pipe|/pipe
get :/file got|got
get :/file tree|tree/file
get :/file :/new tree/sub|tree/sub/new
get -r :/tree down|down/sub/deep
get -r :/tree tree|tree/tree/sub/deep
get -r : root|root/folder/inner/other
cp /file /copied|/copied
cp /file /dot/|/dot/file
cp -r /tree /folder/inner|/folder/inner/tree/sub/deep
cp -r /tree /tree2|/tree2/sub/deep
mv /tree2 /folder/|/folder/tree2/sub/deep
mv /copied /new /dot|/dot/new
mkdir -p /p/q/r /p/q|/p/q/r
TABLE
    [[ $(kvx cat /pipe) == piped ]]
    expect 3 'kvx: stat: /new: no such file or folder' kvx stat /new

    # What exists is kept unless it is said otherwise.
    kvx put other :/other
    expect 5 'kvx: cp: /other: it exists already: -f replaces it' kvx cp /file /other
    kvx cp -n /file /other
    [[ $(kvx cat /other) == other ]]
    kvx cp -f /file /other
    [[ $(kvx cat /other) == file ]]
    ln -s got link
    chmod 600 got
    kvx get :/folder/other link
    [[ -L link && $(<got) == other && $(stat -c %a got) == 600 ]]
}

refused() {
    local code errors command before
    mkdir -p folder/file
    echo file >file
    kvx init -q
    kvx mkdir -p /folder/full
    kvx put file :/
    kvx put file :/folder/
    before=$(kvx ls -laR)
    while IFS='|' read -r code errors command; do
        eval "expect $code '$errors' kvx $command"
    done <<'TABLE'
3|kvx: cat: /none: no such file or folder|cat /none
3|kvx: put: /none/file: no such folder to hold it|put file :/none/file
3|kvx: put: /none/file: no such folder to hold it|put file :/none/
3|kvx: put: none: no such file or folder|put none :/
3|kvx: put: /none: no such folder, and several sources need one|put file none :/none
3|kvx: ls: nobody:/: no such file or folder|ls nobody:/
3|kvx: mkdir: /none/x: no such folder to hold it|mkdir /none/x
3|kvx: get: none/file: no such file or folder|get :/file none/
4|kvx: put: /a//b: the path breaks the rules for names|put file :/a//b
4|kvx: mkdir: /folder/..: the path breaks the rules for names|mkdir /folder/..
4|kvx: rm: /: the root of a bucket cannot be removed|rm -r /
5|kvx: put: folder: it is a folder: -r puts it with all it has|put folder :/
5|kvx: get: /folder: it is a folder: -r gets it with all it has|get :/folder .
5|kvx: cp: /folder: it is a folder: -r copies it with all it has|cp /folder /x
5|kvx: rm: /folder: it is a folder: -r removes it with all it has|rm /folder
5|kvx: cat: /folder: it is a folder|cat /folder
5|kvx: rm: /file: it is a file, not a folder|rm /file/
5|kvx: mkdir: /file: it exists already|mkdir /file
5|kvx: mkdir: /file: it is a file, not a folder|mkdir -p /file/x
5|kvx: mv: /folder: it cannot go into itself|mv /folder /folder/full
5|kvx: mv: /file: it exists already, and only a file can replace a file|mv -f /folder /file
5|kvx: put: /file: it is a file, and several sources need a folder|put file folder :/file
5|kvx: put: file: another source has this name|put file file :/folder
5|kvx: get: file: something else of that name is in the way|get -r :/folder file
5|kvx: get: folder/file: it is a folder|get :/file folder
2|kvx: put: file: not a remote name: write :/path, or bucket:/path for another bucket|put file file
2|kvx: put: /file: not a remote name: write :/path, or bucket:/path for another bucket|put file /file
2|kvx: put: a:b: a local name is needed here: write ./ before a name with a colon|put a:b :/
2|kvx: put: -: standard input needs the name of a file to go to|put - :/folder
TABLE
    expect 2 $'kvx: nonsense: there is no such command\nTry: kvx --help' kvx nonsense
    expect 2 $'kvx: rm: The following argument was not expected: -x\nTry: kvx rm --help' kvx rm -x /file
    # One failure does not stop the others; failures of different kinds have a code of their own.
    expect 3 'kvx: cat: /none: no such file or folder' kvx cat /none /file
    [[ $(<output) == file ]]
    expect 1 $'kvx: cat: /none: no such file or folder\nkvx: cat: /folder: it is a folder' kvx cat /none /folder
    expect 6 'kvx: cat: standard output: the disk is full' eval 'kvx cat /file >/dev/full'
    [[ $(kvx ls -laR) == "$before" ]] || fail 'a refused command changed something'
}

init() {
    local state=$HOME/.local/state/kvx token before
    expect 3 "kvx: ls: $store: there is no store here: kvx init creates one" kvx ls
    kvx init --user ada
    [[ $(stat -c %a "$state" "$state"/token-* "$store") == $'700\n600\n600' ]]
    before=$(sha256sum "$store" "$state"/token-*)
    expect 5 "kvx: init: $store: it exists already, and is left as it is" kvx init
    [[ $(sha256sum "$store" "$state"/token-*) == "$before" ]]

    # The token is found however the store is named, and may come from elsewhere.
    kvx mkdir ada:/docs
    [[ $(cd "$HOME/.local" && kvx ls --store share/../share/kvx/store.db) == docs ]]
    [[ $(KVX_STORE=sqlite://$store kvx ls) == docs ]]
    read -r token <"$state"/token-*
    expect 4 "kvx: ls: $store: no token is kept for this store: set KVX_TOKEN to yours" \
        env XDG_STATE_HOME="$work/none" "$program" ls
    [[ $(XDG_STATE_HOME=$work/none KVX_TOKEN=$token kvx ls) == docs ]]
    expect 4 "kvx: ls: $store: the store does not accept the token" env KVX_TOKEN=wrong "$program" ls

    # Without a token that can be kept, no store.
    touch in-the-way
    expect 5 "kvx: init: $work/new.db: a part of the path is not a folder" \
        env XDG_STATE_HOME="$work/in-the-way" "$program" init --store new.db
    expect 7 'kvx: init: not a name for a user or bucket: "a/b"' kvx init --store new.db --user a/b
    [[ ! -e new.db ]]
    expect 7 'kvx: init: cannot create /proc/new.db: No such file or directory' kvx init --store /proc/new.db
    expect 7 "kvx: init: cannot create $work/in-the-way/new.db: Not a directory" kvx init --store in-the-way/new.db
}

brokenStore() {
    local before
    head -c 100000 /dev/urandom >no-store
    before=$(sha256sum no-store)
    KVX_TOKEN=any expect 7 "kvx: ls: not a store file: $work/no-store" kvx ls --store no-store
    [[ $(sha256sum no-store) == "$before" && -z $(ls | grep 'no-store.') ]]
}

fullDisk() {
    head -c 10M /dev/urandom >large
    echo small >small
    kvx init -q
    kvx put small :/
    expect 7 'kvx: put: /large: the store failed: the disk is full' \
        eval '(ulimit -f 2000; kvx put large :/)'
    [[ $(kvx ls) == small && $(kvx cat /small) == small ]]
    kvx put large :/
    kvx get :/large back
    cmp large back

    mkdir target
    expect 6 'kvx: get: target/large: the file is too large for the disk' \
        eval '(ulimit -f 2000; kvx get :/large target)'
    [[ -z $(ls -A target) ]] || fail "left behind: $(ls -A target)"
}

interrupted() {
    local code=0 delay pid
    echo small >small
    kvx init -q
    kvx put small :/a-file
    kvx put small :/pipe
    mkdir target
    mkfifo target/pipe  # Nobody reads from it: the second file waits while the first one is open.
    "$program" get :/a-file :/pipe target &
    pid=$!
    until compgen -G 'target/.kvx-*' >/dev/null; do
        kill -0 $pid || fail 'ended before its time'
        sleep 0.01
    done
    kill -TERM $pid
    wait $pid || code=$?
    [[ $code == 143 && $(ls -A target) == pipe ]] || fail "$code, left behind: $(ls -A target)"
    [[ $(kvx cat /a-file) == small ]]

    # Killed at any moment: a file is there as a whole or not at all, and the store goes on.
    head -c 64M /dev/urandom >large
    for delay in 0.05 0.1 0.15 0.2 0.25 0.3 0.35 0.4; do
        timeout -s KILL $delay "$program" put large :/large || true
        [[ $(kvx cat /a-file) == small ]] || fail "lost after $delay s"
        if kvx stat /large >/dev/null 2>&1; then
            kvx cat /large | cmp - large
            kvx rm /large
        fi
    done

    # A reader that has seen enough ends the program, without a word and without a trace.
    kvx put large :/large
    code=$( (kvx cat /large || echo $? >&2) 2>&1 >/dev/full)
    [[ $code == *'the disk is full'*6 ]] || fail "full: $code"
    code=$( { (kvx cat /large || echo $? >&2) | head -c 1 >/dev/null; } 2>&1)
    [[ $code == 141 ]] || fail "closed pipe: $code"
}

# What commands that list and report print: a command, and its output with | for the end of a line.
browse() {
    local command output time=2019-12-31T23:59:59Z
    kvx init -q
    kvx mkdir -p /t/sub/deep /t/.hid /times
    head -c 5000 /dev/zero | kvx put - :/t/big.bin
    printf 12345 | kvx put - :/t/sub/five.txt
    printf 1 | kvx put - :/t/sub/deep/Ünï.TXT
    printf 22 | kvx put - :/t/.hid/two
    touch -d 2010-01-01T00:00:00.5Z a
    touch -d $time b
    touch -d 2014-01-01T12:00:00Z c
    kvx put a b c :/times
    while read -r command; do
        read -r output
        [[ $(eval "kvx $command" | tr '\n\0' '|!') == "$output" ]] ||
            fail "$command: $(eval "kvx $command") and not $output"
    done <<TABLE
ls /t
big.bin|sub|
ls -Sra /t
sub|.hid|big.bin|
ls -t /times
b|c|a|
ls --color=always -a /t
$(printf '\e[2;34m.hid\e[0m|big.bin|\e[1;34msub\e[0m|')
ls --json /times/a /times/b
{"name":"/times/a","type":"file","size":0,"modified":"2010-01-01T00:00:00.500000000Z","writable":true}|{"name":"/times/b","type":"file","size":0,"modified":"$time","writable":true}|
stat --json /times/b | cut -d , -f 1-5
{"name":"/times/b","type":"file","size":0,"modified":"$time","writable":true|
tree -a /t
/t|├── .hid|│   └── two|├── big.bin|└── sub|    ├── deep|    │   └── Ünï.TXT|    └── five.txt||3 folders, 4 files|
tree -d -L 1 /t
/t|└── sub||1 folder|
du -hcd 1 /t /times/a | tr '\t' ' '
2 /t/.hid|6 /t/sub|4.9K /t|0 /times/a|4.9K total|
du --json -s /t
{"name":"/t","size":5008,"files":4,"folders":3}|
find /t --iname '??Ï.*' --type f --json | cut -d , -f 1
{"name":"/t/sub/deep/Ünï.TXT"|
find /times --older $time --newer 2010-01-02 -0
/times/c!
find /t --type d --newer 1h --name '[.]*'
/t/.hid|
find /t --size +5
/t/big.bin|
find /times --name '[ab]'
/times/a|/times/b|
mkdir -pv /n/o /n/o
created /n|created /n/o|
mv -v /times/a /times/d
moved /times/a to /times/d|
cp --json -r /n /m
{"action":"copied","name":"/n","target":"/m"}|
rm -rfv /m /none
removed /m|
TABLE
    expect 2 'kvx: find: 10Q: not a size: write +10M, -4K or 512' kvx find --size 10Q
}

# What the help tells is also in the manual page and in what shells complete.
help() {
    local command page line names
    page=$(kvx manual)
    while read -r command; do
        [[ $(kvx "$command" --help) =~ $'\n'(Examples|Subcommands):$'\n  ' ]] || fail "$command has no example"
        [[ $page == *".SS \"kvx $command"* ]] || fail "$command is not in the manual page"
    done < <(kvx complete 'kvx ' | cut -f 1)
    kvx init -q
    kvx mkdir -p '/docs/two words' /docs/a:b/c
    printf '' | kvx put - :/docs/.hid
    compopt() { echo -n "$* "; }
    eval "$(kvx completion bash)"
    COMP_WORDBREAKS=$' \t\n"\'@><=;|&(:'
    while IFS='|' read -r line names; do
        COMP_LINE="$line and more" COMP_POINT=${#line}
        [[ $(_kvx kvx; echo "${COMPREPLY[*]}") == "$names" ]] ||
            fail "$line: $(_kvx kvx; echo "${COMPREPLY[*]}")"
    done <<'TABLE'
kvx --store none.db -q st|stat
kvx rm --rec|--recursive
kvx ls --color=a|auto always
kvx find --type |f d
kvx ls |-o filenames -o nospace :/
kvx ls :|-o filenames -o nospace /
kvx ls -la :/do|-o filenames -o nospace /docs/
kvx put none ":/do|-o filenames -o nospace :/docs/
kvx ls /docs/two\ w|-o filenames -o nospace /docs/two words/
kvx ls :/docs/a:|-o filenames -o nospace b/
kvx ls :/docs/a\:b/|-o filenames -o nospace /docs/a:b/c/
kvx cat /docs/.h|-o filenames /docs/.hid
kvx ls --store none.db /do|
kvx put lo|-o bashdefault -o default 
TABLE
}

# typed TEXT KEYS COMMAND: types on a terminal once the command has shown the text, all into "seen".
typed() {
    : >seen
    (for _ in {1..200}; do grep -q "$1" seen && break; sleep 0.05; done; printf "$2") |
        script -qec "$3" /dev/null >seen
}

terminal() {
    local seen answer code=0
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
    seen=$(NO_COLOR=1 script -qec "stty cols 10; $program ls" /dev/null)
    [[ $seen == $'\\x1b[31mred\r\nfolder\r\nlarge\r\nthree\r' ]] || fail "no colours: $seen"

    # Asked before something is removed, one may say no, go away, or leave it at that.
    for answer in 'n\n:0' '\n:0' '\x04:0' '\x03:130' 'y\n:0'; do
        kvx stat /large >/dev/null || fail 'removed without a yes'
        typed 'y/N' "${answer%:*}" "$program rm /large" || code=$?
        [[ $code == "${answer#*:}" && $(<seen) == *'remove /large? [y/N] '* ]] || fail "$answer: $code $(<seen)"
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
}

"$2"
