#!/bin/bash
# Without settings there is nothing to do: the run ends at once, whatever is wrong with the file.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_bus || fail "the bus doesn't start"

refused() {
    say "$1"
    start_daemon -c "$2"
    await_end 10 255
    check "that is told" logged "config $2 don't exist"
}

refused "a missing file" /run/network/ifcfg-lte
: >/run/network/ifcfg-lte
refused "an empty file" /run/network/ifcfg-lte
printf 'enable=true\n# APN=x\n\n' >/run/network/ifcfg-lte
refused "a file without one line that counts" /run/network/ifcfg-lte
head -c 5000 /dev/zero | tr '\0' A >/run/network/ifcfg-lte
refused "one line without an end" /run/network/ifcfg-lte
refused "a directory" /run/network
{
    printf 'ENABLE=true\nAPN='
    head -c 5000 /dev/zero | tr '\0' x
} >/run/network/ifcfg-lte
refused "one value of 5000 characters" /run/network/ifcfg-lte

# For root too, whom no mode of a file stops: settings that can be read but not written.
write_settings "ENABLE=true" "APN=internet"
mount --bind "$SETTINGS" "$SETTINGS" && mount -o remount,bind,ro "$SETTINGS" || fail "no read-only file"
check "the file can be read" grep -q APN=internet "$SETTINGS"
refused "a file that can't be written" "$SETTINGS"
check "standard error tells it, too" printed "Open ini file $SETTINGS error!"
umount "$SETTINGS"

{
    printf '#'
    head -c 5000 /dev/zero | tr '\0' x
    printf '\nENABLE=true\n'
} >/run/network/ifcfg-lte
say "an over-long remark in front of a good line"
start_daemon -d /dev/nothing
await_log 10 "wait device  /dev/nothing"
check "the daemon goes on" is_alive
