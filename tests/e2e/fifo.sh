#!/bin/bash
# The commands of the board's scripts through the real pipe, from before the modem is there; a pipe that is deleted; and
# scripts/fifo, by which people send them.
. "$REPOSITORY/tests/e2e/e2e.bash"

PIPE=/run/network/ravelin_fifo
SH=dash
REBUILD_SECONDS=5 # at most, between two looks of the daemon
SLOW_SECONDS=600  # for the tool to watch, which comes back as soon as it has seen what it looks for

not_logged() {
    ! logged "$1"
}

# tool ARGUMENT...: run by $SH; its output is kept for "told".
tool() {
    $SH "$REPOSITORY/scripts/fifo" "$@" >/tmp/tool.out 2>&1
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
check "no daemon, no pipe: the tool says so" test "$(status_of tool SoftReset:1)" -eq 2
check "in words" told "there is no $PIPE"

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
SH="busybox sh"
check "it waits for the hardware reset" test "$(status_of tool -w $SLOW_SECONDS -l "$LOG" Reset4G:1)" -eq 0
check "and shows it" told "[FIFO] DeviceReset run"
await_log 10 "Reset4G.sh start pin_rst"
await_log 30 "Reset4G time=1"

check "the tool leaves nothing beside the pipe" test "$(ls -d "$PIPE"*)" = "$PIPE"
check "an unknown command is reported as such" test "$(status_of tool -w 1 Nonsense:1)" -eq 1
check "in words" told "knows no such command"
mkfifo /tmp/nobody
check "a pipe without a reader doesn't hang the tool" test "$(status_of tool -p /tmp/nobody SoftReset:1)" -eq 2
check "in words" told "nobody reads /tmp/nobody"
: >/tmp/file
check "a file is no pipe" test "$(status_of tool -p /tmp/file SoftReset:1)" -eq 2
check "a word without a colon is no command" test "$(status_of tool SoftReset)" -eq 2
check "it is the same process" is_alive
