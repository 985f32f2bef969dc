#!/bin/bash
# What the OCPP service gets to know, byte for byte, over the real bus; and a bus that goes away and comes back.
. "$REPOSITORY/tests/e2e/e2e.bash"

QUERY="FF 6A A6 00 07 00 04 76 03 7B 92"
NO_DRIVER="FF 6A A6 00 07 00 05 76 00 03 A0 BB"

# answers BYTES QUESTION
answers() {
    peer raw "$2"
    [ "$(cat /tmp/peer.out)" = "$1" ]
}

hex() {
    printf %s "$1" | od -An -v -tx1 | tr -d '\n' | tr a-f A-F
}

# item TYPE TEXT, as bytes of the answer.
item() {
    printf ' %02X %02X%s' "$1" ${#2} "$(hex "$2")"
}

start_bus || fail "the bus doesn't start"
start_network
write_settings "ENABLE=true" "APN=''"
check "nobody answers before the daemon is there" peer_ends 3 status
start_daemon
await_log 10 "wait device  /dev/ttyUSB2"
check "without a modem every question gets the same answer" answers "$NO_DRIVER" "$QUERY"
check "and the tool says so" peer_ends 1 status
check "in words" told "the daemon has no modem yet"
check "a bad frame gets an empty answer" answers "" "FF 6A A6 00 07 00 04 76 03 7B 93"
for size in 0 1 10 11 12 1024 30720 30731 30732 30740; do
    check "$size bytes of noise get an empty answer" answers "" "$(head -c $size /dev/urandom | od -An -v -tx1 | tr -d '\n')"
done

start_modem --set "csq 23" || fail "the modem doesn't start"
check "comes online" wait_for 120 is_online
serving_cell_is_known() {
    peer status && grep -q '^rsrp  *-' /tmp/peer.out
}
check "the serving cell is known after some passes" wait_for 60 serving_cell_is_known

commit=$(sed -n 's/.*BUILD INFO: commit \([0-9a-f]*\) .*/\1/p' "$LOG")
check "the build is named: $commit" test ${#commit} -eq 40
value() {
    sed -n "s/^$1  *//p" /tmp/peer.out
}
items=$(
    item 1 "$(value vendor)"
    item 2 EG25GGBR07A08M2G
    item 3 867698041122330
    item 4 89860012317001122334
    item 5 "$(value sim)"
    item 6 '"CHINA MOBILE"'
    item 7 "$(value pcid)"
    item 8 "$(value rsrp)"
    item 9 "$(value band)"
    item 10 ""
    item 11 ""
    item 12 "$(value sinr)"
    item 13 "Release_Tideway_V2.1.1"
    item 14 "$commit"
    item 15 460001112223334
)
cat /tmp/peer.out
frame="0F$items"
data_count=$(echo "$frame" | wc -w)
peer raw "$QUERY"
answer=$(cat /tmp/peer.out)
expected="FF 6A A6 00 07 $(printf '%02X %02X' $(((data_count + 4) / 256)) $(((data_count + 4) % 256))) 76 03 $frame"
check "the answer byte for byte, but for its CRC, which the tool has proved" test "${answer% ?? ??}" = "$expected"

before=$(grep -c "get ocpp msg id=7 cmd=7603 length=0" "$LOG")
check "a query as a signal is sent" peer --signal raw "$QUERY"
one_more_is_logged() {
    [ "$(grep -c "get ocpp msg id=7 cmd=7603 length=0" "$LOG")" -eq $((before + 1)) ]
}
check "and logged by the daemon" wait_for 5 one_more_is_logged

kill -STOP $DAEMON
check "a daemon that hangs doesn't answer in time" peer_ends 4 --timeout 1 status
kill -CONT $DAEMON
check "one that goes on does" peer_ends 0 status

kill "$BUS"
wait "$BUS"
check "no bus" peer_ends 3 status
start_bus || fail "the bus doesn't start again"
check "the first query after the bus has come back is answered" wait_for 10 peer status
check "the daemon is as online as before" wait_for 5 is_online
check "and has not begun anew" test "$(grep -c 'BUILD INFO' "$LOG")" -eq 1
kill $DAEMON
await_end 15 143
