#!/usr/bin/env bash
# Fails when a shared library exports anything but the interface's own namespace.
# usage: symbols.sh shared-library namespace
set -euo pipefail

exported=$(nm -DC --defined-only "$1" | cut -d' ' -f3-)
grep -q "^$2::" <<<"$exported" || { echo "$1 exports nothing of $2"; exit 1; }
rest=$(grep -vE "^(typeinfo for |typeinfo name for |vtable for )?$2::" <<<"$exported" || true)
rest+=$(grep -E "$2::(detail|.*\(anonymous namespace\))" <<<"$exported" || true)
[[ -z $rest ]] || { printf 'exported beside the interface:\n%s\n' "$rest"; exit 1; }
