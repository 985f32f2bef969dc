#!/bin/bash
# From the start to online, a lost link, and a link that comes back, with everything real: waits, port, bus, DHCP.
. "$REPOSITORY/tests/e2e/e2e.bash"

status_has() {
    grep -qxF -- "$1" "$STATUS"
}

address_of() {
    ip -4 -brief address show dev wwan0 | awk '{ print $3 }'
}

has_address() {
    [ -n "$(address_of)" ]
}

LINK_IS_UP="QNETDEVSTATUS: on_off=1,state=1,"
seen_twice() {
    [ "$(newly_logged "$LINK_IS_UP" | wc -l)" -ge 2 ]
}
not_newly_logged() {
    ! newly_logged "$1"
}

start_board --set "csq 23"
start_daemon -Dl 7
await_log 30 "GetVendorType=6!"
check "comes online" wait_for 120 is_online
# The file is being written anew at some moments.
for line in IMSI=460001112223334 CSQ=23 RetryTimes=1 CEREG=1 "APN=''"; do
    check "status: $line" wait_for 5 status_has "$line"
done
check "status: uptime" wait_for 5 grep -qE '^Uptime=[0-9]{2}(:[0-9]{2}){2}$' "$STATUS"
check "signal status: online" wait_for 5 grep -qx ConnectionStatus=1 /run/network/signal_status
check "the DHCP client has an address: $(address_of)" has_address
check "and the network answers" wait_for 2 ping -c 1 -w 2 8.8.8.8
check "the DHCP client doesn't hold the modem's port" test -z "$(ls -l /proc/"$(cat /run/udhcpc-lte.pid)"/fd |
    grep pts)"

before=$(descriptors)
modem "link down" || fail "the simulator doesn't listen"
await_log 15 "Check connection. offline 1/10 times"
await_log 15 "Check connection. offline 3/10 times"
mark_log
modem "link up"
await_new 15 "$LINK_IS_UP"
mark_log
check "a link that is back is seen in each pass" wait_for 15 seen_twice
check "no check fails any more" not_newly_logged "Check connection. offline"
check "online, as far as the status shows" wait_for 5 is_online
check_descriptors "$before"

/ubi/local/apps/network/if-lte "$SETTINGS" kill_dhcp
check "if-lte takes the address away" test -z "$(address_of)"
check "the daemon is alive" is_alive
kill "$DAEMON"
await_end 15 143
