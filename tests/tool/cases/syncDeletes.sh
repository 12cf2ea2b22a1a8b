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
