mkdir odd
for name in 'two words' $'new\nline' '😀 ünï' '-dash' '[a,b]' 'a:b' '++' '%2F' $'tab\tbell\a' "it's" '"q"'; do
    echo "$name" >"odd/$name"
done
kvx init -q
kvx put -r odd :/
kvx get -r :/odd back
diff -r odd back
cd odd
kvx mkdir /one
kvx put -- 'two words' $'new\nline' '😀 ünï' -dash '[a,b]' ./a:b ++ %2F $'tab\tbell\a' "it's" '"q"' :/one
cd ..
kvx get -r :/one one
diff -r odd one
[[ $(kvx ls -- :/one/-dash) == :/one/-dash ]]
diff <(kvx ls /one | sort) <(ls --literal odd | sort)

printf 'x' >$'odd/bad\xff'
expect 4 'kvx: put: odd/bad\xff: the name is not valid UTF-8' kvx put -r odd :/again
expect 4 'kvx: put: odd/bad\xff: the name is not valid UTF-8' kvx put $'odd/bad\xff' :/
expect 4 'kvx: ls: /bad\xff: the name is not valid UTF-8' kvx ls $'/bad\xff'
kvx get -r :/again again
rm $'odd/bad\xff'
diff -r odd again

ln -s odd link
ln -s link odd/inside
mkfifo odd/pipe
expect 0 $'kvx: put: link/inside: left out: a symbolic link\nkvx: put: link/pipe: left out: a special file' \
    kvx put -r link :/followed
[[ $(kvx cat /followed/a:b) == a:b ]]
mkdir links && ln -s none{1..5} links
for name in 'put -r' sync; do
    kvx $name links :/links 2>&1 >/dev/null | tail -n 2 >output
    [[ $(<output) == *none3:*$'\nkvx: '*': 2 more: left out: a symbolic link (-v names each)' ]] || fail "$(<output)"
    [[ $(kvx $name -v links :/links/ 2>&1 | grep -c left) == 5 ]] || fail "$name names too few"
done

# A message fits on a screen whatever the name.
long=$(printf 'x%.0s' {1..5000})
kvx stat "/$long" 2>errors && fail 'found' || true
[[ $(wc -c <errors) -lt 700 && $(<errors) == 'kvx: stat: /xxx'*'xxx[...]xxx'*': the path breaks the rules for names: a name has at most 255 characters' ]] || fail "$(<errors)"
expect 4 'kvx: stat: :/a/./b: the path breaks the rules for names: . is no name' kvx stat :/a/./b
deep=$(printf '/%0200d' {1..21})
kvx stat ":$deep" 2>errors && fail 'found' || true
[[ $(<errors) == *': the path breaks the rules for names: a path has at most 4,096 characters' ]] || fail "$(<errors)"
