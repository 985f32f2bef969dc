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

start_board --set "csq 23"
start_daemon
await_log 30 "GetVendorType=6!"
check "comes online" wait_for 120 is_online
# The file is being written anew at some moments.
for line in IMSI=460001112223334 CSQ=23 RetryTimes=1 CEREG=1 "APN=''"; do
    check "status: $line" wait_for 5 status_has "$line"
done
check "status: uptime" wait_for 5 grep -qE '^Uptime=00:00:[0-9]{2}$' "$STATUS"
check "signal status: online" wait_for 5 grep -qx ConnectionStatus=1 /run/network/signal_status
check "the DHCP client has an address: $(address_of)" has_address
check "and the network answers" ping -c 1 -w 2 8.8.8.8
check "the DHCP client doesn't hold the modem's port" test -z "$(ls -l /proc/"$(cat /run/udhcpc-lte.pid)"/fd |
    grep pts)"

sleep 5
before=$(descriptors)
modem "link down" || fail "the simulator doesn't listen"
await_log 15 "Check connection. offline 1/10 times"
await_log 15 "Check connection. offline 3/10 times"
check "still online, as far as the status tells" wait_for 1 is_online
modem "link up"
offline_checks=$(grep -c "Check connection. offline" "$LOG")
sleep 8
check "a link that is back is seen" test "$(grep -c 'Check connection. offline' "$LOG")" -le $((offline_checks + 1))
sleep 10
after=$(descriptors)
check "no descriptor was lost" test "$before" = "$after"

/ubi/local/apps/network/if-lte "$SETTINGS" kill_dhcp
check "if-lte takes the address away" test -z "$(address_of)"
check "the daemon is alive" is_alive
kill "$DAEMON"
await_end 15 143
