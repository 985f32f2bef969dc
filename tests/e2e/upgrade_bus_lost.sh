#!/bin/bash
# The bus goes away in the middle of an upgrade, and so does the OCPP service. An upgrade that ends without a bus is reported
# to nobody, not even later; one that ends when the bus is back is reported as ever.
. "$REPOSITORY/tests/e2e/e2e.bash"

GO_ON=/tmp/go_on

# An upgrade whose tool waits for GO_ON.
upgrade_begins() {
    rm -f $GO_ON
    mark_log
    check "an upgrade is asked for" peer upgrade EG21 QFirehose firmware
    await_new 15 "[OTA] run: "
    kill "$BUS"
    wait "$BUS"
    wait "$WATCH"
    check "the daemon lives without the bus" is_alive
}

upgrade_ends_well() {
    : >$GO_ON
    await_new 15 "[OTA] Upgrade module successfully"
    await_new 15 "[OTA] reset ota upgrade flag"
}

bus_comes_back() {
    start_bus || fail "the bus doesn't start again"
    check "the daemon comes back to the bus" wait_for 10 is_on_bus RAVELIN
    start_watch
}

start_board --model EG21 --set "registration 0"
start_watch
install_tool wait=$GO_ON succeed
start_daemon
await_log 60 "GetVendorType=6!"

upgrade_begins
upgrade_ends_well
bus_comes_back
check "a status query is answered" peer status
check "the outcome isn't reported later" test ! -s $HEARD

upgrade_begins
bus_comes_back
check "a second request is still refused" peer_ends 1 upgrade EG21 QFirehose other
check "in words" told "an upgrade is already running"
check "nothing was reported so far" test ! -s $HEARD
upgrade_ends_well
await_heard 20 "upgrade succeeded: FF 6A A6 00 01 00 05 76 01 00 57 FA"
check "the daemon is the same" is_alive
kill $DAEMON
await_end 15 143
