# Over TLS, with certificates made on the spot.
certificate() { # NAME HOST
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "/CN=$2" \
        -addext "subjectAltName=DNS:$2" -keyout "$1.key" -out "$1.pem" 2>>log
}
certificate good localhost
certificate other elsewhere
openssl x509 -in good.pem -signkey good.key -days -1 -out expired.pem 2>>log
kvx --store team.db init -q --user ada --token-file ada
kvx --store team.db user add bob --token-file bob

serve "$work/team.db" --listen 127.0.0.1:0 --tls-cert other.pem --tls-key other.key
other=$port
serve "$work/team.db" --listen 127.0.0.1:0 --tls-cert expired.pem --tls-key good.key
expired=$port
serve "$work/team.db" --listen 127.0.0.1:0 --plain
plain=$port
serve "$work/team.db" --listen 127.0.0.1:0 --tls-cert good.pem --tls-key good.key --client-ca other.pem
picky=$port
serve "$work/team.db" --listen 127.0.0.1:0 --tls-cert good.pem --tls-key good.key
KVX_TOKEN=wrong expect 4 "kvx: ls: kvx://localhost:$port: the store does not accept the token" \
    kvx --store "kvx://localhost:$port?ca=good.pem" ls

export KVX_STORE=kvx://localhost:$port KVX_CA_FILE=$work/good.pem
expect 4 "kvx: ls: $KVX_STORE: $nobody" kvx ls
expect 0 '' kvx login --token-file ada
[[ $(<output) == "logged in to $KVX_STORE" ]]
mkdir -p tree/sub
echo one >tree/one
head -c 3M /dev/urandom >tree/sub/large
eachLine <<'TABLE'
0||kvx put -r tree :/ && kvx get -r :/tree back && diff -r tree back && cp tree/one tree/two
0||kvx ls /tree/sub; [[ $(<output) == large ]]
0||kvx sync tree :/tree; [[ $(<output) == '1 file sent, 0 deleted, 2 unchanged' ]]
0||kvx cat /tree/two; cmp output tree/one
3|kvx: ls: ada:/tree: there is no such bucket, or nothing here is shared with you|as bob ls ada:/tree
0||kvx grant /tree/sub --to bob; as bob get ada:/tree/sub/large copy && cmp copy tree/sub/large
4|kvx: put: ada:/tree/sub/new: permission denied|as bob put tree/one ada:/tree/sub/new
0||kvx invite /tree --to bob --write; mv output id
0||as bob accept $(<id); as bob put tree/one ada:/tree/three
0||kvx cat /tree/three; cmp output tree/one
0||kvx uninvite $(<id)
3|kvx: put: ada:/tree/new: there is no such bucket, or nothing here is shared with you|as bob put tree/one ada:/tree/new
TABLE

# What is in the way of a server, and what helps.
while IFS='|' read -r errors url; do
    eval "KVX_TOKEN=$(<bob) expect 9 'kvx: ls: ${url%%\?*}: the store cannot be reached: $errors' kvx --store '$url' ls"
done <<TABLE
connection refused (is the server running there?)|kvx://localhost:1
there is no such socket (is the server running?)|kvx+unix:///nowhere/socket
name not resolved (is the name of the host right?)|kvx://nowhere.invalid
certificate is for another host name (name the host as the certificate does)|kvx://127.0.0.1:$port
certificate is for another host name (name the host as the certificate does)|kvx://localhost:$other?ca=other.pem
certificate is not of a known authority (?ca=FILE behind the URL, or KVX_CA_FILE, names its certificate)|kvx://localhost:$other
certificate has expired (the server needs a new one)|kvx://localhost:$expired?ca=expired.pem
the server wants a client certificate (set KVX_CLIENT_CERT and KVX_CLIENT_KEY)|kvx://localhost:$picky
the server does not speak TLS (is it served as kvx+plain?)|kvx://localhost:$plain
the file of authorities cannot be used|kvx://localhost:$port?ca=bob
TABLE
[[ $(as bob --store "kvx://localhost:$picky?cert=other.pem&key=other.key" df) ]]
eachLine <<TABLE
2|kvx: ls: kvx+plain: would send everything readable to 10.0.0.1; use kvx: or an address of this machine|kvx --store kvx+plain://10.0.0.1 ls
2|kvx: ls: cannot read the file none|kvx --store "kvx://localhost?ca=none" ls
2|kvx: ls: the URL has an unknown option "cafile"|kvx --store "kvx://localhost?cafile=x" ls
TABLE
while IFS='|' read -r name arguments; do
    expect 2 "kvx: $name: $KVX_STORE: a server's store is administered on its machine: run this there, with --store naming the store's file" kvx $name $arguments
done <<'TABLE'
init
user list
user add|eve
bucket list
verify
sweep
prune|--keep-days 1
statistics
backup|copy.db
TABLE

# A server that has ended is told as such, and its log has no secret.
kill $server
wait $server
expect 9 'kvx: mkdir: /new: the store cannot be reached: connection refused (is the server running there?)' kvx mkdir /new
[[ -s log && $(grep -cF -e "$(<ada)" -e "$(<bob)" -e "$(sed -sn 2p home/.local/state/kvx/login-*)" log) == 0 ]]
