#!/bin/bash
# An upgrade of a modem that the tool doesn't know; and a service that isn't there to hear of it.
. "$REPOSITORY/tests/e2e/e2e.bash"

start_board --model EG25
start_watch
start_daemon
await_log 30 "GetVendorType=6!"

check "a request is accepted" peer upgrade EG25 QFirehose firmware
await_heard 10 "upgrade: file or path missing"
install_tool succeed
await_log 15 "[OTA] reset ota upgrade flag"
check "a request is accepted" peer upgrade EG25 QFirehose firmware
await_heard 10 "upgrade: modem not supported: FF 6A A6 00 01 00 05 76 01 02"
await_log 15 "[OTA] Module no support OTA"
await_log 15 "[OTA] 4g module ota upgrade not support"
await_log 15 "[OTA] send ocpp 4G module not support ota"
check "the tool has not run" test ! -e $TOOL_FOLDER/QFirehose.ran

kill "$WATCH"
wait "$WATCH"
: >"$LOG"
check "a request is accepted without anybody to report to" peer upgrade EG25 QFirehose firmware
await_log 15 "[OTA] send OCPP.Message msgid: 1 cmd:7601 status:2"
await_log 15 "[OTA] reset ota upgrade flag"
check "and after it the next one" peer upgrade EG25 QFirehose firmware
check "the daemon is alive" is_alive
kill $DAEMON
await_end 15 143
