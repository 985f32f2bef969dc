#!/bin/sh
# Gives the modem a clean start: at boot, where init runs it as /etc/init.d/S84Reset4G.sh start, and on the boards where
# ravelin-mobile resets by this script instead of Reset4G.sh itself (STM32, Cortex-A35, Cortex-A53, and any board with a
# Cinterion modem). Where these need more than the reset pin, this is the place.

case $1 in
start)
    exec /ubi/local/apps/network/Reset4G.sh start pin_rst
    ;;
stop)
    ;;
*)
    echo "usage: S84Reset4G.sh start|stop" >&2
    exit 2
    ;;
esac
