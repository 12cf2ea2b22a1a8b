#!/usr/bin/env bash
# Builds the README's program against the installed store, as the README says, and runs it twice:
# the second time the user exists, which must be an error and no crash.
# usage: readme.sh source-folder build-folder library-folder
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$2" --prefix "$work/root" >/dev/null
export PKG_CONFIG_PATH=$work/root/$3/pkgconfig LD_LIBRARY_PATH=$work/root/$3

sed -n '/^```cpp$/,/^```$/p' "$1/README.md" | sed '/^```/d' >"$work/program.cpp"
command=$(sed -nE 's/^or `(c\+\+ .*)`\.$/\1/p' "$1/README.md")
cd "$work"
eval "$command"
[[ $(./a.out) == "Hello, world" ]]
status=0
message=$(./a.out 2>&1) || status=$?
[[ $status == 1 && -n $message ]]
