#!/usr/bin/env bash
# Builds and runs a consumer of the library as it is installed, or as it is added from source; and
# builds it with another lock than the library's, which must be refused.
# usage: consume.sh PACKAGE|PKGCONFIG|SOURCE source-folder build-folder library-folder
set -euo pipefail

from=$1 source=$2 build=$3 libdir=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[[ $from == SOURCE ]] || cmake --install "$build" --prefix "$work/root" >"$work/log"
[[ $from == SOURCE ]] && from=$source
export PKG_CONFIG_PATH=$work/root/$libdir/pkgconfig
export LD_LIBRARY_PATH=$work/root/$libdir

cmake -G Ninja -S "$source/tests/package/consumer" -B "$work/build" -DFROM="$from" \
    -DCOMPONENTS="${COMPONENTS:-}" -DCMAKE_PREFIX_PATH="$work/root" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_UNITY_BUILD=ON >"$work/log" ||
    { cat "$work/log"; exit 1; }
cmake --build "$work/build" >"$work/log" || { cat "$work/log"; exit 1; }
program=$(find "$work/build" -name consumer -type f)
output=$("$program")
[[ $output == "/a%20b" ]]

cmake -S "$source/tests/package/consumer" -B "$work/build" -DDEFINITIONS=BOOST_THREAD_V2_SHARED_MUTEX >"$work/log"
if cmake --build "$work/build" >"$work/log"; then
    echo "a lock of another layout is taken"
    exit 1
fi
grep -q "libkvxclient was built with Boost 1\.[0-9.]*, whose boost::shared_mutex" "$work/log" ||
    { cat "$work/log"; exit 1; }
