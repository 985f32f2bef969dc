#!/bin/bash
# The network behind the link dies while the modem goes on calling the link up: nothing but the machine's own ping, grep,
# awk and wc finds it out. The ladder is climbed to the switch of the SIM and the soft reset; then the network is back,
# and so is the link. The hosts live in a network namespace behind a veth pair; prints how long each step took.
. "$REPOSITORY/tests/e2e/e2e.bash"

MODEM_LOG=/tmp/modem.log
SELECTOR_PIN=/sys/class/gpio/gpio130/value
FAILED_CHECK="Ping Check failed for first 2 times, ignore, check"

# step DESCRIPTION: and the seconds since the step before.
step() {
    local now=${EPOCHREALTIME/./}
    printf '%8.1f s  %s\n' "$(((now - step_start) / 100000))e-1" "$*"
    step_start=$now
}
step_start=${EPOCHREALTIME/./}

# await_step SECONDS TEXT: the next step is a new line of the log with TEXT.
await_step() {
    wait_for "$1" newly_logged "$2" || fail "not logged: $2"
    step "logged: $2"
}

# healthy_checks NUMBER: so many checks of the network had two or three replies.
healthy_checks() {
    local loss all
    loss=$(newly_logged "pingCheck, Ping packet loss 33%!" | wc -l)
    all=$(newly_logged "pingCheck, Ping receive all reply packet!" | wc -l)
    [ $((loss + all)) -ge "$1" ]
}
# none_failed: no check was counted.
none_failed() {
    ! newly_logged "$FAILED_CHECK" && ! newly_logged "m_CSQ_weak_check_times="
}

# The link stays up, but whoever is asked for an echo is silent. By routing rules: the hosts themselves stay, so that the
# name server goes on refusing at once, which spares the probe with a name the 10 s of a silent one.
ICMP=1
far_rules() {
    far ip rule add pref 100 lookup local && far ip rule del pref 0
}

cut_network() {
    far ip rule add pref 10 iif tower0 ipproto $ICMP blackhole || fail "the network can't be cut"
}

restore_network() {
    far ip rule del pref 10
}

selected() {
    modem status | grep -qx "selected: $1"
}

echo 0 >"$SELECTOR_PIN"
start_board --gpio "$SELECTOR_PIN" --log >>$MODEM_LOG
far_rules || fail "no routing rules"
write_settings "ENABLE=true" "APN=''" "DoubleSIM=1"
check "the pin selects the SIM at the start" wait_for 5 selected 2
if far tc qdisc add dev tower0 root netem delay 200ms 2>/dev/null; then
    say "answers take 200 ms more (tc netem)"
else
    say "this kernel has no netem: answers come at once"
fi
# The switch of the SIM loses registration and call; a short search keeps the test short.
modem "search-time 500" >/dev/null

start_daemon -Dl 7
check "comes online" wait_for 120 is_online
step "online"
mark_log
await_step 30 "##########################ping1: FALSE"
check "two or three replies came in time" wait_for 30 healthy_checks 1
check "and nothing was counted" none_failed

cut_network
mark_log
step "the network is cut"
await_step 30 "pingCheck, Ping packet loss 100%!"
await_step 60 "##########################ping4: FALSE"
await_step 10 "$FAILED_CHECK 1 times!"
await_step 60 "$FAILED_CHECK 2 times!"
await_step 60 "CEREG fail or Ping fail, need Switch SIM Card and Soft reset!"
await_step 10 "Switch to a Primary SIM card!"
check "not before the second failed check" test -z "$(sed "/$FAILED_CHECK 2 times!/q" "$LOG" | grep "Switch to a")"
check "the pin selects the primary SIM" wait_for 10 selected 1

restore_network
step "the network is back"
await_step 20 ":Soft reset!"
await_step 60 "Get Card:  m_card_imsi = 460001112223334"
await_step 60 "m_CSQ_weak_check_times= 3"
check "comes online" wait_for 120 is_online
step "online"
mark_log
await_step 30 "##########################ping1: FALSE"
check "with the primary SIM" wait_for 5 grep -qx "IMSI=460001112223334" "$STATUS"
check "the network is found again and again" wait_for 60 healthy_checks 3
check "no check fails any more" none_failed
check "the pin was changed once" test "$(sed -n 's/.* knob select //p' $MODEM_LOG | uniq | tr -d '\n')" = 21
check "no hardware reset" test "$(grep -c Reset4G "$LOG")" -eq 0
check "the daemon is alive" is_alive
