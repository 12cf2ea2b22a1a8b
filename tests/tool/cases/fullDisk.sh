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

mkdir target
expect 6 'kvx: get: target/large: the file is too large for the disk' \
    eval '(ulimit -f 2000; kvx get :/large target)'
[[ -z $(ls -A target) ]] || fail "left behind: $(ls -A target)"
