kvx init -q --user ada
seen=$(kvx watch --once)
kvx mkdir -p /a/b /c
seen=$(kvx watch --once --since "${seen#watermark }" :/a/b)
[[ $seen == $'ada:/a/\nada:/a/b/\nwatermark '* ]] || fail "seen: $seen"
"$program" sync --delete --watch --interval 0.1 :/a down >/dev/null &
mkdir up
touch $'up/bad\xff'
"$program" sync --delete --watch up :/a 2>told >/dev/null &
mkdir -p up/new/sub
until [[ -d down/new/sub ]]; do sleep 0.1; done
echo first >up/new/sub/f
mv up/new/sub up/moved
until [[ -e down/moved/f && ! -e down/new/sub ]]; do sleep 0.1; done
interruptible watch --interval 0.1 :/a >seen 2>errors &
until [[ -s seen ]]; do echo >>up/moved/f && sleep 0.3; done
stop INT 130 ''
[[ $(head -n 1 seen) == ada:/a/moved/f ]]
[[ $(<told) == 'kvx: sync: up/bad\xff: the name is not valid UTF-8' ]] || fail "again: $(<told)"
