#!/usr/bin/env bash
# Records per second and loss of a burst through the mailslot sink into logmon, for 1, 4
# and 16 sending processes: each sends RECORDS records (default 100000) as fast as it
# can while one logmon serves \\.\mailslot\debug and writes what it shows to a file.
#   bash bench/log_burst.sh [RECORDS] [BUILD_DIR]      (BUILD_DIR default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
records="${1:-100000}"
build="${2:-build/release}"
logmon="$build/tools/logmon/logmon"
burst="$build/bench/logburst"
[ -x "$logmon" ] && [ -x "$burst" ] || { echo "build $build first (logmon, bench/logburst)"; exit 1; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

printf "%-8s %10s %10s %8s %14s\n" senders sent shown lost records/s
for senders in 1 4 16; do
    log="burst-$$-$senders"
    "$logmon" --log "$log" >"$work/out" 2>"$work/err" &
    monitor=$!
    for _ in $(seq 100); do
        grep -q "serving" "$work/err" 2>/dev/null && break
        grep -q "cannot serve" "$work/err" 2>/dev/null && { cat "$work/err"; exit 1; }
        sleep 0.05
    done
    rate="$("$burst" "$senders" "$records" "$log" | sed -n 's/.*: \([0-9]*\) records\/s.*/\1/p')"
    kill -INT "$monitor"
    wait "$monitor"
    shown="$(wc -l <"$work/out")"
    lost="$(sed -n 's/.* \([0-9]*\) known lost/\1/p' "$work/err")"
    printf "%-8s %10s %10s %8s %14s\n" "$senders" $((senders * records)) "$shown" "$lost" "$rate"
done
