#!/bin/sh
# Resets the modem in hardware. ravelin-mobile calls it when nothing else has helped, as
#
#     /ubi/local/apps/network/Reset4G.sh start pin_rst      pulse the reset pin
#     /ubi/local/apps/network/Reset4G.sh start pin_power    take the power away and give it back
#
# The daemon closes the modem's port before and opens it again about 7 seconds after this has come back; a modem whose
# port needs longer than that wants a longer SETTLE_SECONDS.
#
# A new board: set the two pins and, where a transistor doesn't invert them, the levels.

RESET_PIN=/sys/class/gpio/gpio121/value
RESET_ON=1
RESET_OFF=0
RESET_HOLD_SECONDS=1 # most modems want 150 to 500 ms

POWER_PIN=/sys/class/gpio/gpio122/value
POWER_ON=1
POWER_OFF=0
POWER_GONE_SECONDS=3 # long enough for the capacitors behind the switch

SETTLE_SECONDS=2

usage() {
    echo "usage: Reset4G.sh start pin_rst|pin_power" >&2
    exit 2
}

# Makes a pin an output, when the kernel has left that to us.
prepare() {
    directory=${1%/value}
    if [ ! -e "$1" ]; then
        echo "${directory##*gpio}" >/sys/class/gpio/export
    fi
    if [ -e "$directory/direction" ]; then
        echo out >"$directory/direction"
    fi
}

# pulse PIN LEVEL SECONDS OTHER_LEVEL
pulse() {
    prepare "$1"
    echo "$2" >"$1"
    sleep "$3"
    echo "$4" >"$1"
    sleep $SETTLE_SECONDS
}

[ "$1" = start ] || usage
case $2 in
pin_rst)
    pulse $RESET_PIN $RESET_ON $RESET_HOLD_SECONDS $RESET_OFF
    ;;
pin_power)
    pulse $POWER_PIN $POWER_OFF $POWER_GONE_SECONDS $POWER_ON
    ;;
*)
    usage
    ;;
esac
