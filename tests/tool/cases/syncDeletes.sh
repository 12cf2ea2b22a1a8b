mkdir -p up/folder/sub up/link down/{file/inner,extra,link.d} outside
touch up/{folder/sub/f,file,link/f} down/{folder,file/inner/x,extra/f,$'extra/bad\xff'} outside/f
ln -s ../outside down/link
ln -s ../outside down/other
kvx init -q
kvx sync -q up :/tree
expect 5 'kvx: sync: down/file: it is a folder, and a file in the source: --delete replaces it
kvx: sync: down/folder: it is a file, and a folder in the source: --delete replaces it
kvx: sync: down/link: it is a symbolic link, and a folder in the source: --delete replaces it' kvx sync :/tree down
expect 0 '' kvx sync --delete :/tree down
[[ -e outside/f && $(readlink down/other) == ../outside && -e $'down/extra/bad\xff' ]]
rm -r down/other down/extra up/folder
kvx sync -q --delete up :/tree
kvx sync -q --delete :/tree down
diff -r up down

# An empty source, as of a disk that is not mounted, deletes nothing unless it is told to.
mkdir full empty
touch full/{1..24}
kvx sync -q full :/full
rm full/{1..12}
kvx sync -q --delete full :/full
touch full/more
refusal=':/full: 12 of 12 files would be deleted: --max-delete N or --force allows it'
expect 4 "kvx: sync: $refusal" kvx sync --delete empty :/full
expect 4 "kvx: sync: $refusal" kvx sync --delete --max-delete 11 empty :/full
expect 0 "kvx: sync: $refusal" kvx sync -n --delete empty :/full
[[ $(grep -c ^delete output) == 12 && $(kvx ls :/full | wc -l) == 12 ]] || fail "$(<output)"
expect 2 $'kvx: sync: --max-delete does not go with --force\nTry: kvx sync --help' kvx sync --delete --force --max-delete 5 empty :/full
kvx sync -q --delete --max-delete 12 empty :/full
[[ -z $(kvx ls :/full) ]]

# Several that make the same folders are not in each other's way.
mkdir -p many/{a,b,c}/{d,e,f}/{g,h,i}
touch many/{a,b,c}/{d,e,f}/{g,h,i}/file
for i in 1 2 3 4; do kvx sync -q many :/many 2>errors$i & pids[$i]=$!; done
for i in 1 2 3 4; do wait ${pids[$i]} || fail "$(<errors$i)"; done
for i in 1 2 3 4; do kvx sync -q :/many got 2>errors$i & pids[$i]=$!; done
for i in 1 2 3 4; do wait ${pids[$i]} || fail "$(<errors$i)"; done
diff -r many got
