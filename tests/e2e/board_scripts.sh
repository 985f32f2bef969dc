#!/bin/bash
# The scripts of packaging/board, by themselves.
. "$REPOSITORY/tests/e2e/e2e.bash"

if_lte() {
    /ubi/local/apps/network/if-lte "$SETTINGS" "$@"
}
MODEM_LOG=/tmp/modem.log
start_board --log >>$MODEM_LOG

modem_is_on() {
    modem status | grep -qx 'power: on'
}
# turned KNOB...: since the last call, exactly these of reset and power, in this order.
turned() {
    [ "$(sed -nE 's/^ *[0-9.]+ knob (reset|power o.*)/\1/p' $MODEM_LOG)" = "$(printf '%s\n' "$@")" ]
}
check_turned() {
    check "turns: $*" wait_for 10 turned "$@"
    : >$MODEM_LOG
}

check "the modem is on" modem_is_on
check "the reset pin" /ubi/local/apps/network/Reset4G.sh start pin_rst
check_turned "reset"
check "and the modem comes up" wait_for 20 modem_is_on
check "the power pin" /ubi/local/apps/network/Reset4G.sh start pin_power
check_turned "power off" "power on"
check "and the modem comes up" wait_for 20 modem_is_on
check "the init script" /etc/init.d/S84Reset4G.sh start
check_turned "reset"
/ubi/local/apps/network/Reset4G.sh start pin_none 2>/dev/null
check "an unknown pin is refused" test $? -eq 2
/ubi/local/apps/network/Reset4G.sh stop pin_rst 2>/dev/null
check "and so is an unknown verb" test $? -eq 2

client_runs() {
    [ -d "/proc/$(cat /run/udhcpc-lte.pid 2>/dev/null || echo none)" ]
}
has_address() {
    ip -4 -brief address show dev wwan0 | grep -q 10.64.64.
}

if_lte dhcp
check "dhcp: the client goes on" wait_for 10 client_runs
check "the interface has an address" wait_for 10 has_address
first_client=$(cat /run/udhcpc-lte.pid)
no_process() {
    [ ! -d "/proc/$1" ]
}
no_client() {
    ! cat /proc/[0-9]*/comm | grep -x udhcpc
}
if_lte dhcp
check "dhcp twice: one client goes on" wait_for 10 client_runs
check "the first one doesn't" wait_for 10 no_process "$first_client"
check "kill_dhcp runs" if_lte kill_dhcp
check "no client is left" wait_for 10 no_client
check "no address is left" test -z "$(ip -4 -brief address show dev wwan0 | grep 10.64.64.)"
check "kill_dhcp again does no harm" if_lte kill_dhcp
sleep infinity &
echo $! >/run/udhcpc-lte.pid
check "with a stale file" if_lte kill_dhcp
check "nobody is killed" kill -0 $!

ip link set dev wwan0 down
check "check_interface finds it" if_lte check_interface
check "and brings it up" test -n "$(ip link show dev wwan0 up)"
ip link set dev wwan0 down
ip link set dev wwan0 name other
# A clock of our own: the interface comes back while the script sleeps for the first time.
mkdir /tmp/clock
# shellcheck disable=SC2016 # the script of another shell
printf '#!/bin/sh\necho "slept $1" >>/tmp/clock/slept\nip link set dev other name wwan0\n' >/tmp/clock/sleep
chmod +x /tmp/clock/sleep
check "check_interface waits for it" env PATH="/tmp/clock:$PATH" \
    /ubi/local/apps/network/if-lte "$SETTINGS" check_interface
check "for a second" test "$(cat /tmp/clock/slept)" = "slept 1"
ip link set dev wwan0 down
ip link set dev wwan0 name other
ip link set dev other up
echo "INTERFACE=other" >>"$SETTINGS"
has_the_address() {
    ip -4 -brief address show dev other | grep -q 10.64.64.
}
if_lte dhcp
check "the settings may name it, and it gets the address" wait_for 10 has_the_address
if_lte nonsense 2>/dev/null
check "an unknown verb is refused" test $? -eq 2

# What a board lacks is named, in the shell of most boards too.
SAID=/tmp/said
TOOLS=/tmp/tools # every program but the DHCP client

# says STATUS TEXT COMMAND...: it ends so, and its only line has the text.
says() {
    local wanted=$1 text=$2 status=0
    shift 2
    "$@" 2>$SAID || status=$?
    [ $status -eq "$wanted" ] && [ "$(grep -c . $SAID)" -eq 1 ] && grep -qF -- "$text" $SAID
}
mkdir $TOOLS
for directory in /bin /sbin /usr/bin /usr/sbin /opt/board; do
    [ ! -d $directory ] || ln -sf "$directory"/* $TOOLS/
done
rm -f $TOOLS/udhcpc
mkdir /tmp/alone
cp /ubi/local/apps/network/if-lte /etc/init.d/S84Reset4G.sh /tmp/alone/
echo "ENABLE=true" >"$SETTINGS"
ip link set dev other down
ip link set dev other name wwan0
for shell in dash "busybox sh"; do
    check "$shell: no DHCP client" says 1 "if-lte: udhcpc isn't installed" \
        env PATH=$TOOLS $shell /ubi/local/apps/network/if-lte "$SETTINGS" dhcp
    check "$shell: no script for the DHCP client" says 1 "if-lte: no address: /tmp/alone/udhcpc-lte is missing" \
        $shell /tmp/alone/if-lte "$SETTINGS" dhcp
    ip link set dev wwan0 name other
    check "$shell: no interface" says 1 "if-lte: no interface of a modem, looked for: wwan0 usb0 eth1" \
        $shell /ubi/local/apps/network/if-lte "$SETTINGS" dhcp
    ip link set dev other name wwan0
    mv "${RESET_PIN%/value}" /tmp/pin
    check "$shell: no reset pin" says 1 "Reset4G.sh: no reset: there is no pin $RESET_PIN" \
        $shell /ubi/local/apps/network/Reset4G.sh start pin_rst
    check "$shell: nor for the init script" says 1 "Reset4G.sh: no reset: there is no pin $RESET_PIN" \
        $shell /etc/init.d/S84Reset4G.sh start
    check "$shell: no file is made in its place" test ! -e "$RESET_PIN"
    mv /tmp/pin "${RESET_PIN%/value}"
done
