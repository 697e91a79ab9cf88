#!/usr/bin/env bash
# Records per second through logmon --syslog into a real rsyslogd on loopback, over UDP
# and over TCP, beside the same burst into logmon alone, which is the peer: the ratio is
# what forwarding costs. One process logs RECORDS records (default 100000) with the
# mailslot sink as fast as it can; the time runs from its start until rsyslogd has
# written the last record to its file (for the peer: until logmon has shown it).
# rsyslogd runs as this user with a configuration, work directory and pid file of its
# own in a temporary directory.
#   bash bench/syslog_rate.sh [RECORDS] [BUILD_DIR]      (BUILD_DIR default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
records="${1:-100000}"
build="${2:-build/release}"
logmon="$build/tools/logmon/logmon"
burst="$build/bench/logburst"
[ -x "$logmon" ] && [ -x "$burst" ] || { echo "build $build first (logmon, bench/logburst)"; exit 1; }
[ -x /usr/sbin/rsyslogd ] || { echo "rsyslogd is missing (scripts/install-deps.sh installs rsyslog)"; exit 1; }
work="$(mktemp -d)"
rsyslog=""
cleanup() {
    [ -n "$rsyslog" ] && kill "$rsyslog" 2>/dev/null && wait "$rsyslog" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

free_port() {
    python3 -c 'import socket,sys; s=socket.socket(type=getattr(socket,sys.argv[1])); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])' "$1"
}
udp_port=$(free_port SOCK_DGRAM)
tcp_port=$(free_port SOCK_STREAM)
cat >"$work/rsyslog.conf" <<CONF
global(workDirectory="$work")
module(load="imudp")
input(type="imudp" address="127.0.0.1" port="$udp_port" rcvBufSize="4m")
module(load="imtcp")
input(type="imtcp" address="127.0.0.1" port="$tcp_port")
template(name="fields" type="string" string="%app-name% %procid% %msg%\n")
action(type="omfile" file="$work/out.log" template="fields")
CONF
: >"$work/out.log"
/usr/sbin/rsyslogd -n -C -f "$work/rsyslog.conf" -i "$work/rsyslogd.pid" &
rsyslog=$!
for _ in $(seq 200); do
    (exec 3<>"/dev/tcp/127.0.0.1/$tcp_port") 2>/dev/null && break
    sleep 0.05
done

now() { date +%s.%N; }

# Runs one burst through a logmon started with the arguments after the first; prints a
# line of the table. $1 is what the row is called.
run() {
    local name=$1
    shift
    local log="syslograte-$$-$name"
    "$logmon" --log "$log" "$@" >"$work/shown" 2>"$work/err" &
    local monitor=$!
    for _ in $(seq 100); do
        grep -q "serving" "$work/err" 2>/dev/null && break
        grep -q "cannot serve" "$work/err" 2>/dev/null && { cat "$work/err"; exit 1; }
        sleep 0.05
    done
    local start end count=0 base=0 idle
    [ "$name" = alone ] || base=$(wc -l <"$work/out.log")
    start=$(now)
    "$burst" 1 "$records" "$log" >/dev/null
    # Until every record has arrived, or nothing more has come for 3 seconds; the time
    # is that of the last arrival seen.
    end=$(now)
    idle=$end
    while [ "$count" -lt "$records" ] &&
        awk -v a="$idle" -v b="$(now)" 'BEGIN { exit !(b - a < 3) }'; do
        local seen
        if [ "$name" = alone ]; then
            seen=$(wc -l <"$work/shown")
        else
            seen=$(($(wc -l <"$work/out.log") - base))
        fi
        if [ "$seen" -ne "$count" ]; then
            count=$seen
            end=$(now)
            idle=$end
        fi
        [ "$count" -lt "$records" ] && sleep 0.05
    done
    kill -INT "$monitor"
    wait "$monitor"
    local seconds not_forwarded lost
    seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { print b - a }')
    not_forwarded=$(sed -n 's/.* \([0-9]*\) not forwarded/\1/p' "$work/err")
    lost=$(sed -n 's/.* \([0-9]*\) known lost/\1/p' "$work/err")
    printf "%-12s %9s %10s %8s %14s %10.3f %12.0f\n" "$name" "$records" "$count" "$lost" \
        "${not_forwarded:--}" "$seconds" "$(awk -v c="$count" -v s="$seconds" 'BEGIN { print c / s }')"
}

printf "%-12s %9s %10s %8s %14s %10s %12s\n" run sent arrived lost not-forwarded seconds records/s
run alone
run udp --syslog "udp://127.0.0.1:$udp_port"
run tcp --syslog "tcp://127.0.0.1:$tcp_port"
