#!/bin/bash
# The network behind the link dies while the modem goes on calling the link up, with one SIM and without ORLA: the daemon
# never notices. The guard does. A portal that answers in the name of others doesn't count; it asks for a soft reset, which
# doesn't help, is killed and started again, and asks for a hardware reset, which does. What it sends and hears is counted
# at the interface.
#
# The daemon's waits for all that are two minutes, the guard's half an hour. So the guard has a clock of its own, which is
# the sum of its pauses, and these are cut short: see tests/support/fast_clock.cpp. It stands still while no guard runs.
. "$REPOSITORY/tests/e2e/e2e.bash"

GUARD_LOG=/tmp/guard.log
GUARD_STATE=/run/ravelin-guard/state
export FAST_CLOCK=/tmp/guard.clock FAST_CLOCK_FOLLOWS=$STATUS
echo 1000 >$FAST_CLOCK # seconds since boot
# The clock is loaded first, which a sanitizer takes for a mistake.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0

# A preloaded library's path can't have a blank, and that of the build may.
CLOCK=/tmp/libfast_clock.so
cp "$BUILD/tests/libfast_clock.so" $CLOCK

# on_fast_clock COMMAND...
on_fast_clock() {
    LD_PRELOAD=$CLOCK "$@"
}

start_guard() {
    mkdir -p /run/ravelin-guard /tmp/guard
    # Not by a function, of which only the shell would be killed.
    LD_PRELOAD=$CLOCK "$BUILD/ravelin-guard" --config /tmp/guard.conf --state /tmp/guard --stderr 2>>"$GUARD_LOG" &
    GUARD=$!
}

guard_said() {
    grep -qF -- "$1" "$GUARD_LOG"
}

has_started_twice() {
    [ "$(grep -c "watches wwan0 and acts" "$GUARD_LOG")" = 2 ]
}

# await_guard TEXT
await_guard() {
    wait_for "$PATIENCE_SECONDS" guard_said "$1" || {
        cat "$GUARD_LOG" "$GUARD_STATE"
        fail "the guard didn't say: $1"
    }
    say "the guard: $(grep -F -- "$1" "$GUARD_LOG" | tail -n 1)"
}

# shown KEY: of the guard's own state.
shown() {
    sed -n "s/^$1=//p" "$GUARD_STATE" 2>/dev/null
}

shown_at_least() {
    local value
    value=$(shown "$1")
    [ "${value:-0}" -ge "$2" ]
}

# bytes_at_interface COLUMN: 2 is what came in, 10 what went out.
bytes_at_interface() {
    awk -v column="$1" '{ sub(/:/, " ") } $1 == "wwan0" { print $column }' /proc/net/dev
}

# serve_names ADDRESS: the name server of the network knows this one.
serve_names() {
    if [ -n "${NAME_SERVER-}" ]; then
        kill "$NAME_SERVER"
        wait "$NAME_SERVER" 2>/dev/null
    fi
    # Not by "far": of a function in the background only the shell would be killed.
    nsenter --net="/proc/$NETWORK/ns/net" "$BUILD/tests/name_server" 8.8.8.8 "$1" &
    NAME_SERVER=$!
}

# metric NAME: its value, as ravelinctl tells it.
metric() {
    on_fast_clock "$BUILD/ravelinctl" metrics | sed -n "s/^$1 //p"
}

# runs_by_metrics 0|1
runs_by_metrics() {
    [ "$(metric ravelin_guard_running)" = "$1" ]
}

# Each wait is the shortest that the guard takes. Only the pause after the hardware reset is the longest, so that even a slow
# machine has brought the network back before the next reset.
cat >/tmp/guard.conf <<'END'
INTERFACE=wwan0
DNS=8.8.8.8 www.example.org
TCP=8.8.4.4 443
ICMP=8.8.4.4
SILENCE=60
INTERVAL=60
FAILED=120
SOFT_WAIT=180
PAUSE=86400
END
chmod 644 /tmp/guard.conf
check "its settings let it act" "$BUILD/ravelin-guard" --check --config /tmp/guard.conf
: >"$GUARD_LOG"
# The family that takes the daemon the least time: 40 s to be online, 35 for a soft reset, 50 for a hardware reset.
start_board --family huawei
serve_names 198.51.100.7
start_daemon
wait_for "$PATIENCE_SECONDS" is_online || fail "not online"
# The neighbours know each other, so that nothing but probes is counted.
ping -c 1 -W 20 8.8.8.8 >/dev/null || fail "the network isn't there"
start_guard
await_guard "watches wwan0 and acts"
await_guard "now quiet"
# The first round is one of all probes: each has to have answered once.
wait_for "$PATIENCE_SECONDS" shown_at_least Rounds 1 || fail "no probes"
wait_for "$PATIENCE_SECONDS" grep -qx PROVEN=7 /tmp/guard/budget || fail "the probes aren't known to answer: $(cat /tmp/guard/budget)"

# While all is well, a round is one question of 61 bytes for the name and one answer of 77, and 14 of Ethernet each. The guard
# stands still while the figures are taken, so that they fit each other however slow the machine is: one question may be out.
kill -STOP $GUARD
sent_before=$(bytes_at_interface 10)
received_before=$(bytes_at_interface 2)
rounds_before=$(shown Rounds)
kill -CONT $GUARD
wait_for "$PATIENCE_SECONDS" shown_at_least Rounds $((rounds_before + 3)) || fail "no probes"
kill -STOP $GUARD
rounds=$(($(shown Rounds) - rounds_before))
sent=$(($(bytes_at_interface 10) - sent_before))
received=$(($(bytes_at_interface 2) - received_before))
kill -CONT $GUARD
say "$rounds rounds: $sent bytes out and $received in at the interface"
# ARP asks again at times, a few times for each round at most.
arp=$(((rounds + 1) * 3 * 42))
[ "$sent" -ge $(((rounds - 1) * 75)) ] && [ "$sent" -le $(((rounds + 1) * 75 + arp)) ] || fail "$sent bytes aren't those of the probes"
[ "$received" -ge $(((rounds - 1) * 91)) ] && [ "$received" -le $(((rounds + 1) * 91 + arp)) ] ||
    fail "$received bytes aren't those of the answers"
[ "$(shown SoftResets)" = 0 ] || fail "a reset of a healthy link"

for host in 8.8.4.4 172.21.2.226; do
    far ip addr del "$host/32" dev lo
done
serve_names 10.0.0.1
say "the network is dead but for a portal, the link stays up"
await_guard "SoftReset:1, because online and no traffic for"
guard_said "(DNS captive, TCP" || fail "the portal wasn't seen: $(cat "$GUARD_LOG")"
await_log "$PATIENCE_SECONDS" "[FIFO] SoftReset run"

# Killed and started again, it goes on where it was.
kill -9 $GUARD
wait $GUARD 2>/dev/null
start_guard
wait_for "$PATIENCE_SECONDS" has_started_twice || fail "the second guard doesn't start"
guard_said "another one runs" && fail "the first guard still runs"
await_guard "Reset4G:1, because a soft reset didn't help"
await_log "$PATIENCE_SECONDS" "[FIFO]Reset4G:1"
await_log "$PATIENCE_SECONDS" "[FIFO] DeviceReset run"
grep -qx SOFT_TOTAL=1 /tmp/guard/budget || fail "the restart brought a second soft reset"
grep -qx HARD=1 /tmp/guard/budget || fail "the budget doesn't have the reset"

for host in 8.8.4.4 172.21.2.226; do
    far ip addr add "$host/32" dev lo
done
serve_names 198.51.100.7
say "the reset has brought the network back"
await_guard "alive again after Reset4G:1"
[ "$(metric 'ravelin_guard_resets_total{kind="hard"}')" = 1 ] || fail "ravelinctl metrics: $("$BUILD/ravelinctl" metrics | grep guard)"
wait_for "$PATIENCE_SECONDS" runs_by_metrics 1 || fail "ravelinctl metrics doesn't know that it runs"
# What it has written to, and its program's text. What it only reads of a library is its own or not by what else runs here, and
# the memory of its clock isn't the guard's, no more than a sanitizer's.
grep -qE 'lib(a|t)san' /proc/$GUARD/maps ||
    awk '/^[0-9a-f]+-/ { is_program = /ravelin-guard$/; is_clock = /fast_clock/ }
         /^Private_Dirty/ && !is_clock || /^Private_Clean/ && is_program { kib += $2 }
         END { print "the guard has " kib " KiB of its own"; exit kib < 100 || kib >= 400 }' /proc/$GUARD/smaps ||
    fail "too much memory"
[ "$(grep -c 'SoftReset:1, because' "$GUARD_LOG")" = 1 ] || fail "not one soft reset"
grep -vE '^(SoftReset|Reset4G):1$' < <(grep -oE '\[FIFO\][A-Za-z0-9]+:.*' "$LOG" | sed 's/^\[FIFO\]//') && fail "it asked for more"

kill $GUARD
wait $GUARD 2>/dev/null
echo $(($(cat $FAST_CLOCK) + 181)) >$FAST_CLOCK
runs_by_metrics 0 || fail "ravelinctl metrics takes a guard that ended three minutes ago for one that runs"
say "done"
