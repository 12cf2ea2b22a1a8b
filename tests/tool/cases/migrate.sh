kvx init -q --user ada --token-file token
kvx mkdir /docs
head -c 3000000 /dev/urandom | tee random | kvx put - :/docs/a
echo second | kvx put - :/docs/a
cp "$store" before.db
eachLine <<'TABLE'
0||kvx migrate "$store" new.db; [[ $(<output) == 'migrated to '"$work"'/new.db: all '*' rows are equal, and all contents have their checksums' ]]
0||cmp "$store" before.db; [[ $(stat -c %a new.db) == 600 ]]
5|kvx: migrate: the target sqlite://'"$work"'/new.db: there is a store already|kvx migrate "$store" new.db
3|kvx: migrate: the source sqlite://'"$work"'/none.db: cannot open '"$work"'/none.db: No such file or directory|kvx migrate none.db other.db; [[ ! -e other.db ]]
2|kvx: migrate: kvx://host: a server'\''s store is migrated on its machine, by the name of its file|kvx migrate kvx://host other.db
0||kvx migrate -v --json new.db back.db; [[ $(head -1 output) == '{"table":"users","rows":1,"checksum":"'* && $(tail -1 output) == '{"from":"'"$work"'/new.db","to":"'"$work"'/back.db","rows":'* ]]
TABLE
for copy in new.db back.db; do
    ! kvx ls --store $copy 2>/dev/null || fail "somebody is logged in to $copy"
    kvx login -q --store $copy --token-file token
    [[ $(kvx cat --store $copy /docs/a) == second ]] || fail "the file is another in $copy"
    kvx cat --store $copy /docs/a --version 1 | cmp - random
done

# Interrupted, it goes on; until then nobody takes the part for a store.
! (ulimit -f 2000; kvx migrate "$store" part.db) 2>errors || fail "there was no limit"
[[ $(<errors) == 'kvx: migrate: the target: '* ]] || fail "$(<errors)"
expect 7 'kvx: ls: the migration into the store has not ended: kvx migrate goes on with it' \
    kvx ls --store part.db
kvx migrate -q "$store" part.db
[[ $(kvx verify --store part.db) == 'no damage found' ]]
