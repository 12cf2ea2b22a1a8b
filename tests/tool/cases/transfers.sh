# What is said about the files, and the versions that stay behind.
mkdir tree
echo a >tree/a
kvx init -q
echo b >tree/b
[[ $(kvx put -rv tree :/) == $'tree/a -> :/tree/a\ntree/b -> :/tree/b' ]]
[[ $(kvx get -v :/tree/a -j 1 .) == ':/tree/a -> ./a' && -z $(kvx get -qv :/tree/a .) ]]
[[ $(kvx put --json tree/a :/) == '{"source":"tree/a","target":":/a","size":2}' ]]
head -c 5M /dev/zero >large
kvx put large :/a
echo new | kvx put - :/a
[[ $(kvx cat /a) == new && $(kvx get --version 1 :/a -) == a && $(kvx cat --version 1 /a) == a ]]
kvx get --version 2 :/a old
cmp old large
expect 3 'kvx: get: :/a: it has no version 4' kvx get --version 4 :/a old
expect 2 'kvx: get: --version: it is for a single file' kvx get --version 1 :/a :/a .
