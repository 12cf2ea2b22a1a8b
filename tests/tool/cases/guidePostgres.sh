# The commands of the guide on PostgreSQL, as they stand there, but for places and ports.
guide=$folder/../../docs/guides/running-on-postgresql.md
kvxd() { exec "$(dirname "$program")/kvxd" "$@" 2>>log; }
admin=$KVXSTORE_TEST_POSTGRES
at=${admin#*\?}
awk -v RS='```' 'NR % 2 == 0 && sub(/^(sh|sql)\n/, "") { print > ("block" ++count) }' "$guide"
[[ $(echo block*) == 'block1 block2 block3 block4 block5 block6 block7 block8' ]]
sed -i "s,@localhost/kvxstore,@/kvxstore?$at,; s/127.0.0.1:742\([01]\)/127.0.0.1:0 --port-file port\1/" block*
run() { psql -v ON_ERROR_STOP=1 -qAt "$@"; }

run "$admin" -f block1
source ./block2 >made
[[ $(<made) == *'ada  '* ]] || fail "$(<made)"
export KVX_TOKEN=$(head -n 1 "$HOME"/.local/state/kvx/login-*)

# A store in a file goes into a schema of its own, and back.
(
    run "$STORE" -c 'create schema team'
    STORE+='&options=-csearch_path%3Dteam'
    unset KVX_TOKEN
    kvx init -q --store team.db --user ada --token-file team.token
    echo draft | KVX_TOKEN=$(<team.token) kvx put - :/draft --store team.db
    source ./block3
    [[ $(KVX_TOKEN=$(<team.token) kvx cat --store copy.db /draft) == draft ]] || fail "not migrated"
)

# Two servers, of which the first is killed.
sed -i 's/^export.*//' block4
source ./block4
until [[ -s port0 && -s port1 ]]; do sleep 0.05; done 2>/dev/null
export KVX_STORE=kvx+plain://127.0.0.1:$(<port0),127.0.0.1:$(<port1)
echo first | kvx put - :/file
kill -9 %1
[[ $(kvx cat /file) == first ]] || fail "the second server has not the file"
echo second | kvx put - :/file
[[ $(kvx cat /file) == second ]]
KVX_STORE= kvx verify -q --store "$STORE"

source ./block5
[[ -s store.dump ]]
for block in block6 block7 block8; do
    run "$STORE" -f $block >shown
done
[[ $(wc -l <shown) == 2 && $(head -n 1 shown) == [0-9]*'|'[0-9]* ]] || fail "$(<shown)"
