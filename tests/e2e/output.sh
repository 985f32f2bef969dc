#!/bin/bash
# Standard output as a journal or tee reads it: each line is there as soon as it is printed, and the last ones are not lost
# when a signal ends the daemon.
. "$REPOSITORY/tests/e2e/e2e.bash"

LAST="wait device  /dev/nothing ."

start_bus || fail "the bus doesn't start"
write_settings "ENABLE=true"

"$BUILD/ravelin-mobile" -d /dev/nothing >"$OUTPUT" &
DAEMON=$!
check "a file has the line while the daemon runs" wait_for 15 printed "$LAST"
kill -KILL "$DAEMON"
await_end 5 137
check "and keeps all before it" printed "THIS APP BUILD INFO"

name_is_free() {
    ! dbus-send --bus="$RAVELIN_BUS_ADDRESS" --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.GetNameOwner string:busglue.RAVELIN
}
check "the name is free again" wait_for 10 name_is_free
: >"$OUTPUT"
"$BUILD/ravelin-mobile" -d /dev/nothing > >(exec cat >"$OUTPUT") &
DAEMON=$!
check "so has a pipe's reader" wait_for 15 printed "$LAST"
kill "$DAEMON"
await_end 5 143
