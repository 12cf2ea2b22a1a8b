# The file does not fit into the limit; a few ranges and the threads' stacks do. Without the limit
# more ranges than are on their way at once are enough.
size=128M
[[ -z $sanitized ]] || size=32M
head -c $size /dev/urandom >large
kvx init -q
time limited 90000 kvx put large :/
time limited 90000 kvx get :/large back
cmp large back
[[ $(stat -c %y large) == "$(stat -c %y back)" ]]
limited 90000 kvx cat /large | cmp - large
limited 90000 kvx put -j 2 - :/large <large
limited 90000 kvx get -j 1 :/large - | cmp - large
# Where a range ends, and one call more or less is needed.
for size in 0 1 4194303 4194304 4194305 8388608; do
    head -c $size large | kvx put - :/piped
    head -c $size large >part
    kvx put part :/
    kvx cat /piped /part | cmp - <(head -c $size large; head -c $size large)
done
