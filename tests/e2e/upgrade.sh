#!/bin/bash
# Upgrades of an EG21 from the request to the report, beside a running Task: the tool missing, at work, and saying odd
# things.
. "$REPOSITORY/tests/e2e/e2e.bash"

PIPE=/run/network/ravelin_fifo
GO_ON=/tmp/go_on

# upgrade_ends STATUS_OF_REPORT WORDS...: an upgrade with a tool that does so.
upgrade_ends() {
    local report=$1
    shift
    install_tool "$*"
    check "a request is accepted, with a tool that does: $*" peer upgrade EG21 QFirehose firmware
    await_heard 30 "$report"
    await_log 15 "[OTA] reset ota upgrade flag"
    : >"$LOG"
}

is_published_anew() {
    [ "$(stat -c %y $STATUS)" != "$last_written" ]
}

start_board --model EG21
start_watch
start_daemon
await_log 30 "GetVendorType=6!"

check "a request is accepted though there is no tool" peer upgrade EG21 QFirehose firmware
await_heard 10 "upgrade: file or path missing: FF 6A A6 00 01 00 05 76 01 03"
await_log 15 "[OTA] OTA目录不存在"
await_log 15 "[OTA] ota upgrade file path or file no exist"
await_log 15 "[OTA] get ocpp 4g status ok"
await_log 15 "[OTA] reset ota upgrade flag"
mkdir -p $TOOL_FOLDER
check "also when its folder is there" peer upgrade EG21 QFirehose firmware
await_heard 10 "upgrade: file or path missing"
await_log 15 "[OTA] QFirehose文件不存在"

check "comes online" wait_for 120 is_online
install_tool wait=$GO_ON succeed
: >"$LOG"
check "a request is accepted" peer upgrade EG21 QFirehose "the path"
for line in "[RAVELIN] get ocpp msg id=7 cmd=7600 length=28" "[OTA] TLVS size is: 3 " \
    "[OTA] TLVS supportModule:EG21 otatool:QFirehose otaPath:the path" \
    "[OTA] get ocpp msg and set ota upgrade flag true" "[OTA] run ota task" "[OTA] OTA目录存在" \
    "[OTA] QFirehose文件存在" "[OTA] Module EG21 support OTA" "[OTA] run: $TOOL_FOLDER/QFirehose -f $TOOL_FOLDER" \
    "[OTA] reply ocpp ota msg id=7 cmd=7600 result:1" "[OTA] get ocpp msg , set ota run"; do
    await_log 15 "$line"
done
check "the tool was given its folder" wait_for 10 grep -qx -- "-f $TOOL_FOLDER" $TOOL_FOLDER/QFirehose.ran
check "a second request is refused" peer_ends 1 upgrade EG21 QFirehose other
check "in words" told "an upgrade is already running"
check "but its texts are taken" logged "otaPath:other"
check "a status query is answered" peer status
for reset in Reset4G S84Reset4G SoftReset; do
    echo "$reset:1" >$PIPE
    await_log 15 "[FIFO]$reset:1"
done
for publication in 1 2 3; do
    last_written=$(stat -c %y $STATUS)
    check "Task goes on beside it, and publishes" wait_for 30 is_published_anew
done
check "nothing was reported so far" test ! -s $HEARD
: >$GO_ON
await_heard 20 "upgrade succeeded: FF 6A A6 00 01 00 05 76 01 00 57 FA"
await_log 15 "[OTA] Upgrade module successfully"
await_log 15 "[OTA] send ocpp ota upgrade status ok"
await_log 15 "[OTA] reset ota upgrade flag"
check "the tool ran once" test "$(grep -c . $TOOL_FOLDER/QFirehose.ran)" -eq 1
check "the daemon is online" wait_for 5 is_online
if logged "[FIFO] SoftReset run" || logged "[FIFO] DeviceReset run"; then
    fail "a reset by the pipe wasn't held back"
fi
say "the resets by the pipe were held back, and are forgotten"

# The last word counts; a status of the tool doesn't; a line longer than the buffer is looked at in pieces of 511 bytes.
upgrade_ends "upgrade failed" fail
upgrade_ends "upgrade failed" succeed fail
upgrade_ends "upgrade succeeded" fail succeed exit=1
upgrade_ends "upgrade failed" say=nothing_to_say
upgrade_ends "upgrade failed" exit=3
upgrade_ends "upgrade succeeded" long=5000 succeed
upgrade_ends "upgrade succeeded" fail long=505 succeed
# The word that counts begins in the first piece and ends in the second.
upgrade_ends "upgrade failed" long=490 succeed
upgrade_ends "upgrade failed" long=505 say=successfully fail

echo "SoftReset:1" >$PIPE
await_log 15 "[FIFO] SoftReset run"
kill $DAEMON
await_end 15 143
