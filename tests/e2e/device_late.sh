#!/bin/bash
# The modem's port may take its time to appear; a directory in its place is no port.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_bus || fail "the bus doesn't start"
write_settings "ENABLE=true"

mkdir "$MODEM_PORT"
start_daemon
check "the daemon waits" wait_for 25 logged_times 1 "wait device  $MODEM_PORT ."
check "and goes on waiting" wait_for 25 logged_times 2 "wait device  $MODEM_PORT ."
rmdir "$MODEM_PORT"
check "also when nothing is there" wait_for 25 logged_times 3 "wait device  $MODEM_PORT ."
start_modem --family quectel_qcom --model EG21 || fail "the modem doesn't start"
await_log 15 "open device  $MODEM_PORT  ok!"
await_log 10 "m_ModuleName = EG21"
await_log 15 "GetVendorType=6!"
check "the daemon goes on" is_alive
