state=$HOME/.local/state/kvx
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
