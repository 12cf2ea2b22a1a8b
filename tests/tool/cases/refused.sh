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
4|kvx: put: :/a//b: the path breaks the rules for names: a name is empty|put file :/a//b
4|kvx: mkdir: /folder/..: the path breaks the rules for names: .. is no name|mkdir /folder/..
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
2|kvx: find: 15251w: too long ago|find --older 15251w
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
ls: --store is given more than once|ls |ls --store a --store b
ls: --versio: there is no such option: did you mean --version?|ls |ls --versio
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
