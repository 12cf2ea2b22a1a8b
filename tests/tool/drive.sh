#!/bin/bash
# Drives the real program: drive.sh PROGRAM CASE, where cases/CASE.sh says how. With SERVED=yes the
# store of the case is reached through a server.
set -eu
program=$1
sanitized=${SANITIZED:-}
folder=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$work"' EXIT
trap 'echo "FAILED: ${BASH_SOURCE[0]}:$LINENO: $BASH_COMMAND" >&2' ERR
cd "$work"
export HOME=$work/home TZ=UTC LC_ALL=C.UTF-8
unset XDG_DATA_HOME XDG_STATE_HOME KVX_STORE KVX_TOKEN
store=$HOME/.local/share/kvx/store.db
nobody='you are not logged in: kvx login keeps your token, or set KVX_TOKEN to it'
mkdir "$HOME"
served=${SERVED:-}

source "$folder/library.sh"
source "$folder/cases/$2.sh"
