# Where sources go: a command, and what must then be there.
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
[[ $(kvx cat /two/file) == file ]]
kvx rm -r /one /two
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
