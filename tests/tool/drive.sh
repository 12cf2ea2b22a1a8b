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
nobody='you are not logged in: kvx login keeps your token, or set KVX_TOKEN to it'
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
    # A few ranges and the threads' stacks fit in, the file does not.
    time limited -d 180000 kvx put large :/
    time limited -d 180000 kvx get :/large back
    cmp large back
    [[ $(stat -c %y large) == "$(stat -c %y back)" ]]
    limited -d 180000 kvx cat /large | cmp - large
    limited -d 180000 kvx put -j 2 - :/large <large
    limited -d 180000 kvx get -j 1 :/large - | cmp - large
    # Where a range ends, and one call more or less is needed.
    for size in 0 1 4194303 4194304 4194305 8388608; do
        head -c $size large | kvx put - :/piped
        head -c $size large >part
        kvx put part :/
        kvx cat /piped /part | cmp - <(head -c $size large; head -c $size large)
    done
}

# What is said about the files, and the versions that stay behind.
transfers() {
    mkdir tree
    echo a >tree/a
    kvx init -q
    echo b >tree/b
    [[ $(kvx put -rv tree :/) == $'tree/a -> :/tree/a\ntree/b -> :/tree/b' ]]
    [[ $(kvx get -v :/tree/a -j 1 .) == ':/tree/a -> ./a' && -z $(kvx get -qv :/tree/a .) ]]
    [[ $(kvx put --json tree/a :/) == '{"source":"tree/a","target":":/a","size":2}' ]]
    head -c 5M /dev/zero >large
    kvx put large :/a
    echo new | kvx put - :/a
    [[ $(kvx cat /a) == new && $(kvx get --version 1 :/a -) == a && $(kvx cat --version 1 /a) == a ]]
    kvx get --version 2 :/a old
    cmp old large
    expect 3 'kvx: get: :/a: it has no version 4' kvx get --version 4 :/a old
    expect 2 'kvx: get: --version: it is for a single file' kvx get --version 1 :/a :/a .
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
    [[ $(kvx ls -- :/one/-dash) == :/one/-dash ]]
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
    mkdir links && ln -s none{1..5} links
    for name in 'put -r' sync; do
        kvx $name links :/links 2>&1 >/dev/null | tail -n 2 >output
        [[ $(<output) == *none3:*$'\nkvx: '*': 2 more: left out: a symbolic link (-v names each)' ]] || fail "$(<output)"
        [[ $(kvx $name -v links :/links/ 2>&1 | grep -c left) == 5 ]] || fail "$name names too few"
    done
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
    expect 5 'kvx: cp: :/other: it exists already: -f replaces it' kvx cp /file /other
    kvx cp -n /file /other
    [[ $(kvx cat /other) == other ]]
    kvx cp -f /file /other
    kvx mkdir /one /two
    kvx cp /file /one
    kvx cp /file /two
    expect 5 'kvx: mv: /two/file: another source has this name' kvx mv -f /one/file /two/file /
    [[ $(kvx cat /two/file) == file ]] && kvx rm -r /one /two
    [[ $(kvx cat /other) == file ]]
    ln -s got link
    chmod 600 got
    kvx get :/folder/other link
    [[ -L link && $(<got) == other && $(stat -c %a got) == 600 ]]
    mkdir to
    ln -s ../down/sub to/sub
    ln -sf ../../file down/sub/deep
    expect 5 'kvx: get: to/sub: a symbolic link is in the way' kvx get -r :/tree/sub/ to/
    expect 5 'kvx: get: down/sub/deep: a symbolic link is in the way' kvx get -r :/tree/sub down
    [[ $(<file) == file ]]
}

refused() {
    local code errors command parsed before
    mkdir -p folder/file gone
    echo file >file
    kvx init -q --user ada
    kvx mkdir -p /folder/full
    kvx put file :/
    kvx put file :/folder/
    before=$(kvx ls -laR)
    while IFS='|' read -r code errors command; do
        eval "expect $code '$errors' kvx $command"
    done <<'TABLE'
3|kvx: cat: /none: no such file or folder|cat /none
3|kvx: cat: /*: no such file or folder (kvx does not expand wildcards: see kvx find)|cat "/*"
0|kvx: rm: :/*: nothing to remove (kvx does not expand wildcards: see kvx find)|rm -rf ":/*" /none
3|kvx: put: :/none: no such folder|put file :/none/file
3|kvx: put: :/none: no such folder|put file :/none/
3|kvx: put: none: no such file or folder|put none :/
3|kvx: put: :/none: no such folder, and several sources need one|put file none :/none
3|kvx: ls: none:/: there is no such bucket, or nothing here is shared with you|ls none:/
3|kvx: mkdir: none:/x: there is no such bucket, or nothing here is shared with you|mkdir -p none:/x
3|kvx: cp: none:/a/b: there is no such bucket, or nothing here is shared with you|cp /file none:/a/b
3|kvx: mkdir: /none/x: no such folder to hold it|mkdir /none/x
3|kvx: get: none: no such folder|get :/file none/
3|kvx: get: none: no such folder|get -r :/folder none/x
4|kvx: put: :/a//b: the path breaks the rules for names|put file :/a//b
4|kvx: mkdir: /folder/..: the path breaks the rules for names|mkdir /folder/..
4|kvx: rm: :/: the root of a bucket cannot be removed|rm -r /
5|kvx: put: folder: it is a folder: -r puts it with all it has|put folder :/
5|kvx: get: :/folder: it is a folder: -r gets it with all it has|get :/folder .
5|kvx: cp: :/folder: it is a folder: -r copies it with all it has|cp /folder /x
5|kvx: rm: :/folder: it is a folder: -r removes it with all it has|rm /folder
5|kvx: cat: :/folder: it is a folder|cat /folder
5|kvx: rm: :/file: it is a file, not a folder|rm /file/
5|kvx: mkdir: :/file: it exists already|mkdir /file
5|kvx: mkdir: :/file: it is a file, not a folder|mkdir -p /file/x
5|kvx: mv: :/folder: it cannot go into itself|mv /folder /folder/full
5|kvx: mv: :/folder: it cannot go into itself|mv /folder ada:/folder/full
5|kvx: cp: ada:/file: source and target are the same|cp -f ada:/file /
5|kvx: mv: :/file: it exists already, and only a file can replace a file|mv -f /folder /file
5|kvx: put: :/file: it is a file, and several sources need a folder|put file folder :/file
5|kvx: put: file: another source has this name|put file file :/folder
2|kvx: find: 2026-02-31: not a time: write 7d, 12h or 2026-01-31|find --older 2026-02-31
3|kvx: sync: gone-too: no such folder|sync --watch gone-too :/folder
3|kvx: sync: :/gone-too: no such folder|sync --watch :/gone-too .
5|kvx: get: file: something else of that name is in the way|get -r :/folder file
5|kvx: get: folder/file: it is a folder|get :/file folder
2|kvx: put: file: not a remote name: write :/path, or bucket:/path for another bucket|put file file
2|kvx: put: /file: not a remote name: write :/path, or bucket:/path for another bucket|put file /file
2|kvx: put: a:b: a local name is needed here: write ./ before a name with a colon|put a:b :/
2|kvx: put: -: standard input needs the name of a file to go to|put - :/folder
TABLE
    while IFS='|' read -r errors parsed command; do
        expect 2 "kvx: $errors"$'\n'"Try: kvx $parsed--help" kvx $command
    done <<'TABLE'
nonsense: there is no such command||nonsense
list: there is no such command: did you mean ls?||list -l
mv: a source and a target are needed|mv |mv /a
sycn: there is no such command: did you mean sync?||sycn
help: list: there is no such command: did you mean ls?|help |help list
policy: a command is needed: get or set|policy |policy
user: delete: there is no such command: did you mean remove?|user |user delete ada
get: a source and a target are needed|get |get :/file
rm: -x: there is no such option|rm |rm -x /file
grant: --too: there is no such option: did you mean --to?|grant |grant --too bob /file
grant: --to is missing|grant |grant /file bob
policy get: /b: one argument too many|policy get |policy get /a /b
ls: --store needs a value|ls |ls --store
ls: -t does not go with -S|ls |ls -St
sync: --interval needs --watch|sync |sync --interval 3 . :/
shared: --copy-to needs ID|shared |shared --copy-to /file
watch: --interval: 0 is not a number from 0.01 to 86400|watch |watch --interval 0
find: --type: x is none of f,d|find |find / --type x
TABLE
    # As an unset variable of a script would be.
    expect 2 $'kvx: find: --older is empty\nTry: kvx find --help' kvx find / --older ''
    expect 2 $'kvx: rm: an argument is empty\nTry: kvx rm --help' kvx rm -r -- /folder ''
    expect 1 'kvx: get: ./file: it cannot be created: No such file or directory' \
        env -C gone sh -c 'rmdir ../gone; "$0" get :/file .' "$program"
    # One failure does not stop the others; failures of different kinds have a code of their own.
    expect 3 'kvx: cat: /none: no such file or folder' kvx cat /none /file
    [[ $(<output) == file ]]
    expect 1 $'kvx: cat: /none: no such file or folder\nkvx: cat: :/folder: it is a folder' kvx cat /none /folder
    expect 6 'kvx: cat: standard output: the disk is full' eval 'kvx cat /file >/dev/full'
    expect 1 'kvx: help: standard output: Input/output error' eval 'kvx help >/dev/full'
    [[ $(kvx ls -laR) == "$before" ]] || fail 'a refused command changed something'
}

init() {
    local state=$HOME/.local/state/kvx token before
    expect 3 "kvx: ls: $store: there is no store here: kvx init creates one" kvx ls
    kvx init --user ada
    [[ $(stat -c %a "$state" "$state"/login-* "$store") == $'700\n600\n600' ]]
    before=$(sha256sum "$store" "$state"/login-*)
    expect 5 "kvx: init: $store: it exists already, and is left as it is" kvx init
    [[ $(sha256sum "$store" "$state"/login-*) == "$before" ]]

    # The token is found however the store is named, and may come from elsewhere.
    kvx mkdir ada:/docs
    [[ $(cd "$HOME/.local" && kvx ls --store share/../share/kvx/store.db) == docs ]]
    [[ $(KVX_STORE=sqlite://$store kvx ls) == docs ]]
    read -r token <"$state"/login-*
    expect 4 "kvx: ls: $store: $nobody" \
        env XDG_STATE_HOME="$work/none" "$program" ls
    [[ $(XDG_STATE_HOME=$work/none KVX_TOKEN=$token kvx ls) == docs ]]
    expect 4 "kvx: ls: $store: the store does not accept the token" env KVX_TOKEN=wrong "$program" ls

    # Without a token that can be kept, no store.
    touch in-the-way
    expect 5 "kvx: init: $work/new.db: a part of the path is not a folder" \
        env XDG_STATE_HOME="$work/in-the-way" "$program" init --store new.db
    expect 4 'kvx: init: a/b: the name breaks the rules for names' kvx init --store new.db --user a/b
    [[ ! -e new.db ]]
    expect 7 'kvx: init: cannot create /proc/new.db: No such file or directory' kvx init --store /proc/new.db
    expect 5 "kvx: init: $work/in-the-way/new.db: a part of the path is not a folder" kvx init --store in-the-way/new.db
    expect 3 "kvx: init: $work/none/new.db: no such folder to hold it" kvx init --store none/new.db
}

login() {
    local state=$HOME/.local/state/kvx file before damage pid i
    session() { sed -n 2p "$file"; }
    kvx init -q --token-file token
    file=$(echo "$state"/login-*)
    kvx mkdir /docs

    # Commands share the session that is kept, and renew it when it is over or unknown.
    before=$(session)
    [[ $(kvx ls) == docs && $(session) == "$before" ]]
    for damage in 2s/.*/unknown/ 3s/.*/1/; do
        before=$(session)
        sed -i "$damage" "$file"
        [[ $(kvx ls) == docs && $(session) != "$before" && $(session) != unknown ]] || fail "$damage"
    done
    sed -i 3s/.*/1/ "$file"
    for i in {1..20}; do kvx ls >"list$i" & done
    wait
    [[ $(cat list*) == "$(yes docs | head -n 20)" && $(stat -c '%n %a' "$state"/*) == "$file 600" ]]

    # A session that ends in the middle of a command has been replaced by then.
    cp -r "$HOME/.local/state" old
    before=$(session)
    sed -i "3s/.*/$(($(date +%s) + 1))/" "$file"
    mkfifo pipe
    kvx put - :/docs/slow <pipe &
    pid=$!
    exec 3>pipe
    until [[ $(session) != "$before" ]]; do sleep 0.05; done
    XDG_STATE_HOME=$work/old kvx logout
    echo late >&3
    exec 3>&-
    wait $pid
    [[ $(kvx cat /docs/slow) == late ]]

    # Logging out ends the session for whoever has its id.
    sed 1s/.*/wrong/ "$file" >kept
    kvx logout
    expect 4 "kvx: ls: $store: $nobody" kvx ls
    mv kept "$file"
    expect 4 "kvx: ls: $store: the store does not accept the token" kvx ls
    [[ $(XDG_STATE_HOME=$work/none KVX_TOKEN=$(<token) kvx ls) == docs && ! -e none ]]

    # A token that nobody can tell again is not replaced without a word; a file of nonsense is.
    expect 5 "kvx: login: $store: another token is kept for this store: -f replaces it" kvx login <token
    kvx login -qf <token
    for damage in 'head -c 1000 /dev/urandom' 'head -c 100 whole' 'sed 3s/.*/x/ whole' 'echo'; do
        kvx login -q <token
        cp "$file" whole
        $damage >"$file"
        expect 4 "kvx: ls: $store: $nobody" kvx ls
    done
}

prompts() {
    local seen
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
}

# as USER COMMAND...: with the token in the file of that name.
as() { KVX_TOKEN=$(<"$1") "$program" "${@:2}"; }

# Lines of "exit code|standard error|command; what must then hold".
eachLine() {
    local code errors command
    while IFS='|' read -r code errors command; do
        eval "expect $code '$errors' $command" || fail "$command: $(<output)"
    done
}

sharing() {
    local id open
    kvx init -q --user ada
    kvx user add bob --quota 1K --email bob@home --token-file bob
    kvx user add eve --token-file eve
    kvx mkdir -p /docs/plans/2026 /docs/.hidden
    echo text | kvx put - :/docs/file
    id=$(kvx invite /docs --to bob@home)
    open=$(kvx invite /docs/plans --write)
    eachLine <<'TABLE'
0||as bob shared $id; [[ $(<output) == *ada:/docs*read-only*pending*plans/*'file  5' && $(<output) != *hidden* ]]
0||as bob shared $id plans --copy-to /copied; [[ $(as bob ls -R) == *2026* ]]
0||as bob accept $id; [[ $(<output) == ada:/docs && $(as bob cat ada:/docs/file) == text ]]
4|kvx: mkdir: ada:/docs/new: permission denied|as bob mkdir ada:/docs/new; as bob decline $id
3|kvx: ls: ada:/docs: there is no such bucket, or nothing here is shared with you|as bob ls ada:/docs
0||as eve accept $open && as eve mkdir ada:/docs/plans/new
0||as eve invitations --received; [[ $(<output) == *accepted*read-write*ada*eve*ada:/docs/plans ]]
0||kvx invitations --sent --json; [[ $(grep -c '"from":"ada"' output) == 3 ]]
4|kvx: uninvite: '"$open"': permission denied|as eve uninvite $open; kvx uninvite $open
3|kvx: ls: ada:/docs/plans: there is no such bucket, or nothing here is shared with you|as eve ls ada:/docs/plans
0|kvx: invite: mallory: nobody has this name or mail address yet|kvx invite /docs --to mallory
3|kvx: grant: mallory: there is no such user|kvx grant /docs --to mallory
0||kvx grant /docs --to eve --write; as eve mkdir ada:/docs/eve && [[ $(kvx grants /docs) == 'eve  read-write  active' ]] && kvx revoke /docs --from eve
3|kvx: revoke: eve: nothing is granted on :/docs|kvx revoke /docs --from eve
6|kvx: put: :/large: the storage quota is exceeded (old versions count: see kvx df --help)|as bob put <(head -c 2K /dev/zero) :/large
0||mkdir many; for i in {1..12}; do head -c 2K /dev/zero >many/$i; done; ! as bob put -r many :/ 2>said && [[ $(grep -c exceeded said; grep more said) == $'10\nkvx: put: more fail for the same reason (-v names each)' ]] && ! as bob put -vr many :/ 2>said && [[ $(grep -c exceeded said) == 12 ]]
TABLE
}

administration() {
    kvx init -q --user ada
    kvx mkdir /docs
    echo first | kvx put - :/docs/file
    eachLine <<'TABLE'
0||kvx restore /docs/file 1; [[ $(<output) == 'restored as version 2' ]]
0||kvx versions /docs/file --json; [[ $(<output) == '{"label":1,"id":"'*'Z","size":6,"current":false}'$'\n''{"label":2,'*'"current":true}' ]]
0||kvx put <(echo second) :/docs/file; kvx restore /docs/file 1 --json >output; [[ $(<output) == '{"name":":/docs/file","label":4,"id":"'* && $(kvx cat /docs/file) == first ]]
0||kvx stat --json /docs/file; [[ $(<output) == *'"modified":"'$(kvx versions --json /docs/file | head -n 1 | cut -d \" -f 10)\"* ]]
3|kvx: restore: :/docs/file: it has no version x|kvx restore /docs/file x
0||kvx policy set /docs --public allowed; kvx policy set /docs --versions disabled
0||kvx policy get /docs/file; [[ $(<output) == 'versions:  inherit (disabled)'*'public:    inherit (allowed)' ]]
0||kvx restore /docs/file 1; kvx versions /docs/file >output; [[ $(tail -n 2 output | cut -c 1) == $'3\n5' ]]
0||kvx user add bob --quota 2M; cp output bob; [[ $(as bob df --json) == '{"used":0,"quota":2097152}' ]]
0||kvx user token bob --token-file new; ! as bob df 2>/dev/null; mv new bob; kvx user quota bob 1G; [[ $(as bob df --json) == *:1073741824} ]]
0||kvx user quota bob -; [[ $(as bob df --json) == *:null} ]]
5|kvx: user add: bob: a user or bucket of this name exists already|kvx user add bob --token-file new; [[ ! -e new ]]
4|kvx: user add: a:b: a colon ends the name of a bucket, and cannot be in it|kvx user add a:b
4|kvx: user add: a/b: the name breaks the rules for names|kvx user add a/b
2|kvx: user add: -5: not a size: write 1000, 512M or 10G|kvx user add eve --quota=-5
0||kvx bucket add team ada; kvx mkdir team:/plans; kvx bucket list >output; [[ $(tail -n 1 output) == 'team  ada  0' ]]
0||kvx user remove bob </dev/null; [[ $(kvx user list) == 'ada  '*' of any size' ]]
3|kvx: user remove: bob: there is no such user|kvx user remove bob
TABLE
}

brokenStore() {
    local before
    head -c 100000 /dev/urandom >no-store
    before=$(sha256sum no-store)
    KVX_TOKEN=any expect 8 "kvx: ls: not a store file: $work/no-store" kvx ls --store no-store
    [[ $(sha256sum no-store) == "$before" && -z $(ls | grep 'no-store.') ]]

    { head -c 250K /dev/zero; echo needle; head -c 250K /dev/zero; } >content
    kvx init -q
    kvx put content :/
    printf x | dd of="$store" bs=1 seek="$(grep -abo needle "$store" | cut -d: -f1)" conv=notrunc \
        status=none
    expect 8 'kvx: verify: the store is damaged' kvx verify
    [[ $(<output) == *bytes*changed* ]] || fail "verify says $(<output)"
}

fullDisk() {
    local code
    head -c 10M /dev/urandom >large
    echo small >small
    kvx init -q
    kvx put small :/
    # The store does not always know that a limit for files is why it cannot write.
    code=0
    (ulimit -f 2000; kvx put large :/) 2>errors || code=$?
    [[ $code == 7 && $(<errors) == 'kvx: put: :/large: the store failed: '* ]] || fail "$code: $(<errors)"
    [[ $(kvx ls) == small && $(kvx cat /small) == small ]]
    kvx put large :/
    kvx get :/large back
    cmp large back

    mkdir target
    expect 6 'kvx: get: target/large: the file is too large for the disk' \
        eval '(ulimit -f 2000; kvx get :/large target)'
    [[ -z $(ls -A target) ]] || fail "left behind: $(ls -A target)"
}

# The shell lets what runs in the background ignore Ctrl-C.
interruptible() { exec env --default-signal=INT "$program" "$@"; }

# stop SIGNAL CODE ERRORS: ends the program in the background, which says so.
stop() {
    local code=0
    kill "-$1" $!
    wait $! || code=$?
    [[ $code == "$2" && $(<errors) == "$3" ]] || fail "ended by $1: $code: $(<errors)"
}

# What changes under the hands of the program, and its own store not least.
changing() {
    local code=0 file
    kvx init -q
    for file in "" -shm -wal; do echo "left out: the store itself" >>expected; done
    kvx put -r home :/ 2>&1 | sed 's/.*: left/left/' | diff expected -
    kvx sync -q home :/synced 2>&1 | sed 's/.*: left/left/' | diff expected -

    head -c 64M /dev/zero >grows
    while echo more >>grows; do :; done &
    expect 5 'kvx: put: grows: it changed while it was read, and is not stored' kvx put grows :/
    kill $!
    expect 3 'kvx: stat: /grows: no such file or folder' kvx stat /grows

    mkdir up
    echo content >up/file
    kvx sync -q --watch --delete up :/up 2>errors &
    until kvx stat /up/file >/dev/null 2>&1; do sleep 0.05; done
    rm -r up && mkdir up
    wait $! || code=$?
    [[ $code != 0 && $(tail -n 1 errors) == *'up: another folder has taken its place: '* ]] ||
        fail "$code: $(<errors)"
    [[ $(kvx ls /up) == file ]]
}

interrupted() {
    local code delay
    echo small >small
    kvx init -q
    kvx put small :/a-file
    kvx put small :/pipe
    mkdir target
    mkfifo target/pipe in  # Nobody reads from the one, and somebody writes slowly to the other.
    interruptible get :/a-file :/pipe target 2>errors &
    until [[ -e target/a-file ]]; do sleep 0.01; done
    stop TERM 143 'kvx: get: interrupted: 1 of 2 files were fetched, 6 bytes'
    [[ $(ls target) == $'a-file\npipe' ]]

    head -c 256M /dev/zero | kvx put - :/large
    interruptible get :/large target 2>errors &
    until compgen -G 'target/.kvx-*' >/dev/null; do kill -0 $! || fail 'ended before its time'; done
    stop INT 130 'kvx: get: interrupted: 0 of 1 file was fetched, 0 bytes'
    [[ $(ls -A target) == $'a-file\npipe' ]] || fail "left behind: $(ls -A target)"
    mkfifo out
    exec 4<>out
    interruptible cat /a-file /large >out 2>errors &
    read -r -u 4 _
    stop INT 130 'kvx: cat: interrupted: 1 of 2 names were done'
    kvx rm /large

    exec 3<>in
    interruptible put - :/a-file <in 2>errors &
    head -c 20M /dev/zero >&3
    stop INT 130 'kvx: put: interrupted: 0 of 1 file was sent, 0 bytes'
    [[ $(kvx cat /a-file) == small ]]

    # Ctrl-C ends who writes into the pipe as well, perhaps a moment earlier.
    interruptible put - :/a-file <in 3<&- 2>errors &
    head -c 1M /dev/zero >&3
    exec 3<&-
    stop INT 130 'kvx: put: interrupted: 0 of 1 file was sent, 0 bytes'
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
{"name":":/times/a","type":"file","size":0,"modified":"2010-01-01T00:00:00.500000000Z","writable":true}|{"name":":/times/b","type":"file","size":0,"modified":"$time","writable":true}|
stat --json /times/b | cut -d , -f 1-5
{"name":":/times/b","type":"file","size":0,"modified":"$time","writable":true|
tree -a /t
:/t|├── .hid|│   └── two|├── big.bin|└── sub|    ├── deep|    │   └── Ünï.TXT|    └── five.txt||3 folders, 4 files|
tree -d -L 1 /t
:/t|└── sub||1 folder|
du -hcd 1 /t /times/a | tr '\t' ' '
2 :/t/.hid|6 :/t/sub|4.9K :/t|0 :/times/a|4.9K total|
du --json -s /t
{"name":":/t","size":5008,"files":4,"folders":3}|
find /t --iname '??Ï.*' --type f --json | cut -d , -f 1
{"name":":/t/sub/deep/Ünï.TXT"|
find /times --older $time --newer 2010-01-02 -0
:/times/c!
find /t --type d --newer 1h --name '[.]*'
:/t/.hid|
find /t --size +5
:/t/big.bin|
find /times --name '[ab]'
:/times/a|:/times/b|
mkdir -pv /n/o /n/o
created :/n|created :/n/o|
mv -v /times/a /times/d
moved :/times/a to :/times/d|
cp --json -r /n /m
{"action":"copied","name":":/n","target":":/m"}|
rm -rfv /m /none
removed :/m|
TABLE
    expect 2 'kvx: find: 10Q: not a size: write +10M, -4K or 512' kvx find --size 10Q
}

# What the help tells is also in the manual page and in what shells complete.
help() {
    local command page line names
    page=$(kvx manual)
    while read -r command; do
        [[ $(kvx "$command" --help) =~ $'\n'(Examples|Subcommands):$'\n  ' ]] || fail "$command has no example"
        [[ $(kvx "$command" --help) == *$'\nGlobal options:\n  --store'* ]] || fail "$command hides --store"
        [[ $page == *".SS \"kvx $command"* ]] || fail "$command is not in the manual page"
    done < <(kvx complete 'kvx ' | cut -f 1)
    [[ $(kvx help) == "$(kvx --help)" && $(kvx help policy set) == "$(kvx policy set --help)" ]]
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
    for answer in "stty cols 10; $program ls" "$program ls -1"; do
        seen=$(NO_COLOR=1 script -qec "$answer" /dev/null)
        [[ $seen == $'\\x1b[31mred\r\nfolder\r\nlarge\r\nthree\r' ]] || fail "no colours: $seen"
    done

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
}

sync() {
    local name
    mkdir -p up/empty 'up/two words/deep'
    for name in $'new\nline' '😀' -dash a:b 'two words/deep/.hidden' '[x]'; do echo "$name" >"up/$name"; done
    head -c 5M /dev/urandom >up/large
    touch -d '1965-04-03 02:01:00.123456789' up/-dash up/none
    touch -d @0 up/a:b  # No time that a store can keep.
    kvx init -q
    kvx sync -n up :/new/target >planned
    kvx sync -v up :/new/target >done
    [[ $(kvx sync -v up :/new/target) == '0 files sent, 0 deleted, 8 unchanged' ]] || fail 'sent twice'
    diff <(head -n -1 planned | sort) <(head -n -1 done | sort)
    kvx sync -q :/new/target new/down
    diff -r up new/down
    diff <(cd up && find . -type f ! -name a:b -printf '%p %T@\n' | sort) \
        <(cd new/down && find . -type f ! -name a:b -printf '%p %T@\n' | sort)
    [[ $(kvx sync -v :/new/target new/down/.) == '0 files received, 0 deleted, 8 unchanged' ]] || fail 'got twice'

    # Only their contents tell these from what the store has.
    for name in large -dash; do
        printf x | dd of="up/$name" bs=1 seek=2 conv=notrunc status=none && touch -r "new/down/$name" "up/$name"
    done
    kvx sync -v --checksum up :/new/target >done
    [[ $(sort done) == $'2 files sent, 0 deleted, 6 unchanged\nput -dash\nput large' ]] || fail "$(<done)"
    touch up/.kvx-1-2
    expect 0 'kvx: sync: up/.kvx-1-2: left out: a temporary file of a download' kvx sync -v up :/new/target
    touch $'up/bad\xff' up/good
    expect 4 'kvx: sync: up/bad\xff: the name is not valid UTF-8' kvx sync --json up :/new/target
    [[ $(<output) == '{"action":"put","path":"good","size":0}'*'"failed":1,"dryRun":false}' ]] || fail "$(<output)"
    expect 2 'kvx: sync: both folders are local: write :/path for one in the store' kvx sync up down
    expect 3 'kvx: sync: :/none: no such folder' kvx sync --delete :/none new/down
}

syncDeletes() {
    mkdir -p up/folder/sub up/link down/{file/inner,extra,link.d} outside
    touch up/{folder/sub/f,file,link/f} down/{folder,file/inner/x,extra/f,$'extra/bad\xff'} outside/f
    ln -s ../outside down/link
    ln -s ../outside down/other
    kvx init -q
    kvx sync -q up :/tree
    expect 5 'kvx: sync: down/file: it is a folder, and a file in the source: --delete replaces it
kvx: sync: down/folder: it is a file, and a folder in the source: --delete replaces it
kvx: sync: down/link: it is a symbolic link, and a folder in the source: --delete replaces it' kvx sync :/tree down
    expect 0 '' kvx sync --delete :/tree down
    [[ -e outside/f && $(readlink down/other) == ../outside && -e $'down/extra/bad\xff' ]]
    rm -r down/other down/extra up/folder
    kvx sync -q --delete up :/tree
    kvx sync -q --delete :/tree down
    diff -r up down
}

watch() {
    local seen
    kvx init -q --user ada
    seen=$(kvx watch --once)
    kvx mkdir -p /a/b /c
    seen=$(kvx watch --once --since "${seen#watermark }" :/a/b)
    [[ $seen == $'ada:/a/\nada:/a/b/\nwatermark '* ]] || fail "seen: $seen"
    "$program" sync --delete --watch --interval 0.1 :/a down >/dev/null &
    mkdir up
    touch $'up/bad\xff'
    "$program" sync --delete --watch up :/a 2>told >/dev/null &
    mkdir -p up/new/sub
    until [[ -d down/new/sub ]]; do sleep 0.1; done
    echo first >up/new/sub/f
    mv up/new/sub up/moved
    until [[ -e down/moved/f && ! -e down/new/sub ]]; do sleep 0.1; done
    interruptible watch --interval 0.1 :/a >seen 2>errors &
    until [[ -s seen ]]; do echo >>up/moved/f && sleep 0.3; done
    stop INT 130 ''
    [[ $(head -n 1 seen) == ada:/a/moved/f ]]
    [[ $(<told) == 'kvx: sync: up/bad\xff: the name is not valid UTF-8' ]] || fail "again: $(<told)"
}

"$2"
