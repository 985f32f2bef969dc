#!/bin/bash
# A modem that hangs is reset by its pin, through the board's script, and comes online with the same process.
. "$REPOSITORY/tests/e2e/e2e.bash"

# Without service the bring-up is short and Task begins soon.
start_board --set "registration 0"
start_daemon
await_log 60 "Check service status.  1/34 times."
before=$(descriptors)
modem "mute until-reset" "registration 1"
await_log 60 "No response! Reset device..."
await_log 10 "Reset4G.sh start pin_rst"
await_log 30 "Reset4G time=1"
await_log 30 "Soft reset!"
check "comes online" wait_for 120 is_online
check "it is the same process" is_alive
check_descriptors "$before"
