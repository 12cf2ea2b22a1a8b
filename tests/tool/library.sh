# What the cases share. A case runs in an empty folder with a home of its own, and fails with the
# first command that fails.

# Through a server, "init" begins to serve the store that it makes, and administration goes to the
# file.
kvx() {
    case $served:$1 in
        yes:user | yes:bucket | yes:prune | yes:verify | yes:sweep)
            KVX_STORE='' "$program" "$@" ;;
        yes:init)
            "$program" "$@"
            serve "$store" --listen "unix:$work/socket"
            export KVX_STORE=kvx+unix://$work/socket
            head -n 1 "$HOME"/.local/state/kvx/login-* | "$program" login -q ;;
        *) "$program" "$@" ;;
    esac
}

# serve FILE FLAGS...: a server of the store in this file. Sets "port", and "server" to its process.
serve() {
    rm -f port-file
    "$(dirname "$program")/kvxd" --store "sqlite://$1" --port-file port-file "${@:2}" 2>>log &
    server=$!
    for _ in {1..200}; do [[ -s port-file ]] && break; sleep 0.05; done
    port=$(<port-file) || fail "no server: $(<log)"
}

fail() { echo "FAILED: $*" >&2; exit 1; }

# expect CODE ERRORS COMMAND...: the exit code and the whole of standard error.
expect() {
    local code=$1 errors=$2 actual=0
    shift 2
    "$@" >output 2>errors || actual=$?
    [[ $actual == "$code" && $(<errors) == "$errors" ]] ||
        fail "$* -> $actual, not $code: $(<errors), not $errors"
}

# Lines of "exit code|standard error|command; what must then hold".
eachLine() {
    local code errors command
    while IFS='|' read -r code errors command; do
        eval "expect $code '$errors' $command" || fail "$command: $(<output)"
    done
}

# as USER COMMAND...: with the token in the file of that name.
as() { KVX_TOKEN=$(<"$1") "$program" "${@:2}"; }

# limited KIBIBYTES COMMAND...: with so much memory, small stacks included; not with sanitizers,
# which need more.
limited() { (if [[ -z $sanitized ]]; then ulimit -s 1024 -d "$1"; fi; "${@:2}"); }

# The shell lets what runs in the background ignore Ctrl-C.
interruptible() { exec env --default-signal=INT "$program" "$@"; }

# stop SIGNAL CODE ERRORS: ends the program in the background, which says so.
stop() {
    local code=0
    kill "-$1" $!
    wait $! || code=$?
    [[ $code == "$2" && $(<errors) == "$3" ]] || fail "ended by $1: $code: $(<errors)"
}

# typed TEXT KEYS COMMAND: types on a terminal once the command has shown the text, all into "seen".
typed() {
    : >seen
    (for _ in {1..200}; do grep -q "$1" seen && break; sleep 0.05; done; printf "$2") |
        script -qec "$3" /dev/null >seen
}
