#!/bin/bash
# Writers that meet the daemon's pipe just when it is made anew: none of them leaves a plain file in its place, and one
# that stands there is taken away, but never a pipe that is in use. The daemon's part is played here, so that it can be
# played often and at a wanted moment.
. "$REPOSITORY/tests/e2e/e2e.bash"

SCRIPT=/ubi/local/apps/network/udhcpc-lte
PIPE=/run/network/ravelin_fifo
STARTS=100 # writers that opened the pipe by its own name took it away from some of so many
export interface=wwan0

# run_script NUMBER: as udhcpc calls it, by one of the two shells that a board may have, and its tools.
mkdir /tmp/busybox /tmp/race
for tool in ln mv rm sleep; do
    ln -s "$(command -v busybox)" /tmp/busybox/$tool
done
run_script() {
    if [ $(($1 % 2)) -eq 0 ]; then
        dash "$SCRIPT" leasefail
    else
        PATH=/tmp/busybox:$PATH busybox sh "$SCRIPT" leasefail
    fi
}

# start_reader: what the daemon does at its start. False: it got no pipe.
start_reader() {
    rm -rf $PIPE
    mkfifo $PIPE 2>/dev/null || return 1
    exec 9<>$PIPE
}
end_reader() {
    exec 9>&-
}
hears() {
    read -r -t 10 line <&9 && [ "$line" = "udhcpc wwan0 leasefail" ]
}
nothing_is_left() {
    [ "$(ls -A /run/network)" = "$1" ]
}

for number in 0 1; do
    check "without a pipe nothing is made ($number)" run_script $number
    check "nothing at all" nothing_is_left ""
    mkfifo $PIPE
    check "a pipe that nobody reads doesn't hang it" run_script $number
    start_reader
    run_script $number
    check "a reader hears it" hears
    check "and the pipe is all that is left" nothing_is_left ravelin_fifo
    end_reader
    rm $PIPE
    : >$PIPE
    run_script $number
    check "a plain file is taken away" nothing_is_left ""

    # A file, until the script has seen it; when it moves it, a pipe is there.
    printf '%s\n' '#!/bin/bash' "rm -rf $PIPE && mkfifo $PIPE && ls -i $PIPE >/tmp/made" \
        "[ -e /tmp/unread ] || { exec 8<>$PIPE; sleep 60 & }" 'exec /bin/mv "$@"' >/tmp/race/mv
    chmod +x /tmp/race/mv
    sed "s|^\(DAEMON_FIFO=.*\)|\1; PATH=/tmp/race:\$PATH|" $SCRIPT >/tmp/udhcpc-lte
    : >$PIPE
    SCRIPT=/tmp/udhcpc-lte run_script $number
    check "a pipe that has just been made stays" test -p $PIPE
    check "the same" test "$(ls -i $PIPE)" = "$(cat /tmp/made)"
    check "and is all that is left" nothing_is_left ravelin_fifo
    : >/tmp/unread
    rm $PIPE
    : >$PIPE
    SCRIPT=/tmp/udhcpc-lte run_script $number
    check "unless nobody has opened it" nothing_is_left ""
    rm /tmp/unread
done

# Two writers that do nothing else: the script up to where it looks at its argument, and then the line again and again.
sed '/^case $1 in/,$d' $SCRIPT >/tmp/writer
echo 'while [ ! -e /tmp/enough ]; do tell_daemon leasefail; done' >>/tmp/writer
for number in 0 1; do
    SCRIPT=/tmp/writer run_script $number &
    writers+=" $!"
done
deaf=0
for ((start = 0; start < STARTS; start++)); do
    end_reader
    start_reader || deaf=$((deaf + 1))
done
check "$STARTS starts under two writers, $deaf of them without a pipe" test $deaf -eq 0
: >/tmp/enough
# shellcheck disable=SC2086 # words
wait $writers
check "and the pipe is all that is left" nothing_is_left ravelin_fifo
