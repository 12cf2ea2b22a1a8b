# The commands of the guide on servers, as they stand there, but for places, port and host name.
guide=$folder/../../docs/guides/running-a-server.md
hostname() { echo localhost; }
kvxd() { exec "$(dirname "$program")/kvxd" "$@"; }
mkdir srv backup
kvx --store none.db init -q
serve "$work/none.db" --listen 127.0.0.1:0 --plain  # Finds a port that is free.
kill $server
wait $server
awk -v RS='```' 'NR % 2 == 0 && sub(/^sh\n/, "") && !/sudo/ { print > ("block" ++count) }' "$guide"
[[ $(echo block*) == 'block1 block2 block3 block4 block5' ]]
sed -i "s,/srv/,$work/srv/,; s,/backup/,$work/backup/,; s,7420,$port," block*

source ./block1 2>log
until grep -q ready log; do sleep 0.05; done
source ./block2
source ./block3 >listed
[[ $(<listed) == *'12  '*draft.txt && $(kvx cat ada:/plans/draft.txt) == 'first draft' ]]
source ./block4
kvx --store backup/*.db verify
source ./block5 >answers
[[ $(grep -c "$(<notes.txt)" answers) == 1 && $(grep -o '"name":"[^"]*"' answers) == *notes.txt* ]] ||
    fail "$(<answers)"
[[ $(KVX_TOKEN=$(<ada.token) kvx ls) == plans ]]
[[ $($curl -o output -w '%{http_code}' -H "$bearer" "$server/folders/-/" 2>&1) == *401* ]]
