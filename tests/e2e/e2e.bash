# What the end-to-end tests share. Each runs inside scripts/private-view, so that it has a board of its own, and ends with
# it. To be sourced.
#
# No test looks at a clock or for a moment: it waits until something is so, for as long as that takes. A state that may be
# over before a slow machine looks is made to last, or is read from a log later on. Where nothing is to happen, the test
# waits for what comes after it.
set -u
PATIENCE_SECONDS=300 # only used up by what never comes
. "$REPOSITORY/scripts/board.bash"

LOG=/tmp/daemon.log
OUTPUT=/tmp/daemon.out # standard output and standard error

# start_daemon [ARGUMENT]...: the daemon with a log that is readable at once. Its standard input is descriptor 3, if open.
start_daemon() {
    : >"$LOG"
    if { : <&3; } 2>/dev/null; then
        "$BUILD/ravelin-mobile" -DL "$LOG" "$@" >"$OUTPUT" 2>&1 <&3 &
    else
        "$BUILD/ravelin-mobile" -DL "$LOG" "$@" >"$OUTPUT" 2>&1 </dev/null &
    fi
    DAEMON=$!
}

# start_board [OPTION OF modem_sim]...: everything that the daemon finds on a healthy board.
start_board() {
    start_bus || fail "the bus doesn't start"
    start_network
    start_modem "$@" || fail "the modem doesn't start"
    write_settings "ENABLE=true" "APN=''"
}

fail() {
    echo "FAILED: $*"
    for file in "$LOG" "$OUTPUT" "$STATUS"; do
        if [ -e "$file" ]; then
            echo "---- the end of $file:"
            tail -n 40 "$file"
        fi
    done
    exit 1
}

say() {
    printf '%4d s  %s\n' "$SECONDS" "$*"
}

# check DESCRIPTION COMMAND...
check() {
    local description=$1
    shift
    "$@" || fail "$description"
    say "$description"
}

is_alive() {
    kill -0 "$DAEMON" 2>/dev/null
}

has_ended() {
    ! is_alive
}

# logged TEXT: a line of the log has it.
logged() {
    grep -qF -- "$1" "$LOG"
}

# await_log SECONDS TEXT
await_log() {
    wait_for "$1" logged "$2" || fail "not logged: $2"
    say "logged: $2"
}

times_logged() {
    grep -cF -- "$1" "$LOG"
}

# logged_times NUMBER TEXT: at least so often.
logged_times() {
    [ "$(times_logged "$2")" -ge "$1" ]
}

# mark_log: await_new and newly_logged, which prints the lines that have TEXT, look at what comes after this.
mark_log() {
    LOG_MARK=$(($(wc -l <"$LOG") + 1))
}
newly_logged() {
    tail -n "+$LOG_MARK" "$LOG" | grep -F -- "$1"
}
await_new() {
    wait_for "$1" newly_logged "$2" || fail "not logged: $2"
    say "logged: $2"
}

# await_end SECONDS STATUS: the daemon ends by itself.
await_end() {
    wait_for "$1" has_ended || fail "still alive"
    local status=0
    wait "$DAEMON" || status=$?
    [ "$status" -eq "$2" ] || fail "ended with $status, not $2"
    say "ended with $status"
}

# The output has TEXT.
printed() {
    grep -qF -- "$1" "$OUTPUT"
}

# What the daemon holds open, one line a descriptor.
descriptors() {
    ls -l "/proc/$DAEMON/fd" | sed -n 's/.* -> //p' | sed -E 's/\[[0-9]+\]//; s|^(/dev/pts/)[0-9]+|\1|' | sort
}

# check_descriptors BEFORE: nothing stays open that wasn't among those. A file that is written at times, or a command that
# is run, is closed again.
check_descriptors() {
    check "no descriptor was lost" wait_for 30 holds_no_more_than "$1"
}
holds_no_more_than() {
    [ -z "$(comm -13 <(echo "$1") <(descriptors))" ]
}

# peer ARGUMENT...: ocpp_peer, the other end of the bus. Its output is kept for "told", standard error as well.
peer() {
    "$BUILD/ocpp_peer" --timeout $PATIENCE_SECONDS "$@" >/tmp/peer.out 2>&1
}

# peer_ends STATUS ARGUMENT...: it ends so.
peer_ends() {
    local wanted=$1 status=0
    shift
    peer "$@" || status=$?
    [ $status -eq "$wanted" ]
}

told() {
    grep -qF -- "$1" /tmp/peer.out
}

# start_watch: the OCPP service, whose hearing is in $HEARD, one line a frame.
HEARD=/tmp/heard
start_watch() {
    : >$HEARD
    "$BUILD/ocpp_peer" watch >$HEARD 2>&1 &
    WATCH=$!
    wait_for 10 is_on_bus OCPP || fail "the watching peer doesn't start"
}

# is_on_bus OWNER
is_on_bus() {
    dbus-send --bus="$RAVELIN_BUS_ADDRESS" --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.GetNameOwner "string:busglue.$1"
}

# await_heard SECONDS TEXT: the last line that the service heard.
heard_last() {
    tail -n 1 $HEARD | grep -qF -- "$1"
}
await_heard() {
    wait_for "$1" heard_last "$2" || fail "not heard: $2; but: $(cat $HEARD)"
    say "heard: $2"
    : >$HEARD
}

# Where the daemon looks for the firmware tool. install_tool WORD...: the fake one, see simulator/QFirehose.
TOOL_FOLDER=/media/mmcblk0p1/firmware_modules/CellularOTA
install_tool() {
    mkdir -p $TOOL_FOLDER
    cp "$REPOSITORY/simulator/QFirehose" $TOOL_FOLDER/
    echo "$*" >$TOOL_FOLDER/QFirehose.does
}

# install_wrapped_tool WORD...: the same, as the real tool that the board's wrapper runs.
FLASH_OUTPUT=/run/ravelin-flash/output
install_wrapped_tool() {
    install_tool "$*"
    mv $TOOL_FOLDER/QFirehose $TOOL_FOLDER/QFirehose.real
    cp "$REPOSITORY/packaging/board/QFirehose" $TOOL_FOLDER/
}
flash_runs() {
    $TOOL_FOLDER/QFirehose --running
}
no_flash_runs() {
    ! flash_runs
}
