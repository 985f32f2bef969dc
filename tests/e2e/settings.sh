#!/bin/bash
# Without settings there is nothing to do: the run ends at once, whatever is wrong with the file.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_bus || fail "the bus doesn't start"

refused() {
    say "$1"
    start_daemon -c "$2"
    await_end 10 255
    check "that is reported" logged "config $2 don't exist"
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

# The repository lies on a read-only mount, which stops root too.
read_only=$REPOSITORY/tests/data/ifcfg-lte
check "a file can be read" grep -q APN=internet "$read_only"
refused "but not written" "$read_only"
check "on standard error, too" printed "Open ini file $read_only error!"
cp "$read_only" $SETTINGS
start_daemon -d /dev/nothing
await_log 10 "wait device  /dev/nothing"
kill "$DAEMON"
await_end 15 143
say "where it can be written, it is taken"

{
    printf '#'
    head -c 5000 /dev/zero | tr '\0' x
    printf '\nENABLE=true\n'
} >/run/network/ifcfg-lte
say "an over-long remark in front of a good line"
start_daemon -d /dev/nothing
await_log 10 "wait device  /dev/nothing"
check "the daemon goes on" is_alive
