#!/bin/bash
# A plain file opens like a port, and then has nothing to say.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_bus || fail "the bus doesn't start"
write_settings "ENABLE=true"

echo "no modem" >"/tmp/file"
start_daemon -d /tmp/file
await_log 15 "open device  /tmp/file  ok!"
await_end 90 0
check "nobody is recognised" logged "Unknow Cell Device!"
