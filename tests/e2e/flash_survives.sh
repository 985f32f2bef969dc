#!/bin/bash
# The daemon ends in the middle of a flash: by SIGTERM, by SIGKILL, since the module is refused, and since the port is lost
# during a restart. Each time the tool goes on, and says its last word into its own file.
. "$REPOSITORY/tests/e2e/e2e.bash"

PIPE=/run/network/ravelin_fifo
GO_ON=/tmp/go_on
NETWORK_JSON=/ubi/conf/network/network.json

half_done() {
    grep -qx "half done" $FLASH_OUTPUT
}
# The tool has said half, and waits.
flash_begins() {
    rm -f $GO_ON $FLASH_OUTPUT
    : >$TOOL_FOLDER/QFirehose.ran
    check "an upgrade is asked for" peer upgrade EG21 QFirehose firmware
    check "the tool has begun" wait_for 30 half_done
}

nothing_of_the_daemon_is_open() {
    ! ls -l "/proc/$1/fd" | grep -E "$PORT_BEHIND|ravelin_fifo|$LOG"
}
flash_goes_on() {
    local tool
    tool=$(flash_runs) || fail "the flash ended with the daemon"
    check "the flash goes on as process $tool" nothing_of_the_daemon_is_open "$tool"
}
flash_ends_well() {
    : >$GO_ON
    check "it ends" wait_for 30 no_flash_runs
    check "having said all" test "$(cat $FLASH_OUTPUT)" = "Version: fake
half done
one line more
Upgrade module successfully"
    check "and ran once" test "$(grep -c . $TOOL_FOLDER/QFirehose.ran)" -eq 1
}

# Without service the bring-up is short and Task begins soon.
start_board --model EG21 --set "registration 0"
PORT_BEHIND=$(readlink $MODEM_PORT)
start_watch
install_wrapped_tool say=half_done wait=$GO_ON say=one_line_more succeed

start_daemon
await_log 60 "GetVendorType=6!"
flash_begins
kill $DAEMON
await_end 15 143
flash_goes_on
start_daemon
await_log 60 "GetVendorType=6!"
check "a second upgrade is asked for beside it" peer upgrade EG21 QFirehose firmware
await_heard 30 "upgrade failed"
flash_ends_well

flash_begins
kill -KILL $DAEMON
await_end 15 137
flash_goes_on
flash_ends_well

# The file is a pipe: the daemon waits for it at its gate, and can be asked for an upgrade there.
mkfifo $NETWORK_JSON
ulimit -c 0
start_daemon
exec 7>$NETWORK_JSON
say "the daemon reads what modules are allowed"
flash_begins
echo '{"customer_name": "halden", "product_name": "Quillbox",
    "whitelist": {"userSettings": {"moduleName": {"allowedValues": ["EC200A"]}}}}' >&7
exec 7>&-
await_log 15 "[whitelist] 4G module not allowd !!!"
wait_for 30 has_ended || fail "still alive"
flash_goes_on
flash_ends_well
rm $NETWORK_JSON

# The pin's reader is missing: the reset by the pin takes until it is there.
rm $RESET_PIN
mkfifo $RESET_PIN
start_daemon
await_log 60 "Check service status.  1/34 times."
echo "Reset4G:1" >$PIPE
await_log 60 "Reset4G.sh start pin_rst"
flash_begins
modem unplug
exec 8<>$RESET_PIN
await_end 60 255
check "the port is lost" logged "open device error. $MODEM_PORT"
flash_goes_on
flash_ends_well
