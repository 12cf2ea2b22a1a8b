for ((i = 0; i < 20; i++)); do
    folder=tree/$((i % 4))/$((i / 4))
    mkdir -p "$folder"
    head -c 50K /dev/urandom | split -b 1K - "$folder/file"
    touch -d "@$((i * 100000000)).$((i + 100000000))" "$folder"/*
done
mkdir tree/empty
touch tree/no-content tree/.hidden
kvx init -q
time kvx put -r tree :/
time kvx get -r :/tree back
diff -r tree back
diff <(cd tree && find . -type f -printf '%P %T@\n' | sort) \
    <(cd back && find . -type f -printf '%P %T@\n' | sort)

# Again over what is there: a changed file arrives, and nothing else is lost.
echo changed >tree/1/1/fileaa
kvx put -r tree :/
kvx get -r :/tree/ back/
[[ -d back/tree ]]
diff -r tree back/tree
