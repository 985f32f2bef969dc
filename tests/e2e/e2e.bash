# What the end-to-end tests share. Each runs inside scripts/private-view, so that it has a board of its own, and ends with
# it. To be sourced.
set -u
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
    wait_for "$1" logged "$2" || fail "not logged within $1 s: $2"
    say "logged: $2"
}

# await_end SECONDS STATUS: the daemon ends by itself.
await_end() {
    wait_for "$1" has_ended || fail "still alive after $1 s"
    local status=0
    wait "$DAEMON" || status=$?
    [ "$status" -eq "$2" ] || fail "ended with $status, not $2"
    say "ended with $status"
}

# The output has TEXT.
printed() {
    grep -qF -- "$1" "$OUTPUT"
}

# Descriptors of the daemon, by number and what they are.
descriptors() {
    ls -l "/proc/$DAEMON/fd" | sed -n 's/.* \([0-9]* -> \)/\1/p' | sed 's/\[[0-9]*\]//'
}
