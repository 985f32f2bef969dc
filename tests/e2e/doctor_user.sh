#!/bin/bash
# ravelinctl doctor as an ordinary user, beside root's: what only root sees is named and isn't held against the board. And
# whether the bus really keeps users from the daemon is tried, not just read. Runs in a view in which root can become
# somebody else.
. "$REPOSITORY/tests/e2e/e2e.bash"
. "$REPOSITORY/tests/e2e/doctor.bash"

USER_ID=1000
POLICY=/etc/dbus-1/system.d/busglue.conf
REFUSED="the bus has refused a call to the daemon by a user who isn't root"

start_doctors_board
check "root finds nothing" finds 0
check "and sees everything" sees_all
check "the bus refuses a user" tells "$REFUSED"

# A folder above the build may be closed to others.
mkdir -m 0755 /tmp/build
cp "$BUILD/ravelinctl" "$BUILD"/libbusglue.so* /tmp/build/
chmod 0755 /tmp/build/*
USERS_BUILD=/tmp/build
touch $REPORT /tmp/doctor.errors
chmod 0666 $REPORT /tmp/doctor.errors
doctor() {
    timeout $DOCTOR_LIMIT_SECONDS setpriv --reuid $USER_ID --regid $USER_ID --clear-groups \
        "$USERS_BUILD/ravelinctl" doctor --json "$@" >$REPORT 2>/tmp/doctor.errors </dev/null
}
check "a user finds nothing either" finds 0
check "and is refused by the bus" tells "$REFUSED"
check "the settings are closed to a user" tells "/run/network/ifcfg-lte: this user may not; run the doctor as root"
check "so are other users' open files" tells "the open files of other users' processes"
check "nothing is sent to a port that somebody may have" finds 0 --ask
check "and that is said" tells "which only root can see; nothing was sent"
check "the daemon is undisturbed" is_alive

# A policy that opens the daemon, which the bus takes up by itself.
cp $POLICY /tmp/closed.conf
sed -i 's|<deny |<allow |' $POLICY
is_refused() {
    doctor
    tells "$REFUSED"
}
is_let_through() {
    ! is_refused
}
check "the bus takes up an open policy" wait_for 20 is_let_through
check "an open policy" finds 3 policy-call policy-own policy-signal
cp /tmp/closed.conf $POLICY
check "the bus takes up the closed one" wait_for 20 is_refused
check "nothing is found any more" finds 0

# A bus that goes by other files than those of the board.
kill $DAEMON $BUS
wait $DAEMON $BUS 2>/dev/null
sed 's|<deny |<allow |' "$REPOSITORY/tests/e2e/system_bus.conf" >/tmp/open.conf
start_bus /tmp/open.conf || fail "the bus doesn't start"
unset RAVELIN_BUS_ADDRESS
start_doctors_daemon
check "a policy that isn't in force" finds 3 policy-not-in-force
