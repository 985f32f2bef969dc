#!/bin/bash
# Inside the bare Debian of bare_debian.sh, with a network of its own: the machine's system bus, a simulated modem with its
# network behind wwan0, and the daemon as the unit starts it, until it is online with an address.
set -eu
REPOSITORY=/tmp
BUILD=/usr/bin
. /tmp/board.bash
UNIT=/lib/systemd/system/ravelin-mobile.service
ONLINE_LIMIT_SECONDS=300

fail() {
    echo "FAILED: $*"
    tail -n 40 /run/log 2>/dev/null
    exit 1
}

# of_unit KEY: its value in the unit, without the marks before a command.
of_unit() {
    sed -n "s/^$1=[-+!@:]*//p" $UNIT
}

has_address() {
    ip -o -4 addr show dev wwan0 | grep -q 'inet 10\.64\.64\.'
}

bus_answers() {
    dbus-send --system --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId
}

mkdir -p /run/dbus
dbus-daemon --system
wait_for 30 bus_answers || fail "no system bus"
start_network
start_modem || fail "no modem"

# As systemd does it: the variables, what comes before, and the command itself.
umask "$(of_unit UMask)"
eval "export $(of_unit Environment)"
set -a
. "$(of_unit EnvironmentFile)"
set +a
sh -c "$(of_unit ExecStartPre)"
echo "exec $(of_unit ExecStart)"
sh -c "exec $(of_unit ExecStart)" >/run/log 2>&1 &
wait_for $ONLINE_LIMIT_SECONDS is_online || fail "not online within $ONLINE_LIMIT_SECONDS seconds"
wait_for $ONLINE_LIMIT_SECONDS has_address || fail "no address"
cat "$STATUS"
ip -o -4 addr show dev wwan0
ocpp_peer status
[ -z "$(find /run/network -perm /022 ! -type p ! -type l)" ] || fail "others can write in /run/network"
