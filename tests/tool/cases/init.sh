state=$HOME/.local/state/kvx
expect 3 "kvx: ls: $store: there is no store here: kvx init creates one" kvx ls
kvx init --user ada
[[ $(stat -c %a "$state" "$state"/login-* "$store") == $'700\n600\n600' ]]
before=$(sha256sum "$store" "$state"/login-*)
expect 5 "kvx: init: $store: it exists already, and is left as it is" kvx init
[[ $(sha256sum "$store" "$state"/login-*) == "$before" ]]

# The token is found however the store is named, and may come from elsewhere.
kvx mkdir ada:/docs
[[ $(cd "$HOME/.local" && kvx ls --store share/../share/kvx/store.db) == docs ]]
[[ $(KVX_STORE=sqlite://$store kvx ls) == docs ]]
read -r token <"$state"/login-*
expect 4 "kvx: ls: $store: $nobody" \
    env XDG_STATE_HOME="$work/none" "$program" ls
[[ $(XDG_STATE_HOME=$work/none KVX_TOKEN=$token kvx ls) == docs ]]
expect 4 "kvx: ls: $store: the store does not accept the token" env KVX_TOKEN=wrong "$program" ls

# Without a token that can be kept, no store.
touch in-the-way
expect 5 "kvx: init: $work/new.db: a part of the path is not a folder" \
    env XDG_STATE_HOME="$work/in-the-way" "$program" init --store new.db
expect 4 'kvx: init: a/b: the name breaks the rules for names: it has a slash' kvx init --store new.db --user a/b
[[ ! -e new.db ]]
expect 7 'kvx: init: cannot create /proc/new.db: No such file or directory' kvx init --store /proc/new.db
expect 5 "kvx: init: $work/in-the-way/new.db: a part of the path is not a folder" kvx init --store in-the-way/new.db
expect 3 "kvx: init: $work/none/new.db: no such folder to hold it" kvx init --store none/new.db
