# What changes under the hands of the program, and its own store not least.
code=0
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
