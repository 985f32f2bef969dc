#!/bin/bash
# A module that its product doesn't allow: the service hears of it, and a second later the process crashes. One that is
# allowed runs on.
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

# ms_of HOUR:MINUTE:SECOND.MILLISECONDS, the last without leading zeros in the log.
DAY_MS=86400000
ms_of() {
    local hour minute second milliseconds
    IFS=:. read -r hour minute second milliseconds <<<"$1"
    echo $((((10#$hour * 60 + 10#$minute) * 60 + 10#$second) * 1000 + 10#$milliseconds))
}

start_board --model EG25
start_watch
write_network_json '"EC200A", "EG2"'
ulimit -c 0
start_daemon
await_log 60 "[whitelist] halden project,moduleName: EG25"
await_heard 15 "module refused: FF 6A A6 00 01 00 05 76 02 01 67 3B"
wait_for 30 has_ended || fail "still alive"
ended_at=$(date +%H:%M:%S.%3N)
status=0
wait $DAEMON || status=$?
check "it ended by a segmentation fault: status $status" crashed $status
check "the refusal is logged" logged "[whitelist] 4G module not allowd !!!"
refused_at=$(grep -F "4G module not allowd" "$LOG" | cut -d " " -f 1)
lived_ms=$((($(ms_of "$ended_at") - $(ms_of "$refused_at") + DAY_MS) % DAY_MS))
check "a second after it: $lived_ms ms" test $lived_ms -ge 1000 -a $lived_ms -lt 20000
if logged "[whilelist] ocpp confirm get security log"; then
    say "the service confirmed it in time"
else
    say "the service confirmed it too late for the log"
fi
if logged "soft exit" || logged "GetVendorType"; then
    fail "it went on"
fi
check "nothing was said behind the refusal but the confirmation" test "$(tail -n +1 "$LOG" |
    sed '1,/not allowd/d' | grep -vc 'ocpp confirm')" -eq 0

write_network_json '"EC200A", "eg25"'
start_daemon
await_log 60 "[whitelist] 4G module allow run"
await_log 15 "GetVendorType=6!"
check "an allowed module is not reported" test ! -s $HEARD
check "and runs on" is_alive
kill $DAEMON
await_end 15 143
