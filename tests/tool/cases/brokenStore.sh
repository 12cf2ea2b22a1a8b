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
