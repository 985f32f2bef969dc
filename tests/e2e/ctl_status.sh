#!/bin/bash
# ravelinctl status on a board: each way in which the files, the daemon and the bus can be, with its exit status; what a
# second user may have put in their place; a terminal, a narrow one, and none.
. "$REPOSITORY/tests/e2e/e2e.bash"

# shows STATUS [ARGUMENT]...: the tool ends so. Its output is kept for "told".
shows() {
    local wanted=$1 status=0
    shift
    "$BUILD/ravelinctl" status "$@" >/tmp/ctl.out 2>/tmp/ctl.err || status=$?
    [ $status -eq "$wanted" ] || { echo "status $status" && cat /tmp/ctl.out /tmp/ctl.err && return 1; }
}
told() {
    grep -qF -- "$1" /tmp/ctl.out || { cat /tmp/ctl.out && return 1; }
}
not_told() {
    ! told "$1" >/dev/null
}

# file_of AGE ONLINE: a whole file, written so many seconds ago.
file_of() {
    printf 'IMSI=460001112223334\nICCID=\nIMEI=\nOnline=%s\nCSQ=20\nCEREG=2\nUptime=00:00:00\nRetryTimes=0\n' "$2"
    echo "Now='$(LC_ALL=C date -d "@$(($(date +%s) - $1))" '+%a %b %e %H:%M:%S %Y')'"
}

mkdir -p /tmp/files
check "no daemon and no file" shows 7
check "in words" told "not there"
check "and no bus, which is no fault" told "can't be reached"
start_bus || fail "the bus doesn't start"
check "a bus without the daemon" shows 7
check "in words" told "nobody has the daemon's name"
file_of 3 TRUE >"$STATUS"
check "a fresh file doesn't stand for a daemon" shows 7
check "in words" told "the file says online"
rm "$STATUS"

# Files by themselves.
check "another folder, without a file" shows 5 --folder /tmp/files
check "in words" told "ravelin_status isn't there"
file_of 3 TRUE >/tmp/files/ravelin_status
check "online" shows 0 --folder /tmp/files
file_of 3 FALSE >/tmp/files/ravelin_status
check "offline" shows 1 --folder /tmp/files
check "and why" told "a network: the modem searches"
file_of 200 TRUE >/tmp/files/ravelin_status
check "stale" shows 3 --folder /tmp/files
check "with its age" told "3 min old"
file_of -86400 TRUE >/tmp/files/ravelin_status
check "from tomorrow" shows 3 --folder /tmp/files
file_of 3 TRUE | head -c 60 >/tmp/files/ravelin_status
check "half written" shows 4 --folder /tmp/files
: >/tmp/files/ravelin_status
check "empty" shows 4 --folder /tmp/files --json
check "in JSON" told '"verdict": "torn"'
rm /tmp/files/ravelin_status
mkfifo /tmp/files/ravelin_status
check "a pipe in its place isn't waited for" shows 6 --folder /tmp/files
check "in words" told "is a pipe and no file"
rm /tmp/files/ravelin_status
ln -s /etc/passwd /tmp/files/ravelin_status
check "a link in its place isn't followed" shows 6 --folder /tmp/files
check "not at all" not_told root:
rm /tmp/files/ravelin_status
head -c 1000000 /dev/zero | tr '\0' x >/tmp/files/ravelin_status
check "a huge file" shows 6 --folder /tmp/files
{
    printf 'Carrier=\033[2J\033]0;gotcha\007\nReset\r\n'
    file_of 3 TRUE
} >/tmp/files/ravelin_status
check "a file with control characters" shows 0 --folder /tmp/files
check "shows them escaped" told '\x1B[2J\x1B]0;gotcha\x07'
no_escape() {
    ! grep -q "$(printf '\033')" /tmp/ctl.out
}
check "and nothing of them" no_escape
check "and the line that isn't the daemon's" told "a line that isn't the daemon's: Reset"
chmod 0 /tmp/files/ravelin_status

# A daemon without a modem, on a bus that refuses to let anybody speak to it: that is said, and no fault.
start_network
write_settings "ENABLE=true"
mkdir /tmp/closed
sed 's|</busconfig>|<policy context="mandatory"><deny send_destination="busglue.RAVELIN"/></policy></busconfig>|' \
    "$REPOSITORY/scripts/private-bus.conf" >/tmp/closed/bus.conf
dbus-daemon --config-file=/tmp/closed/bus.conf --address=unix:path=/tmp/closed/bus --nofork --nopidfile 2>/dev/null &
wait_for 10 test -S /tmp/closed/bus
RAVELIN_BUS_ADDRESS=unix:path=/tmp/closed/bus start_daemon
await_log 10 "wait device  /dev/ttyUSB2"
check "a daemon that waits for its port has no files" shows 5 --address unix:path=/tmp/closed/bus
check "it is there" told "there, process $DAEMON"
check "and the bus that refuses is named" told "doesn't let us speak to the daemon"
check "without the bus it is there as well" shows 5 --no-bus
kill $DAEMON
wait $DAEMON
check "it isn't there any more" shows 7

# The real daemon.
start_modem || fail "the modem doesn't start"
write_settings "ENABLE=true" "APN=''" "PASSWORD=geheim"
start_daemon
is_shown_online() {
    shows 0 --no-bus
}
check "online with the daemon" wait_for 150 is_shown_online
check "and once more, with the bus" shows 0
check "its process" told "there, process $DAEMON"
check "its answer on the bus" told "The daemon's answer on the bus"
check "the release, which the bus alone has" told "Release_Tideway"
check "strength in words" grep -qE '^RSSI +-[0-9]+ dBm, (excellent|good|fair|poor|very poor)$' /tmp/ctl.out
check "JSON" shows 0 --json
check "has the bus's items" told '"state": "answered"'
check "and not the password" not_told geheim
check "a locale with a comma changes nothing" env LC_ALL=de_DE.UTF-8 "$BUILD/ravelinctl" status --json
check "without the bus" shows 0 --no-bus
check "nobody is asked" not_told "Bus "

# A terminal. `script` is one, of the size that stty gives it.
# on_terminal COLUMNS ENVIRONMENT... : what the tool writes there.
on_terminal() {
    local columns=$1
    shift
    script -qec "stty cols $columns rows 50; env $* \"$BUILD/ravelinctl\" status" /dev/null </dev/null | tr -d '\r' >/tmp/ctl.out
}
narrow() {
    on_terminal "$1" TERM=dumb
    [ -s /tmp/ctl.out ] && ! grep -qE ".{$(($1 + 1))}" /tmp/ctl.out
}
check "40 columns are enough" narrow 40
check "60 too" narrow 60
coloured() {
    on_terminal 80 "$@"
    grep -q "$(printf '\033')" /tmp/ctl.out
}
not_coloured() {
    ! coloured "$@"
}
check "a terminal has colours" coloured TERM=xterm
check "but a dumb one" not_coloured TERM=dumb
check "nor with NO_COLOR" not_coloured TERM=xterm NO_COLOR=1
shows 0
check "nor a pipe" no_escape

# --watch: Ctrl-C gives the screen back. The shell of the terminal says how it ended.
script -qefc "\"$BUILD/ravelinctl\" status --watch --interval 1; echo ended \$?" /tmp/ctl.screen </dev/null >/dev/null 2>&1 &
SCRIPT=$!
drawn() {
    grep -qF "Ctrl-C ends it" /tmp/ctl.screen
}
check "it draws" wait_for 30 drawn
watcher() {
    WATCHER=$(pgrep -f "^$BUILD/ravelinctl status --watch --interval 1$")
    [ -n "$WATCHER" ]
}
check "its process" watcher
kill -INT "$WATCHER"
wait $SCRIPT
check "it ends by the signal" grep -q 'ended 130' /tmp/ctl.screen
given_back() {
    [ "$(grep -oaF "$(printf '\033[?25h\033[?1049l')" /tmp/ctl.screen | wc -l)" -eq 1 ]
}
check "the cursor and the screen are back" given_back

# A dumb terminal can't be drawn upon.
script -qefc "env TERM=dumb \"$BUILD/ravelinctl\" status --watch --interval 1 --no-bus" /tmp/ctl.dumb </dev/null >/dev/null 2>&1 &
SCRIPT=$!
shown_on_dumb() {
    grep -q '^Daemon' /tmp/ctl.dumb
}
check "a dumb terminal gets blocks" wait_for 30 shown_on_dumb
WATCHER=$(pgrep -f "^$BUILD/ravelinctl status --watch --interval 1 --no-bus$")
kill -INT "$WATCHER"
wait $SCRIPT
no_escape_on_dumb() {
    ! grep -q "$(printf '\033')" /tmp/ctl.dumb
}
check "and nothing that draws" no_escape_on_dumb

# Without a terminal: a block for each change, whatever the clock does.
"$BUILD/ravelinctl" status --watch --interval 1 --no-bus --json >/tmp/watch.out &
WATCHER=$!
blocks() {
    [ "$(wc -l </tmp/watch.out)" -ge "$1" ]
}
check "the first block" wait_for 10 blocks 1
write_settings "ENABLE=false"
last_is_offline() {
    tail -n 1 /tmp/watch.out | grep -q '"verdict":"offline"'
}
check "the change" wait_for 60 last_is_offline
check "which waits for the settings" grep -q '"waits_for":"ENABLE in the settings, which is false"' /tmp/watch.out
kill -TERM $WATCHER
status=0
wait $WATCHER || status=$?
check "it ends by the signal" test $status -eq 143
check "it is the same process" is_alive
