#!/bin/bash
# No bus, no daemon; a bus that goes away later is no reason to end.
. "$REPOSITORY/tests/e2e/e2e.bash"
write_settings "ENABLE=true"

export RAVELIN_BUS_ADDRESS=unix:path=/run/nothing
start_daemon -d /dev/nothing
await_end 10 255
check "the reason is given" printed "DBUS initialize error!"
check "nothing else was begun" test ! -e /run/network/ravelin_fifo

start_bus || fail "the bus doesn't start"
start_daemon -d /dev/nothing
first=$DAEMON
await_log 10 "wait device  /dev/nothing"
start_daemon -d /dev/nothing
await_end 10 255
check "a second daemon finds the name taken" printed "busglue.RAVELIN is taken"

DAEMON=$first
kill "$BUS"
wait "$BUS"
check "the daemon lives without the bus" is_alive
start_bus || fail "the bus doesn't start again"
check "it comes back to the bus" wait_for 10 is_on_bus RAVELIN
check "and is the same process" is_alive
check "and answers the next query: no modem yet" peer_ends 1 status
check "in words" told "the daemon has no modem yet"
kill "$DAEMON"
await_end 15 143
