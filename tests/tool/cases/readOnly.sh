kvx init -q --user ada --token-file token
kvx mkdir /docs
echo first | kvx put - :/docs/a
echo second | kvx put - :/docs/a
export KVX_TOKEN=$(<token)
chmod 444 "$store"
before=$(sha256sum "$store")
other=()
if [[ $(id -u) == 0 ]]; then  # Root may write whatever the mode says.
    chmod -R a+rX "$work"
    other=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
reader() { "${other[@]}" "$program" "$@"; }
if ! reader --version >output 2>errors; then
    echo "skipped: no other user can run the program"
    exit 0
fi
eachLine <<'TABLE'
0||reader ls :/docs; [[ $(<output) == a ]]
0||reader cat /docs/a; [[ $(<output) == second ]]
0||reader get --version 1 :/docs/a -; [[ $(<output) == first ]]
0||reader verify; [[ $(<output) == 'no damage found' ]]
4|kvx: put: :/docs/new: the store is read-only|reader put token :/docs/new
4|kvx: rm: /docs/a: the store is read-only|reader rm -f /docs/a
4|kvx: user add: the store is read-only: its file, its folder or the file system may not be written|reader user add bob
TABLE
[[ $(sha256sum "$store") == "$before" && ! -e $store-wal ]] || fail 'the store was changed'
