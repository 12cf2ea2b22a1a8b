kvx init -q --user ada --token-file token
kvx mkdir /docs
echo first | kvx put - :/docs/a
eachLine <<'TABLE'
0||kvx backup copy.db; [[ $(<output) == 'backed up to copy.db' && $(stat -c %a copy.db) == 600 ]]
5|kvx: backup: there is a file already: '"$work"'/copy.db|kvx backup copy.db
3|kvx: backup: none/copy.db: no such folder to hold it|kvx backup none/copy.db
0||kvx backup --json second.db; [[ $(<output) == '{"backup":"second.db","size":'$(stat -c %s second.db)'}' ]]
TABLE
[[ $(ls) == $'copy.db\nerrors\nhome\noutput\nsecond.db\ntoken' ]] || fail "left behind: $(ls)"
kvx rm -rf /docs
watermark=$(kvx watch --once)

# As the guide says how to put it back.
mkdir aside
mv "$store"* aside
cp copy.db "$store"
[[ $(kvx cat /docs/a) == first ]]
expect 3 "kvx: watch: $watermark: no watermark of this store" kvx watch --once --since "$watermark"
kvx verify -q
