#!/usr/bin/env bash
# Measures the tool beside cp and rclone: tool.sh KVX EMPTY-FOLDER. Prints results as the benchmarks'
# programs do. Whoever does not wait for the disk is followed by sync, and that counts.
set -euo pipefail
kvx=$(realpath "$1")
cd "$2"
export HOME=$PWD XDG_STATE_HOME=$PWD/state LC_ALL=C
unset XDG_DATA_HOME KVX_STORE KVX_TOKEN
rounds=3
section=Tool
cp="\`cp -r\`, then \`sync\`"
rclone="\`rclone copy --checksum\`, then \`sync\`"
sqlite="raw SQLite: the contents alone, in one table"

line() { (IFS=$'\t'; printf '%s\n' "$*"); }
median() { printf '%s\n' "$@" | sort -g | sed -n $((($# + 1) / 2))p; }

# 10,000 files of 8 KiB in the mean, most of them smaller, some of 1 MiB; 1,000 folders.
makeTree() {
    local i
    for ((i = 0; i < 1000; i++)); do echo "tree/$((i % 10))/$((i / 10 % 20))/$((i / 200))"; done |
        xargs mkdir -p
    awk 'BEGIN {
        srand(1)
        for (text = "int main() { return 0; }\n"; length(text) < 1048576;) text = text text
        for (i = 0; i < 10000; i++) {
            size = i % 1000 == 0 ? 1048576 : int(-7168 * log(1 - rand()))
            folder = "tree/" i % 10 "/" int(i / 10) % 20 "/" int(i / 200) % 5
            printf "%s", substr(text, 1, size) > (folder "/file" i ".c")
            close(folder "/file" i ".c")
        }
    }'
}

# Commits as many files at once as the store does.
writeSql() {
    echo "pragma page_size = 16384; pragma journal_mode = wal; pragma synchronous = full;
        pragma secure_delete = off;"
    echo "create table files(content blob); begin;"
    find tree -type f | sort | awk -v q="'" '{ print "insert into files values(readfile(" q $0 q "));" }
        NR % 256 == 0 { print "commit; begin;" }'
    echo "commit;"
}

# timed ROW CONTESTANT COMMAND...: adds the nanoseconds it takes to times[ROW CONTESTANT]. Every
# target is a new one: a file system may be slow to create what was deleted just before.
declare -A times
timed() {
    local row=$1 contestant=$2 start
    shift 2
    sync
    start=${EPOCHREALTIME/./}
    "$@" >/dev/null
    times[$row $contestant]+="$(((${EPOCHREALTIME/./} - start) * 1000)) "
}
andSync() { "$@" && sync; }

# rowTimes ROW UNIT CONTESTANT...: prints the row, ours first.
rowTimes() {
    local row=$1 unit=$2 contestant kind=ours ours theirs i
    read -ra ours <<<"${times[$row $3]}"
    shift 2
    for contestant; do
        read -ra theirs <<<"${times[$row $contestant]}"
        ratio=$(median $(for ((i = 0; i < rounds; i++)); do
            awk "BEGIN { printf \"%.4f \", ${theirs[i]} / ${ours[i]} }"
        done))
        ratios[$contestant]=$ratio
        [[ $contestant == "$sqlite" ]] && kind=mark
        line time $section "$row" "$unit" "$contestant" "$(median "${theirs[@]}")" "$ratio" $kind
        kind=rival
    done
}

# goal ROW TEXT REACHED CONDITION: the condition is awk's.
goal() {
    line goal $section "$1" "$2" "$3" "$(awk "BEGIN { print ($4) ? \"met\" : \"missed\" }")"
}

declare -A ratios
treeRow() { # ROW CONTESTANT...: those beyond the two that the goals name.
    rowTimes "$1" tree kvx "$cp" "$rclone" "${@:2}"
    goal "$1" "at most 2 times the time of $cp" \
        "$(awk "BEGIN { printf \"%.2f times\", 1 / ${ratios[$cp]} }")" "1 / ${ratios[$cp]} <= 2"
    goal "$1" "at least as fast as $rclone" "$(printf '%.2f times' "${ratios[$rclone]}")" \
        "${ratios[$rclone]} >= 1"
}

makeTree
writeSql >files.sql
put="put a tree of 10,000 files"
get="get a tree of 10,000 files"
for ((round = 0; round < rounds; round++)); do
    export KVX_STORE=$PWD/$round.db
    "$kvx" init -q
    timed "$put" kvx "$kvx" put -qr tree :/
    timed "$put" "$cp" andSync cp -r tree put-cp-$round
    timed "$put" "$rclone" andSync rclone copy -q --checksum tree put-rclone-$round
    timed "$put" "$sqlite" sqlite3 raw-$round.db ".read files.sql"
    timed "$get" kvx andSync "$kvx" get -qr :/tree get-kvx-$round
    timed "$get" "$cp" andSync cp -r put-cp-$round get-cp-$round
    timed "$get" "$rclone" andSync rclone copy -q --checksum put-cp-$round get-rclone-$round
    diff -r tree get-kvx-$round >&2
done
treeRow "$put" "$sqlite"
treeRow "$get"

list="\`kvx ls -l\` of 100,000 entries"
mkdir many
seq 100000 | sed 's|^|many/file|' | xargs touch
"$kvx" put -qr many :/
for ((round = 0; round < rounds; round++)); do
    timed "$list" kvx "$kvx" ls -l :/many
done
rowTimes "$list" listing kvx
reached=$(median ${times[$list kvx]})
goal "$list" "below a second" "$(awk "BEGIN { printf \"%.2f s\", $reached / 1e9 }")" "$reached < 1e9"

# The same tree over TLS on this machine, once: rclone takes minutes.
rounds=1
kvxd=$(dirname "$kvx")/kvxd
[[ -x $kvxd ]] || exit 0
webdav="\`rclone copy\` to \`rclone serve webdav\`"
trap 'kill $(jobs -p)' EXIT
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=localhost \
    -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout key.pem -out cert.pem 2>/dev/null
"$kvx" --store served.db init -q --token-file token
"$kvxd" --store "sqlite://$PWD/served.db" --listen 127.0.0.1:0 --port-file port --log warn \
    --tls-cert cert.pem --tls-key key.pem &
mkdir webdav
rclone serve webdav webdav --addr localhost:0 --cert cert.pem --key key.pem 2>webdav.log &
until [[ -s port ]] && grep -q 'https://' webdav.log; do sleep 0.1; done
export KVX_CA_FILE=$PWD/cert.pem KVX_STORE=kvx://localhost:$(<port) KVX_TOKEN=$(<token)
dav=":webdav,url='$(grep -o 'https://[^/]*' webdav.log | head -n 1)',vendor=other:"
rcloneDav() { rclone -q --ca-cert cert.pem "$@"; }
andSyncFiles() { "$@" && sync -f .; }

netPut="put the tree over TLS"
netGet="get the tree over TLS"
netSync="synchronize the unchanged tree over TLS"
for ((round = 0; round < rounds; round++)); do
    timed "$netPut" kvx andSyncFiles "$kvx" put -qr tree :/$round
    timed "$netPut" "$webdav" andSyncFiles rcloneDav copy tree "$dav$round"
    timed "$netGet" kvx andSyncFiles "$kvx" get -qr :/$round served-kvx-$round
    timed "$netGet" "$webdav" andSyncFiles rcloneDav copy "$dav$round" served-rclone-$round
    diff -r tree served-kvx-$round >&2
    timed "$netSync" kvx andSyncFiles "$kvx" sync -q tree :/$round
    timed "$netSync" "$webdav" andSyncFiles rcloneDav copy tree "$dav$round"
done
for row in "$netPut" "$netGet" "$netSync"; do
    rowTimes "$row" tree kvx "$webdav"
    goal "$row" "faster than $webdav" "$(printf '%.2f times' "${ratios[$webdav]}")" \
        "${ratios[$webdav]} > 1"
done
