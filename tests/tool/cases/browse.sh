# What commands that list and report print: a command, and its output with | for the end of a line.
time=2019-12-31T23:59:59Z
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
ls -d /times /times/a
:/times|:/times/a|
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
