#!/bin/bash
# A board on which ping is missing, and so is the pin that selects the SIM. Probes that can't be run find no answer; the
# switch of the SIM that follows from that comes to nothing, and the daemon goes on to the soft reset and back online.
. "$REPOSITORY/tests/e2e/e2e.bash"

SELECTOR_PIN=/sys/class/gpio/gpio130/value
TOOLS=/tmp/tools # every program but ping

mkdir $TOOLS
for directory in /bin /sbin /usr/bin /usr/sbin /opt/board; do
    [ ! -d $directory ] || ln -sf "$directory"/* $TOOLS/
done
rm -f $TOOLS/ping $TOOLS/ping4 $TOOLS/ping6
export PATH=$TOOLS
hash -r
check "there is no ping" test -z "$(command -v ping)"
rm -r "${SELECTOR_PIN%/value}" || fail "the pin can't be removed"

start_board
write_settings "ENABLE=true" "APN=''" "DoubleSIM=1"
start_daemon -Dl 7
check "comes online" wait_for 120 is_online
await_log 30 "##########################ping4: FALSE"
check "the shell found no ping" grep -qE "ping: (command )?not found" "$OUTPUT"
await_log 10 "Ping Check failed for first 2 times, ignore, check 1 times!"
await_log 30 "Ping Check failed for first 2 times, ignore, check 2 times!"
await_log 30 "CEREG fail or Ping fail, need Switch SIM Card and Soft reset!"
await_log 10 "Switch to a Primary SIM card!"
check "the shell found no pin" wait_for 10 printed "$SELECTOR_PIN: "
check "and made none" test ! -e "$SELECTOR_PIN"
await_log 20 ":Soft reset!"
await_log 60 "m_CSQ_weak_check_times= 3"
check "comes online again" wait_for 120 is_online
check "the daemon is alive" is_alive
check "no hardware reset" test "$(grep -c Reset4G "$LOG")" -eq 0
