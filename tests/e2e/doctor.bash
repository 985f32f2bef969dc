# A board on which the doctor finds nothing, and words about what it finds. To be sourced after e2e.bash.

BUS_SOCKET=/run/dbus/system_bus_socket # where everybody looks for the system bus
DOCTOR_LIMIT_SECONDS=120               # it takes some by itself, where it waits for the bus in vain
REPORT=/tmp/doctor.json

# start_doctors_board: bus with its policy, modem, settings, service, firmware tool, and the daemon.
start_doctors_board() {
    mkdir -p /run/dbus /etc/dbus-1/system.d /etc/ravelin /etc/default /etc/ld.so.conf.d /opt/helpers
    cp "$REPOSITORY/packaging/board/busglue.conf" /etc/dbus-1/system.d/
    sed 's|/tmp/system.d|/etc/dbus-1/system.d|' "$REPOSITORY/tests/e2e/system_bus.conf" >/etc/dbus-1/private.conf
    [ -e /usr/share/dbus-1/system.conf ] || cp /etc/dbus-1/private.conf /etc/dbus-1/system.conf
    start_bus /etc/dbus-1/private.conf || fail "the bus doesn't start"
    unset RAVELIN_BUS_ADDRESS
    start_modem || fail "the modem doesn't start"
    write_settings "ENABLE=true" "APN=''"
    chmod 0640 $SETTINGS
    chmod 0750 /run/network
    cp $SETTINGS /etc/ravelin/ifcfg-lte
    chmod 0600 /etc/ravelin/ifcfg-lte
    cp $SETTINGS /tmp/settings
    cp "$REPOSITORY/packaging/init/ravelin-prepare" "$REPOSITORY/packaging/init/ravelin-supervise" \
        "$REPOSITORY/packaging/board/QFirehose" /opt/helpers/
    ln -s "$BUILD/ravelin-mobile" /opt/ravelin-mobile # a script's settings have no blanks
    sed "s|^DAEMON=.*|DAEMON=/opt/ravelin-mobile|; s|^HELPERS=.*|HELPERS=/opt/helpers|" \
        "$REPOSITORY/packaging/init/ravelin-mobile" >/etc/init.d/S85ravelin-mobile
    chmod 0755 /etc/init.d/S85ravelin-mobile /opt/helpers/*
    cp "$REPOSITORY/packaging/init/ravelin-mobile.default" /etc/default/ravelin-mobile
    echo "$BUILD" >/etc/ld.so.conf.d/board.conf # where this board has its bus library
    install_wrapped_tool succeed
    chmod 0755 $TOOL_FOLDER $TOOL_FOLDER/QFirehose*
    umask 022
    grep -q ^nobody: /etc/passwd || echo "nobody:x:65534:65534:nobody:/:/bin/false" >>/etc/passwd
    start_doctors_daemon
}

# The pipe is opened by a thread of its own, while the modem's port may be open already.
reads_pipe() {
    [ -n "$(find "/proc/$DAEMON/fd" -lname '*/ravelin_fifo' 2>/dev/null)" ]
}
start_doctors_daemon() {
    start_daemon
    await_log 30 "open device  $MODEM_PORT  ok!"
    wait_for 30 reads_pipe || fail "the daemon doesn't read its pipe"
}

# doctor [OPTION]...: its report is in $REPORT; the status is its own, or 124 when it doesn't end.
doctor() {
    timeout $DOCTOR_LIMIT_SECONDS "$BUILD/ravelinctl" doctor --json "$@" >$REPORT 2>/tmp/doctor.errors </dev/null
}

# finds STATUS WORD...: these are found, and no others, in the order of the alphabet. A word may also be an option, or a
# variable of its environment.
finds() {
    local wanted_status=$1 wanted="" word found status=0
    local -a options=() variables=()
    shift
    for word in "$@"; do
        case $word in
        --*) options+=("$word") ;;
        *=*) variables+=("$word") ;;
        *) wanted+="$word " ;;
        esac
    done
    (
        [ ${#variables[@]} -eq 0 ] || export "${variables[@]}"
        doctor "${options[@]}"
    ) || status=$?
    found=$(grep -o '"check":"[^"]*"' $REPORT | cut -d '"' -f 4 | sort | tr '\n' ' ')
    [ "$found" = "$wanted" ] && [ $status -eq "$wanted_status" ] && [ ! -s /tmp/doctor.errors ] && return
    echo "found with status $status: $found"
    cat $REPORT /tmp/doctor.errors
    return 1
}

# The last report has TEXT.
tells() {
    grep -qF -- "$1" $REPORT
}
# Nothing was left out, but for what takes another user.
sees_all() {
    ! grep -o '"unseen":\["[^]]*' $REPORT | grep -v "whether the bus keeps a user from the daemon"
}

# ends_with STATUS OPTION...
ends_with() {
    local wanted=$1 status=0
    shift
    doctor "$@" || status=$?
    [ $status -eq "$wanted" ]
}
# It ends by itself, with one of its statuses and a report.
ends_in_time() {
    local status=0
    doctor || status=$?
    case $status in
    0 | 1 | 3) grep -q '^{"worst":.*}$' $REPORT && [ ! -s /tmp/doctor.errors ] ;;
    *) false ;;
    esac
}
ends_with_count() {
    "$BUILD/ravelinctl" doctor --quiet | tail -n 1 | grep -qxF -- "$1"
}

# change FILE LINE...: the lines come after the others; restore brings the settings back.
change() {
    local file=$1
    shift
    printf '%s\n' "$@" >>"$file"
}
restore() {
    cat /tmp/settings >"$1"
}

# All files of the board that somebody could have written to.
everything() {
    find /run /etc /ubi /media /sys/class/gpio /opt /dev -not -path '/run/udhcpd*' -printf '%p %M %U %G %s %T@ %C@\n' 2>/dev/null |
        grep -v '^/dev/pts\|^/dev/null\|^/dev/ptmx\|^/dev/tty ' | sort
}

no_controls() {
    ! LC_ALL=C grep -n "[$(printf '\001-\010\013-\037\177')]" "$1"
}
