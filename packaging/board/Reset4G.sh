#!/bin/sh
# usage: Reset4G.sh start pin_rst|pin_power
#
# Resets the modem in hardware. ravelin-mobile calls it when nothing else has helped, as
#
#   /ubi/local/apps/network/Reset4G.sh start pin_rst      pulse the reset pin
#   /ubi/local/apps/network/Reset4G.sh start pin_power    take the power away and give it back
#
# and doesn't look at its status, which is 1 when there is no such pin or it can't be set.
#
#   --help      this text
#   --version   name and version

# The daemon closes the modem's port before and opens it again about 7 seconds after this has come back; a modem whose
# port needs longer than that wants a longer SETTLE_SECONDS.
#
# A new board: set the two pins and, where a transistor doesn't invert them, the levels.

NAME=Reset4G.sh
VERSION=2.5.1

RESET_PIN=/sys/class/gpio/gpio121/value
RESET_ON=1
RESET_OFF=0
RESET_HOLD_SECONDS=1 # most modems want 150 to 500 ms

POWER_PIN=/sys/class/gpio/gpio122/value
POWER_ON=1
POWER_OFF=0
POWER_GONE_SECONDS=3 # long enough for the capacitors behind the switch

SETTLE_SECONDS=2

refuse() {
    echo "$NAME: $*; see --help" >&2
    exit 2
}

# Whoever looks for the reason of a modem that stays away looks at the daemon's standard error or at the system's log.
fail() {
    echo "$NAME: $*" >&2
    if command -v logger >/dev/null; then
        logger -t "$NAME" "$*" 2>/dev/null
    fi
    exit 1
}

# Makes a pin an output, when the kernel has left that to us.
prepare() {
    directory=${1%/value}
    number=${directory##*gpio}
    if [ ! -e "$1" ] && [ -e /sys/class/gpio/export ]; then
        { echo "$number" >/sys/class/gpio/export; } 2>/dev/null
    fi
    [ -e "$1" ] || fail "no reset: there is no pin $1; set the board's own at the head of $0"
    if [ -e "$directory/direction" ]; then
        { echo out >"$directory/direction"; } 2>/dev/null || fail "no reset: pin $number can't be made an output"
    fi
}

# set_level PIN LEVEL
set_level() {
    { echo "$2" >"$1"; } 2>/dev/null || fail "the pin $1 can't be set to $2"
}

# pulse PIN LEVEL SECONDS OTHER_LEVEL
pulse() {
    prepare "$1"
    set_level "$1" "$2"
    sleep "$3"
    set_level "$1" "$4"
    sleep $SETTLE_SECONDS
}

case $1 in
-h | --help)
    sed -n '2,/^$/s/^#\( \|$\)//p' "$0"
    exit 0
    ;;
--version)
    echo "$NAME (ravelin-mobile) $VERSION"
    exit 0
    ;;
esac
case "$*" in
"start pin_rst")
    pulse $RESET_PIN $RESET_ON $RESET_HOLD_SECONDS $RESET_OFF
    ;;
"start pin_power")
    pulse $POWER_PIN $POWER_OFF $POWER_GONE_SECONDS $POWER_ON
    ;;
*)
    refuse "\"start pin_rst\" or \"start pin_power\" is wanted, not \"$*\""
    ;;
esac
