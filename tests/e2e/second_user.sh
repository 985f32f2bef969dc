#!/bin/bash
# Somebody who isn't root can't make the daemon do anything over the system bus, by none of the ways that D-Bus has, nor
# take its names, nor listen, nor make it grow. The bus has the policy that D-Bus ships, and ours beside it. Runs in a
# view in which root can become somebody else.
. "$REPOSITORY/tests/e2e/e2e.bash"

USER_ID=1000
POLICY=$REPOSITORY/packaging/board/busglue.conf
POLICIES=/tmp/system.d                             # where system_bus.conf looks for it
UPGRADE=FF6AA60007000E760001010141020142030143ADF2 # message id 7
MARK=FF6AA6000900047603BAFB                        # status query with message id 9, which nobody else has
MARK_LOGGED="[RAVELIN] get ocpp msg id=9 "
DENIED="refused: org.freedesktop.DBus.Error.AccessDenied"
REPLACE_AND_DO_NOT_QUEUE=6
AS_USER="" # a word before a command, for the one who is to run it
# Taken in whole, so many bytes made the daemon grow by 60 to 90 MB.
HUGE=size=30000000 HUGE_COUNT=8
LARGEST=size=30731 LARGEST_COUNT=2000
GROWTH_LIMIT_KB=8192

# What the sanitizer keeps of freed memory would look like growth.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=1

as_user() {
    setpriv --reuid $USER_ID --regid $USER_ID --clear-groups "$@"
}
# The stranger's program for either of them; a folder above the build may be closed to others. root_sends and user_sends
# leave what it says in $SAID.
cp "$BUILD/tests/bus_stranger" /tmp/
root_sends() {
    SAID=$(/tmp/bus_stranger "$RAVELIN_BUS_ADDRESS" "$@" 2>&1)
}
user_sends() {
    SAID=$(as_user /tmp/bus_stranger "$RAVELIN_BUS_ADDRESS" "$@" 2>&1)
}
# user_gets ANSWER WORD...: that is what the stranger is answered.
user_gets() {
    local wanted=$1
    shift
    user_sends "$@"
    [ "$SAID" = "$wanted" ] || { echo "but: $SAID" && return 1; }
}

# ask_bus METHOD ARGUMENT..., as root or as the user.
ask_bus() {
    $AS_USER dbus-send --bus="$RAVELIN_BUS_ADDRESS" --print-reply --dest=org.freedesktop.DBus / \
        "org.freedesktop.DBus.$1" "${@:2}" 2>&1
}
cannot_own() {
    AS_USER=as_user ask_bus RequestName "string:$1" uint32:$REPLACE_AND_DO_NOT_QUEUE | grep -q AccessDenied
}
service_is_gone() {
    ! ask_bus GetNameOwner string:busglue.OCPP
}
is_on_the_bus() {
    NUMBER=$(ask_bus GetNameOwner string:busglue.RAVELIN | sed -n 's/.*string "\(.*\)"/\1/p')
    [ -n "$NUMBER" ]
}

# nothing_came: what root asks now is the first frame that the daemon logs. The bus keeps the order, and the stranger
# waits until it has handled what was sent.
nothing_came() {
    root_sends call busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN Message $MARK || return 1
    wait_for 15 logged "$MARK_LOGGED" || return 1
    [ "$(grep -cF "[RAVELIN] get ocpp msg" "$LOG")" -eq 1 ] && [ ! -e $TOOL_FOLDER/QFirehose.ran ]
}

memory_kb() {
    awk '$1 == "VmRSS:" { print $2 }' "/proc/$DAEMON/status"
}
# stays_small DESCRIPTION: the daemon is no larger than $before by much.
stays_small() {
    local now
    now=$(memory_kb)
    check "$1: $before KB before, $now KB after" test $((now - before)) -lt $GROWTH_LIMIT_KB
}

mkdir -p $POLICIES
cp "$POLICY" $POLICIES/
start_bus "$REPOSITORY/tests/e2e/system_bus.conf" || fail "the bus doesn't start"
start_modem --model EG21 || fail "the modem doesn't start"
write_settings "ENABLE=true" "APN=''"
install_tool succeed
start_daemon
await_log 30 "GetVendorType=6!"
check "root's daemon gets its name" is_on_the_bus

: >"$LOG"
for to in busglue.RAVELIN "$NUMBER"; do
    for interface in busglue.RAVELIN -; do
        check "a user's call to $to, interface $interface, is refused" \
            user_gets "$DENIED" call "$to" /busglue/RAVELIN $interface Message $UPGRADE
    done
    for interface in busglue.ravelin busglue.RAVELIN other.one; do
        check "a user's signal to $to of $interface is refused" \
            user_gets "$DENIED" signal "$to" /busglue/ravelin $interface reset $UPGRADE
    done
    check "a user can't ask $to for its description" \
        user_gets "$DENIED" call "$to" /busglue/RAVELIN org.freedesktop.DBus.Introspectable Introspect $UPGRADE
done
check "a user's signal to all is sent" user_gets sent signal - /busglue/ravelin busglue.ravelin reset $UPGRADE
check "but nothing has come, and the tool has not run" nothing_came

for name in busglue.RAVELIN busglue.OCPP busglue.OTHER; do
    check "a user can't own $name" cannot_own $name
done

# Answers hold the numbers of SIM and modem.
as_user timeout 30 dbus-monitor --address "$RAVELIN_BUS_ADDRESS" eavesdrop=true >/tmp/ear 2>&1
check "a user can't watch the bus" grep -q "unable to enable new-style monitoring.*AccessDenied" /tmp/ear
check "nor listen to what is for others" grep -q "rejected attempt to call AddMatch" /tmp/ear

start_watch
for way in "call busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN Message" \
    "call $NUMBER /busglue/RAVELIN - Message" \
    "signal - /busglue/ravelin busglue.ravelin reset" \
    "signal busglue.RAVELIN /busglue/ravelin busglue.ravelin reset" \
    "signal $NUMBER /busglue/ravelin busglue.ravelin reset"; do
    : >"$LOG"
    # shellcheck disable=SC2086 # words
    check "root's $way is taken" root_sends $way $UPGRADE
    await_log 15 "[OTA] run ota task"
    await_heard 30 "upgrade succeeded"
    await_log 15 "[OTA] reset ota upgrade flag"
done
check "by the tool, too" test "$(wc -l <$TOOL_FOLDER/QFirehose.ran)" -eq 5
rm $TOOL_FOLDER/QFirehose.ran

before=$(memory_kb)
: >"$LOG"
check "a user's flood of signals to all is sent" \
    user_gets sent signal - /busglue/ravelin busglue.ravelin reset $HUGE $HUGE_COUNT
check "one to the daemon is refused" \
    user_gets "$DENIED" signal "$NUMBER" /busglue/ravelin other.one reset $HUGE $HUGE_COUNT
check "one of frames too" user_gets "$DENIED" signal "$NUMBER" /busglue/ravelin busglue.ravelin reset $LARGEST $LARGEST_COUNT
check "nothing has come of it" nothing_came
stays_small "no growth"

check "root may send a flood of frames" \
    root_sends signal - /busglue/ravelin busglue.ravelin reset $LARGEST $LARGEST_COUNT
stays_small "no growth by it"
for way in - busglue.RAVELIN; do
    root_sends signal $way /busglue/ravelin busglue.ravelin reset $HUGE $HUGE_COUNT
    check "a flood of huge messages costs the daemon its place on the bus for a moment" wait_for 20 is_on_the_bus
done
: >"$LOG"
check "then it goes on" wait_for 20 nothing_came
stays_small "no growth by that either"
open_before=$(descriptors)
check "open files that root sends along, and are not to be kept" root_sends call busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN Message $MARK 20 \
    descriptor
check_descriptors "$open_before"
check "it is the same process" is_alive

# A board whose service isn't root's, as docs/security.md has it.
kill $WATCH
check "root's service ends" wait_for 10 service_is_gone
cat >$POLICIES/service.conf <<'X'
<busconfig>
  <policy user="user">
    <allow own="busglue.OCPP"/>
    <allow send_destination="busglue.RAVELIN" send_type="method_call"/>
  </policy>
</busconfig>
X
ask_bus ReloadConfig >/dev/null || fail "the bus doesn't read its policies again"
cp "$BUILD/ocpp_peer" "$BUILD"/libbusglue.so* /tmp/
as_user env LD_LIBRARY_PATH=/tmp /tmp/ocpp_peer watch >$HEARD 2>&1 &
check "the service of that user gets its name" wait_for 10 ask_bus GetNameOwner string:busglue.OCPP
: >"$LOG"
check "and may ask" as_user env LD_LIBRARY_PATH=/tmp /tmp/ocpp_peer upgrade EG21 QFirehose firmware
await_heard 30 "upgrade succeeded"
await_log 15 "[OTA] get ocpp 4g status ok" # which is its reply
check "but not own the daemon's name" cannot_own busglue.RAVELIN
