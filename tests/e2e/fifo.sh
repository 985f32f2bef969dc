#!/bin/bash
# The commands of the board's scripts through the real pipe, from before the modem is there; a pipe that is deleted; and
# ravelinctl send, by which people send them.
. "$REPOSITORY/tests/e2e/e2e.bash"

PIPE=/run/network/ravelin_fifo
REBUILD_SECONDS=5 # at most, between two looks of the daemon
SLOW_SECONDS=600  # for the tool to watch, which comes back as soon as it has seen what it looks for

not_logged() {
    ! logged "$1"
}

# tool ARGUMENT...: its output is kept for "told".
tool() {
    "$BUILD/ravelinctl" send "$@" >/tmp/tool.out 2>&1
}

told() {
    grep -qF -- "$1" /tmp/tool.out
}

status_of() {
    local status=0
    "$@" || status=$?
    echo $status
}

start_bus || fail "the bus doesn't start"
start_network
write_settings "ENABLE=true" "APN=''"
check "no daemon, no pipe: the tool says so" test "$(status_of tool SoftReset:1)" -eq 3
check "in words" told "there is no $PIPE"
check "and makes none" test ! -e "$PIPE"

start_daemon
await_log 10 "wait device  /dev/ttyUSB2"
check "the pipe is there before the modem is" wait_for 5 test -p "$PIPE"
echo "Reset4G:1 SoftReset:1" >"$PIPE"
await_log 10 "[FIFO]Reset4G:1"
await_log 10 "[FIFO]SoftReset:1"
echo "4G_MODEM_STATUS:offline" >"$PIPE"
await_log 10 "[FIFO]4G_MODEM_STATUS:offline:index 0"
echo "4G_MODEM_STATUS:away" >"$PIPE"
await_log 10 "[FIFO]4G_MODEM_STATUS:unknow"
echo "orla_ip_list:noexist" >"$PIPE"
await_log 10 "[FIFO]orla_ip_list:noexist"
echo "udhcpc: bound, Reset4G:1" >"$PIPE"
await_log 10 "udhcpc: bound, Reset4G:1"
check "a line of the DHCP client is no command" test "$(times_logged "[FIFO]Reset4G:1")" -eq 1

before=$(descriptors)
deleted_us=${EPOCHREALTIME/./}
rm "$PIPE"
check "a deleted pipe is made anew" wait_for $REBUILD_SECONDS test -p "$PIPE"
say "after $(((${EPOCHREALTIME/./} - deleted_us) / 1000)) ms"
check "and that is logged" logged "[FIFO]RAVELIN_FIFO does not exist."
head -c 200000 /dev/urandom >"$PIPE"
head -c 512 /dev/zero | tr '\0' x >"$PIPE"
printf '\n4G_MODEM_STATUS:nonsense\n' >"$PIPE"
unknown_twice() {
    [ "$(times_logged "[FIFO]4G_MODEM_STATUS:unknow")" -eq 2 ]
}
check "it is served, also after binary nonsense" wait_for 5 unknown_twice
rm "$PIPE"
: >"$PIPE"
interface=wwan0 /ubi/local/apps/network/udhcpc-lte leasefail
check "a plain file in its place gives way to it" wait_for $REBUILD_SECONDS test -p "$PIPE"
interface=wwan0 /ubi/local/apps/network/udhcpc-lte leasefail
await_log 10 "udhcpc wwan0 leasefail"
check_descriptors "$before"

# Without service the bring-up is short and Task begins soon.
start_modem --set "registration 0" || fail "the modem doesn't start"
await_log 90 "Check service status.  3/34 times."
check "what was asked for before the modem came is forgotten" not_logged "[FIFO] SoftReset run"
check "a reset too" not_logged "[FIFO] DeviceReset run"

check "the tool waits for the soft reset, and finds the log" test "$(status_of tool -w $SLOW_SECONDS SoftReset:1)" -eq 0
check "and shows it" told "[FIFO] SoftReset run"
await_log 15 "Soft reset!"
check "it waits for the hardware reset" test "$(status_of tool -w $SLOW_SECONDS -l "$LOG" Reset4G:1)" -eq 0
check "and shows it" told "[FIFO] DeviceReset run"
await_log 10 "Reset4G.sh start pin_rst"
await_log 30 "Reset4G time=1"

check "the tool leaves nothing beside the pipe" test "$(ls -d "$PIPE"*)" = "$PIPE"
check "an unknown command is refused" test "$(status_of tool Nonsense:1)" -eq 2
check "in words" told 'the daemon knows no "Nonsense:1"'
check "it is sent all the same if that is wanted" test "$(status_of tool --force -w 1 Nonsense:1)" -eq 1
check "in words" told "of what the daemon doesn't know"
check "several at once" test "$(status_of tool -w $SLOW_SECONDS 4G_MODEM_STATUS:offline orla_ip_list:noexist)" -eq 0
check "the first" told "4G_MODEM_STATUS:offline: taken"
check "the second" told "orla_ip_list:noexist: taken"
check "a line that shows at level 7 only" test "$(status_of tool -w 1 4G_MODEM_STATUS:online)" -eq 1
check "is said to" told "with -Dl 7 alone"
check "without a look at the log" test "$(status_of tool -w 0 orla_ip_list:noexist)" -eq 0
mkfifo /tmp/nobody
check "a pipe without a reader doesn't hang the tool" test "$(status_of tool -p /tmp/nobody SoftReset:1)" -eq 3
check "in words" told "nobody reads /tmp/nobody"
: >/tmp/file
check "a file is no pipe" test "$(status_of tool -p /tmp/file SoftReset:1)" -eq 3
check "and stays empty" test ! -s /tmp/file
ln -s "$PIPE" /tmp/link
check "nor is a link" test "$(status_of tool -p /tmp/link SoftReset:1)" -eq 3
check "a log that isn't there" test "$(status_of tool -l /tmp/none SoftReset:1)" -eq 3
check "in words" told "nothing was sent"
printf '[FIFO] \033[2Jowned\n' >/tmp/evil
"$BUILD/ravelinctl" send -l /tmp/evil -w 30 4G_MODEM_STATUS:offline >/tmp/evil.out 2>&1 &
EVIL=$!
watches() {
    grep -q watching /tmp/evil.out
}
check "a log of somebody else" wait_for 10 watches
# At level 7 an SMS stands there as it came, and says what it likes.
printf '[FIFO]an SMS\n[FIFO]4G_MODEM_STATUS:offline:index 0\n' >>/tmp/evil
PLACE="12:00:00.1 network_daemon/main_fifo.cpp:handle_command:172:"
printf '%s[FIFO] \033[2Jowned\n%s[FIFO]4G_MODEM_STATUS:offline:index 0\n' "$PLACE" "$PLACE" >>/tmp/evil
wait $EVIL
check "an SMS in it counts for nothing" eval '! grep -q SMS /tmp/evil.out'
check "is shown with its control characters escaped" grep -qF '[FIFO] \x1B[2Jowned' /tmp/evil.out
check "it is the same process" is_alive
