#!/bin/bash
# ravelinctl upgrade against the real daemon and the fake firmware tool: what is looked at before, who is asked, what is
# shown, and how it ends.
. "$REPOSITORY/tests/e2e/e2e.bash"

GO_ON=/tmp/go_on

# upgrade STATUS [ARGUMENT]...: the command ends so, without a terminal. Its output is kept for "told".
upgrade() {
    local wanted=$1 status=0
    shift
    "$BUILD/ravelinctl" upgrade "$@" >/tmp/ctl.out 2>&1 </dev/null || status=$?
    [ $status -eq "$wanted" ] || { echo "status $status" && cat /tmp/ctl.out && return 1; }
}
told() {
    grep -qF -- "$1" /tmp/ctl.out || { cat /tmp/ctl.out && return 1; }
}
ran_times() {
    [ "$(cat $TOOL_FOLDER/QFirehose.ran 2>/dev/null | wc -l)" -eq "$1" ]
}
# A second request in the moment between report and end is refused.
is_over() {
    await_new 30 "[OTA] reset ota upgrade flag" >/dev/null
}

check "no bus" upgrade 3 --yes
start_bus || fail "the bus doesn't start"
start_network
write_settings "ENABLE=true" "APN=''"
check "no daemon" upgrade 3 --yes
check "in words" told "the daemon isn't on the bus"
start_daemon
await_log 10 "wait device  /dev/ttyUSB2"
check "no modem" upgrade 3 --yes
check "in words" told "the daemon has no modem yet"
start_modem --model EG21 || fail "the modem doesn't start"
await_log 60 "[OTA] m_ModuleName = EG21"
knows_firmware() {
    "$BUILD/ocpp_peer" status | grep -q '^firmware *EG21'
}
check "its firmware is known" wait_for 90 knows_firmware

check "no folder" upgrade 3 --yes
check "in words" told "there is no folder $TOOL_FOLDER"
install_tool succeed
rm $TOOL_FOLDER/QFirehose.does
check "no firmware" upgrade 3 --yes
check "in words" told "there is no firmware in $TOOL_FOLDER"
mkdir $TOOL_FOLDER/update
: >$TOOL_FOLDER/update/firmware.bin
check "an empty one" upgrade 3 --yes
check "in words" told "firmware.bin is empty"
echo new >$TOOL_FOLDER/update/firmware.bin
check "nobody to ask" upgrade 2
check "in words" told "--yes is missing"
check "it could begin" upgrade 0 --check
check "with the firmware of now" told "EG21"
check "so far nothing was begun" ran_times 0

mark_log
check "it succeeds" upgrade 0 --yes
check "as the bus says" told "bus: upgrade succeeded"
check "and as the log says" told "daemon: [OTA] run: $TOOL_FOLDER/QFirehose -f $TOOL_FOLDER"
check "the tool ran once" ran_times 1
is_over
install_tool fail
mark_log
check "it fails" upgrade 1 --yes
check "in words" told "upgrade failed"
is_over

# While one runs. Whoever ends the watch doesn't end the upgrade.
install_tool wait=$GO_ON succeed
mark_log
"$BUILD/ravelinctl" upgrade --yes >/tmp/first.out 2>&1 </dev/null &
FIRST=$!
await_new 30 "[OTA] run: $TOOL_FOLDER/QFirehose"
check "a second one is refused" upgrade 4 --yes --log "$LOG"
check "in words" told "an upgrade is already running"
kill -INT $FIRST
status=0
wait $FIRST || status=$?
check "the watch is ended" test $status -eq 5
check "and says what that means" grep -q "the watch was ended; keep the power on" /tmp/first.out
: >$GO_ON
await_new 30 "[OTA] Upgrade module successfully"
is_over

# With the OCPP service on the bus, which hears the outcome.
rm $GO_ON
install_tool succeed
start_watch
mark_log
check "it succeeds beside the service" upgrade 0 --yes
check "as the log says" told "daemon: [OTA] send ocpp ota upgrade status ok"
await_heard 30 "upgrade succeeded"
is_over

# People are asked.
# asked ANSWER: on a terminal; the status is in the output.
asked() {
    echo "$1" | script -qec "\"$BUILD/ravelinctl\" upgrade; echo ended \$?" /dev/null >/tmp/ctl.out 2>&1
}
runs=$(wc -l <$TOOL_FOLDER/QFirehose.ran)
check "someone who doesn't want it" asked n
check "was asked" told "Go on? [y/N]"
check "and has none" told "ended 3"
check "none at all" ran_times "$runs"
mark_log
check "someone who wants it" asked y
check "has one" told "ended 0"
is_over

# The daemon ends in the middle; the wrapper keeps the flash alive, and shows what the tool says.
install_wrapped_tool say=half_way wait=$GO_ON succeed
mark_log
"$BUILD/ravelinctl" upgrade --yes >/tmp/first.out 2>&1 </dev/null &
FIRST=$!
half_way() {
    grep -q "tool: half way" /tmp/first.out
}
check "the tool's words are shown" wait_for 60 half_way
check "another one is refused by the mark of the flash" upgrade 4 --yes
kill -KILL "$DAEMON"
status=0
wait $FIRST || status=$?
check "the outcome isn't known" test $status -eq 5
check "and the flash goes on" grep -q "the daemon has ended.*the flash goes on: keep the power on" /tmp/first.out
check "indeed" flash_runs
: >$GO_ON
check "to its end" wait_for 30 no_flash_runs

# Another model.
kill "$MODEM"
wait "$MODEM"
"$BUILD/modem_sim" --link "$MODEM_PORT" --control "$MODEM_CONTROL" --model EG25 &
start_daemon
await_log 60 "[OTA] m_ModuleName = EG25"
knows_other() {
    "$BUILD/ocpp_peer" status | grep -q '^firmware *EG25'
}
check "its firmware is known" wait_for 90 knows_other
check "another model" upgrade 3 --yes
check "in words" told "only an EG21 can be upgraded"
