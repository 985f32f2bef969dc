# The parts of a board around the daemon, for what runs inside scripts/private-view: bus, network, modem, settings.
# To be sourced. Everything started here ends with the view.

MODEM_PORT=/dev/ttyUSB2
SETTINGS=/run/network/ifcfg-lte
STATUS=/run/network/ravelin_status
MODEM_CONTROL=${MODEM_CONTROL:-/run/modem}
BUS_SOCKET=${BUS_SOCKET:-/run/bus}

# The pins of packaging/board/Reset4G.sh.
RESET_PIN=/sys/class/gpio/gpio121/value
POWER_PIN=/sys/class/gpio/gpio122/value

# wait_for SECONDS COMMAND...: until COMMAND succeeds. SECONDS is for what has to pass until then by anybody's clock; a slow
# or busy machine gets PATIENCE_SECONDS on top of it. False when that has run out.
PATIENCE_SECONDS=${PATIENCE_SECONDS:-0}
LOOK_SECONDS=0.5
wait_for() {
    local deadline=$((${EPOCHREALTIME/./} + ($1 + PATIENCE_SECONDS) * 1000000)) nobody status=0
    shift
    # Between two looks it reads from a pipe that nobody writes to. A sleep would be a process each time, and looks are most of
    # what the end-to-end tests compute.
    exec {nobody}<> <(:)
    until "$@" >/dev/null 2>&1; do
        [ "${EPOCHREALTIME/./}" -lt $deadline ] || {
            status=1
            break
        }
        read -r -t $LOOK_SECONDS -u $nobody || true
    done
    exec {nobody}<&-
    return $status
}

# start_bus [CONFIG]: the bus, and the address by which the library finds it.
start_bus() {
    export RAVELIN_BUS_ADDRESS=unix:path=$BUS_SOCKET
    dbus-daemon --config-file="${1:-$REPOSITORY/scripts/private-bus.conf}" --address="$RAVELIN_BUS_ADDRESS" \
        --nofork --nopidfile 2>/dev/null &
    BUS=$!
    wait_for 10 dbus-send --bus="$RAVELIN_BUS_ADDRESS" --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId
}

# start_modem [OPTION OF modem_sim]...: the simulated modem at its port, and its pins where the scripts find them.
start_modem() {
    "$BUILD/modem_sim" --link "$MODEM_PORT" --control "$MODEM_CONTROL" "$@" &
    MODEM=$!
    wait_for 10 test -e "$MODEM_PORT" -a -S "$MODEM_CONTROL"
    watch_pin "$RESET_PIN" reset ""
    watch_pin "$POWER_PIN" "power off" "power on"
}

# modem KNOB...: turns knobs of the simulated modem, see modem_sim --help.
modem() {
    "$BUILD/modem_sim" --send "$MODEM_CONTROL" "$@"
}

# watch_pin FILE KNOB_AT_0 KNOB_AT_1: a pin is a pipe, whose reader turns a knob of the modem at each level.
watch_pin() {
    mkdir -p "${1%/value}"
    mkfifo "$1"
    (
        exec 9<>"$1"
        while read -r level <&9; do
            case $level in
            0) [ -z "$2" ] || modem "$2" ;;
            1) [ -z "$3" ] || modem "$3" ;;
            esac
        done
    ) &
}

# What the health checks of the daemon probe.
NETWORK_HOSTS="8.8.8.8 8.8.4.4 172.21.2.226 10.151.133.48 10.151.133.173"

# The modem's interface wwan0, with a network behind it that has a DHCP server and the hosts above.
start_network() {
    ip link set lo up
    ip link add wwan0 type veth peer name tower0
    unshare --net sleep infinity &
    NETWORK=$!
    wait_for 10 far_side_is_apart
    ip link set tower0 netns $NETWORK
    far ip link set lo up
    far ip link set tower0 up
    far ip addr add 10.64.64.1/24 dev tower0
    local host
    for host in $NETWORK_HOSTS; do
        far ip addr add "$host/32" dev lo
    done
    printf '%s\n' "interface tower0" "start 10.64.64.10" "end 10.64.64.99" "max_leases 90" \
        "lease_file /run/udhcpd.leases" "pidfile /run/udhcpd.pid" "option subnet 255.255.255.0" \
        "option router 10.64.64.1" "option dns 8.8.8.8" "option lease 3600" >/run/udhcpd.conf
    : >/run/udhcpd.leases
    far udhcpd -f /run/udhcpd.conf >/dev/null 2>&1 &
}

# far COMMAND...: runs on the other side of the radio.
far() {
    nsenter --net="/proc/$NETWORK/ns/net" "$@"
}

far_side_is_apart() {
    local near far
    near=$(readlink /proc/self/ns/net)
    far=$(readlink "/proc/$NETWORK/ns/net")
    [ -n "$far" ] && [ "$far" != "$near" ]
}

# write_settings KEY=VALUE...
write_settings() {
    mkdir -p "${SETTINGS%/*}"
    printf '%s\n' "$@" >"$SETTINGS"
}

is_online() {
    grep -qx Online=TRUE "$STATUS"
}
