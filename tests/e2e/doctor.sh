#!/bin/bash
# ravelinctl doctor on a board that works, and on that board with one thing broken at a time: exactly that is found. It
# changes nothing, and waits for nothing.
. "$REPOSITORY/tests/e2e/e2e.bash"
. "$REPOSITORY/tests/e2e/doctor.bash"

start_doctors_board
check "a healthy board: nothing is found" finds 0
check "and everything could be seen" sees_all
check "the port is the daemon's" tells "held by the daemon, process $DAEMON (ravelin-mobile)"
check "the pipe is read by it" tells "ravelin_fifo is read by process $DAEMON (ravelin-mobile)"
check "the name is its own" tells "busglue.RAVELIN is owned by the daemon, process $DAEMON (ravelin-mobile)"
check "the text form ends with the count" ends_with_count "0 errors, 0 warnings, 0 notes"
check "a port that is held isn't asked" finds 0 --ask
check "and it says so" tells "nothing was sent"
check "the daemon is undisturbed" is_alive

# Beside the running daemon.
sleep infinity 7<>$MODEM_PORT &
other=$!
check "a second reader at the port" finds 3 port-held
check "is named" tells "process $other (sleep)"
kill $other
wait $other 2>/dev/null
cp "$(command -v sleep)" /tmp/ravelin-mobile
/tmp/ravelin-mobile infinity &
other=$!
check "a second daemon" finds 3 second-daemon
check "is named, too" tells "process $other (ravelin-mobile)"
kill $other
wait $other 2>/dev/null

check "another bus for the daemon" finds 1 bus-other RAVELIN_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket
change $SETTINGS 'apn=no' 'USERNAME=u"x'
check "lines of the settings" finds 1 settings-differ settings-dropped settings-quote
restore $SETTINGS
printf 'ENABLE=true\nUSERNAME=u\rATD123;\n' >$SETTINGS
check "a command in the settings" finds 3 settings-control settings-differ
restore $SETTINGS
mv /sys/class/gpio/gpio121 /tmp/
check "a pin that isn't there" finds 3 pin-missing
mv /tmp/gpio121 /sys/class/gpio/
chmod 0777 /run/network
check "a folder that is open to all" finds 3 folder-open
chmod 0750 /run/network
mv /etc/init.d/S85ravelin-mobile /tmp/
check "no service" finds 3 daemon-missing service-missing
mv /tmp/S85ravelin-mobile /etc/init.d/
mv $TOOL_FOLDER/QFirehose.real $TOOL_FOLDER/QFirehose.other
check "a wrapper around nothing" finds 1 upgrade-no-tool
mv $TOOL_FOLDER/QFirehose.other $TOOL_FOLDER/QFirehose.real
mv /etc/dbus-1/system.d/busglue.conf /tmp/
check "no policy of ours" finds 3 policy-missing
mv /tmp/busglue.conf /etc/dbus-1/system.d/
rm /run/network/ravelin_fifo
echo "SoftReset:1" >/run/network/ravelin_fifo
check "a plain file in the pipe's place" finds 3 pipe-no-pipe
rm /run/network/ravelin_fifo
check "a pipe again" wait_for 20 test -p /run/network/ravelin_fifo
check "and a healthy board" finds 0

# Without the daemon.
kill $DAEMON
wait $DAEMON 2>/dev/null
check "a pipe that nobody reads, and no daemon" finds 1 daemon-down pipe-unread
rm /run/network/ravelin_fifo
before=$(everything)
check "no daemon" finds 0 daemon-down
check "the doctor changes nothing" test "$(everything)" = "$before"
line_before=$(stty -g <$MODEM_PORT)
check "the modem answers" finds 0 daemon-down --ask
check "with OK" tells "$MODEM_PORT answers AT with OK"
check "the line is as it was" test "$(stty -g <$MODEM_PORT)" = "$line_before"
check "and nothing else has changed" test "$(everything)" = "$before"
modem "mute on"
check "a mute modem" finds 3 daemon-down port-silent --ask
modem "mute off"
sleep infinity 7<>$MODEM_PORT &
other=$!
check "a port that somebody else has" finds 3 daemon-down port-held --ask
check "isn't asked" tells "nothing was sent"
kill $other
wait $other 2>/dev/null

# A board that holds it back, or up.
echo "ENABLE=true" >/tmp/ifcfg
for path in $SETTINGS /etc/default/ravelin-mobile /ubi/conf/network/network.json /etc/ravelin/ifcfg-lte; do
    [ ! -e "$path" ] || mv "$path" /tmp/kept
    mkfifo "$path"
    check "a pipe as $path" ends_in_time
    rm "$path"
    ln -s "$path" "$path"
    check "a link to itself as $path" ends_in_time
    rm "$path"
    truncate -s 1T "$path"
    check "a terabyte as $path" ends_in_time
    head -c 2000000 /dev/urandom >"$path"
    check "noise as $path" ends_in_time
    rm "$path"
    [ ! -e /tmp/kept ] || mv /tmp/kept "$path"
done
printf '\033[2J=\001\nAPN=\033]0;x\007\n' >$SETTINGS
"$BUILD/ravelinctl" doctor >/tmp/doctor.out
check "no control character comes through" no_controls /tmp/doctor.out
restore $SETTINGS
kill -STOP $BUS
check "a bus that doesn't answer" finds 3 bus-missing daemon-down
check "is given up" tells "it doesn't answer"
kill -CONT $BUS
kill $BUS
wait $BUS 2>/dev/null
check "no bus" finds 3 bus-missing daemon-down
kill $MODEM
wait $MODEM 2>/dev/null
rm -f $MODEM_PORT
check "no port either" finds 3 bus-missing daemon-down port-missing

# An image.
mkdir -p /tmp/image/etc
check "an empty image" ends_with 3 --root /tmp/image
check "no image" ends_with 2 --root /tmp/none
