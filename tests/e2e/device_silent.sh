#!/bin/bash
# A modem that never says a word is asked for a while, and then given up.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_board --set "mute on"
start_daemon
await_log 15 "open device  $MODEM_PORT  ok!"
await_log 60 "Unknow Cell Device!"
await_end 15 0
