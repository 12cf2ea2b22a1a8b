echo small >small
kvx init -q
kvx put small :/a-file
kvx put small :/pipe
mkdir target
mkfifo target/pipe in  # Nobody reads from the one, and somebody writes slowly to the other.
interruptible get :/a-file :/pipe target 2>errors &
until [[ -e target/a-file ]]; do sleep 0.01; done
stop TERM 143 'kvx: get: interrupted: 1 of 2 files were fetched, 6 bytes'
[[ $(ls target) == $'a-file\npipe' ]]

head -c 256M /dev/zero | kvx put - :/large
interruptible get :/large target 2>errors &
until compgen -G 'target/.kvx-*' >/dev/null; do kill -0 $! || fail 'ended before its time'; done
! flock -n target/.kvx-* true || fail 'the file is not locked'
stop INT 130 'kvx: get: interrupted: 0 of 1 file was fetched, 0 bytes'
[[ $(ls -A target) == $'a-file\npipe' ]] || fail "left behind: $(ls -A target)"
mkfifo out
exec 4<>out
interruptible cat /a-file /large >out 2>errors &
read -r -u 4 _
stop INT 130 'kvx: cat: interrupted: 1 of 2 names were done'

# What a killed program left goes with the next, and is not uploaded; what another is writing stays.
rm target/pipe
exec 5>target/.kvx-part-1-0
flock 5
expect 0 'kvx: put: target/.kvx-part-1-0: left out: a temporary file of a download' \
    kvx put -r target :/copy
[[ $(kvx ls :/copy) == a-file ]] || fail "$(kvx ls :/copy)"
touch target/.kvx-part-1-1 target/.kvx-{2026-01-31,part-,part-1,part-1-,part-1-2-3,part-1-2x}
own=$(ls -A target | grep -v -e '-1-[01]$')
kvx get :/a-file target
[[ $(ls -A target | grep -v 1-0) == "$own" && -e target/.kvx-part-1-0 ]] || fail "$(ls -A target)"
exec 5<&-
kvx get :/a-file target
[[ $(ls -A target) == "$own" ]] || fail "$(ls -A target)"
rm target/.kvx-*
kvx rm /large

exec 3<>in
interruptible put - :/a-file <in 2>errors &
head -c 20M /dev/zero >&3
stop INT 130 'kvx: put: interrupted: 0 of 1 file was sent, 0 bytes'
[[ $(kvx cat /a-file) == small ]]

# Ctrl-C ends who writes into the pipe as well, perhaps a moment earlier.
interruptible put - :/a-file <in 3<&- 2>errors &
head -c 1M /dev/zero >&3
exec 3<&-
stop INT 130 'kvx: put: interrupted: 0 of 1 file was sent, 0 bytes'
[[ $(kvx cat /a-file) == small ]]

# Killed at any moment: a file is there as a whole or not at all, and the store goes on.
head -c 64M /dev/urandom >large
for delay in 0.05 0.1 0.15 0.2 0.25 0.3 0.35 0.4; do
    timeout -s KILL $delay "$program" put large :/large || true
    [[ $(kvx cat /a-file) == small ]] || fail "lost after $delay s"
    if kvx stat /large >/dev/null 2>&1; then
        kvx cat /large | cmp - large
        kvx rm /large
    fi
done

# A reader that has seen enough ends the program, without a word and without a trace.
kvx put large :/large
code=$( (kvx cat /large || echo $? >&2) 2>&1 >/dev/full)
[[ $code == *'the disk is full'*6 ]] || fail "full: $code"
code=$( { (kvx cat /large || echo $? >&2) | head -c 1 >/dev/null; } 2>&1)
[[ $code == 141 ]] || fail "closed pipe: $code"
