mkdir -p up/empty 'up/two words/deep'
for name in $'new\nline' '😀' -dash a:b 'two words/deep/.hidden' '[x]'; do echo "$name" >"up/$name"; done
{ echo large; head -c 5M /dev/urandom; } >up/large
touch -d '1965-04-03 02:01:00.123456789' up/-dash up/none
touch -d @0 up/a:b  # No time that a store can keep.
kvx init -q
kvx sync -n up :/new/target >planned
kvx sync -v up :/new/target >done
[[ $(kvx sync -v up :/new/target) == '0 files sent, 0 deleted, 8 unchanged' ]] || fail 'sent twice'
diff <(head -n -1 planned | sort) <(head -n -1 done | sort)
kvx sync -q :/new/target new/down
diff -r up new/down
diff <(cd up && find . -type f ! -name a:b -printf '%p %T@\n' | sort) \
    <(cd new/down && find . -type f ! -name a:b -printf '%p %T@\n' | sort)
[[ $(kvx sync -v :/new/target new/down/.) == '0 files received, 0 deleted, 8 unchanged' ]] || fail 'got twice'

# Only their contents tell these from what the store has.  Neither has the letter there yet.
for name in large -dash; do
    printf x | dd of="up/$name" bs=1 seek=2 conv=notrunc status=none && touch -r "new/down/$name" "up/$name"
done
kvx sync -v --checksum up :/new/target >done
[[ $(sort done) == $'2 files sent, 0 deleted, 6 unchanged\nput -dash\nput large' ]] || fail "$(<done)"
touch up/.kvx-part-1-2
expect 0 'kvx: sync: up/.kvx-part-1-2: left out: a temporary file of a download' kvx sync -v up :/new/target
touch $'up/bad\xff' up/good
expect 4 $'{"command":"sync","name":"up/bad\uFFFD","error":"the name is not valid UTF-8","exitCode":4}' kvx sync --json up :/new/target
[[ $(<output) == '{"action":"put","path":"good","size":0}'*'"failed":1,"dryRun":false}' ]] || fail "$(<output)"
expect 2 'kvx: sync: both folders are local: write :/path for one in the store' kvx sync up down
expect 3 'kvx: sync: :/none: no such folder' kvx sync --delete :/none new/down
