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
user=$(id -un)
[[ $(<output) == *"/content in the bucket $user of $user, version 1, the current one: "*" of "* ]] ||
    fail "verify says $(<output)"
expect 8 '{"command":"verify","name":"","error":"the store is damaged","exitCode":8}' kvx verify --json
[[ $(<output) == *'"path":"/content"'*'"version":1,"current":true,"size":512007,"readable":'* ]]

damaged() { echo "the store failed: the content of /$1 in the bucket $user, version 1, is damaged:" \
    "bytes of it are not those that were stored"; }
echo mine >content
expect 7 "kvx: get: :/content: $(damaged content)" kvx get :/content content
expect 7 "kvx: cat: :/content: $(damaged content)" kvx cat :/content
mkdir there && mv content there
touch -d 2001-01-01 there/content
kvx cp :/content :/copy
expect 7 "kvx: sync: :/content: $(damaged content)
kvx: sync: :/copy: $(damaged copy)" kvx sync --checksum :/ there
[[ $(<there/content) == mine && ! -e there/copy ]]
