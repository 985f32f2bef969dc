#!/bin/bash
# The modem is pulled out in the middle of an answer. Nothing comes back, so that in the end its port can't be opened.
. "$REPOSITORY/tests/e2e/e2e.bash"
MODEM_LOG=/tmp/modem.log
HOURS_MS=36000000

# Without service the bring-up is short and Task begins soon.
start_board --log --set "registration 0" >>"$MODEM_LOG"
start_daemon
await_log 60 "Check service status.  1/34 times."
modem "pieces 3 gap $HOURS_MS"
: >"$MODEM_LOG"
check "an answer has begun, and won't end" wait_for 30 grep -q ' modem .*[^n]$' "$MODEM_LOG"
modem unplug
say "pulled out"
await_log 90 "No response! Reset device..."
await_log 30 "check interface lte!!!"
await_end 15 255
check "the reason is given" logged "open device error. $MODEM_PORT"
