head -c 10M /dev/urandom >large
echo small >small
kvx init -q
kvx put small :/
# The store does not always know that a limit for files is why it cannot write.
code=0
(ulimit -f 2000; kvx put large :/) 2>errors || code=$?
[[ $code:$(<errors) == 7:'kvx: put: :/large: the store failed: '* ||
    $code:$(<errors) == 6:"kvx: put: :/large: the store's disk is full" ]] || fail "$code: $(<errors)"
[[ $(kvx ls) == small && $(kvx cat /small) == small ]]
kvx put large :/
kvx get :/large back
cmp large back

# A small disk of its own is full for certain, where the system lets tests mount one.
mount='mount -t tmpfs -o size=24m none /mnt'
own=$([[ $EUID == 0 ]] && echo -m || echo -rm)
if unshare $own $mount 2>/dev/null; then
    head -c 40M /dev/zero >zeros
    expect 6 "kvx: put: :/zeros: the store's disk is full" env KVX_STORE=/mnt/store.db \
        unshare $own bash -c "$mount"' && "$0" init -q && exec "$0" put zeros :/' "$program"
fi

mkdir target
expect 6 'kvx: get: target/large: the file is too large for the disk' \
    eval '(ulimit -f 2000; kvx get :/large target)'
[[ -z $(ls -A target) ]] || fail "left behind: $(ls -A target)"
