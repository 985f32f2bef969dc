#!/bin/bash
# A module that its product doesn't allow: the service hears of it, and then the process crashes. One that is allowed runs
# on. When it crashes is for a suite and a scenario, in virtual time.
. "$REPOSITORY/tests/e2e/e2e.bash"

write_network_json() {
    cat >/ubi/conf/network/network.json <<X
{"customer_name": "halden", "product_name": "Quillbox",
 "whitelist": {"userSettings": {"moduleName": {"allowedValues": [$1]}}}}
X
}

# A sanitizer reports the crash in its own way, and ends with a status of its own.
SEGMENTATION_FAULT=139
crashed() {
    [ "$1" -eq $SEGMENTATION_FAULT ] || { [ "$1" -ne 0 ] && grep -qE "null pointer|SEGV" "$OUTPUT"; }
}

start_board --model EG25
start_watch
write_network_json '"EC200A", "EG2"'
ulimit -c 0
start_daemon
await_log 60 "[whitelist] halden project,moduleName: EG25"
await_heard 15 "module refused: FF 6A A6 00 01 00 05 76 02 01 67 3B"
wait_for 30 has_ended || fail "still alive"
status=0
wait $DAEMON || status=$?
check "it ended by a segmentation fault: status $status" crashed $status
check "the refusal is logged" logged "[whitelist] 4G module not allowd !!!"
if logged "[whilelist] ocpp confirm get security log"; then
    say "the service confirmed it in time"
else
    say "the service confirmed it too late for the log"
fi
if logged "soft exit" || logged "GetVendorType"; then
    fail "it went on"
fi
check "nothing was said after the refusal but the confirmation" test "$(tail -n +1 "$LOG" |
    sed '1,/not allowd/d' | grep -vc 'ocpp confirm')" -eq 0

write_network_json '"EC200A", "eg25"'
start_daemon
await_log 60 "[whitelist] 4G module allow run"
await_log 15 "GetVendorType=6!"
check "an allowed module is not reported" test ! -s $HEARD
check "and runs on" is_alive
kill $DAEMON
await_end 15 143
