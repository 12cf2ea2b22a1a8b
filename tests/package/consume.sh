#!/usr/bin/env bash
# Builds and runs a consumer of the library as it is installed, or as it is added from source.
# usage: consume.sh PACKAGE|PKGCONFIG|SOURCE source-folder build-folder library-folder
set -euo pipefail

from=$1 source=$2 build=$3 libdir=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[[ $from == SOURCE ]] || cmake --install "$build" --prefix "$work/root" >"$work/log"
[[ $from == SOURCE ]] && from=$source
export PKG_CONFIG_PATH=$work/root/$libdir/pkgconfig
export LD_LIBRARY_PATH=$work/root/$libdir

cmake -G Ninja -S "$source/tests/package/consumer" -B "$work/build" -DFROM="$from" -DWITH_STORE="${WITH_STORE:-OFF}" \
    -DCMAKE_PREFIX_PATH="$work/root" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_UNITY_BUILD=ON >"$work/log" ||
    { cat "$work/log"; exit 1; }
cmake --build "$work/build" >"$work/log" || { cat "$work/log"; exit 1; }
program=$(find "$work/build" -name consumer -type f)
output=$("$program")
[[ $output == "/a%20b" ]]
