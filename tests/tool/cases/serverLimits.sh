# Each limit is set by a flag or by its variable, and shown with the metrics.
cat >limits <<'END'
max-body body_bytes
max-connections connections
max-connections-of-address connections_address
max-calls calls_running
max-calls-of-user calls_user
max-handles handles_session
max-content content_bytes
max-content-of-user content_user_bytes
max-head header_bytes
max-json json_bytes
failed-logins failed_logins_address
handle-idle handle_idle_seconds
head-time head_seconds
progress-time progress_seconds
idle-time idle_seconds
END
flags=() variables=() value=5000
while read -r flag metric; do
    ((++value))
    flags+=("--$flag" "$value")
    variables+=("KVXD_$(tr a-z- A-Z_ <<<"$flag")=$value")
    echo "kvxd_${metric}_limit $value" >>expected
done <limits
kvx --store limits.db init -q

# shows COMMAND...: a server that is started so has the limits.
shows() {
    "$@"
    metrics=$(sed -n 's/.*"metricsPort":\([0-9]*\).*/\1/p' log)
    curl -s "http://127.0.0.1:$metrics/metrics" >metrics
    [[ $(grep -cxFf expected metrics) == $(wc -l <limits) ]] || fail "$(grep limit metrics)"
    kill $server
    wait $server
    : >log
}

common=("$work/limits.db" --listen 127.0.0.1:0 --plain --metrics 127.0.0.1:0)
shows serve "${common[@]}" "${flags[@]}"
export "${variables[@]}"
shows serve "${common[@]}"
expect 2 'kvxd: --head-time: Value 0 not in range 1 to 31536000' \
    "$(dirname "$program")/kvxd" --store sqlite::memory: --head-time 0
