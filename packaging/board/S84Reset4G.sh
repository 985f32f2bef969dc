#!/bin/sh
# usage: S84Reset4G.sh start|stop
#
# Gives the modem a clean start: at boot, where init runs it as /etc/init.d/S84Reset4G.sh start, and on the boards where
# ravelin-mobile resets by this script instead of Reset4G.sh itself (STM32, Cortex-A35, Cortex-A53, and any board with a
# Cinterion modem). There is nothing to stop. The status is that of Reset4G.sh.
#
#   --help      this text
#   --version   name and version

# Where these boards need more than the reset pin, this is the place.

NAME=S84Reset4G.sh
VERSION=2.5.1
RESET=/ubi/local/apps/network/Reset4G.sh

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
start)
    if [ ! -x $RESET ]; then
        echo "$NAME: no reset: $RESET is missing or can't be run" >&2
        exit 1
    fi
    exec $RESET start pin_rst
    ;;
stop)
    ;;
*)
    echo "$NAME: start or stop is wanted, not \"$*\"; see --help" >&2
    exit 2
    ;;
esac
