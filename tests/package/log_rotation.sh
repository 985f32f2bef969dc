#!/bin/bash
# The rotation of the daemon's own log, with the daemon writing to it: what it wrote is kept, what follows begins at the
# start of the file, with no hole before it, and the daemon doesn't notice.
. "$REPOSITORY/tests/e2e/e2e.bash"
LOG=/run/log/ravelin-mobile.log
mkdir /run/log
sed "s,^/var/log,${LOG%/*}," "$REPOSITORY/packaging/logrotate/ravelin-mobile" >/run/logrotate.conf
chmod 644 /run/logrotate.conf

rotate() {
    logrotate --state /run/logrotate.state --force /run/logrotate.conf
}

ask() {
    echo "SoftReset:1" >/run/network/ravelin_fifo
}

times_logged() {
    grep -acF -- "[FIFO]SoftReset:1" "$1"
}

logged_times() {
    [ "$(times_logged "$LOG")" -eq "$1" ]
}

check "logrotate takes the file as it stands" logrotate --debug "$REPOSITORY/packaging/logrotate/ravelin-mobile"

start_bus || fail "the bus doesn't start"
write_settings ENABLE=true
start_daemon -d /dev/none
wait_for 60 test -p /run/network/ravelin_fifo || fail "no pipe"
ask
await_log 60 "[FIFO]SoftReset:1"
size=$(stat -c %s "$LOG")

check "a rotation" rotate
check "leaves the daemon alone" is_alive
check "keeps what was written" test "$(gzip -dc "$LOG.1.gz" | grep -acF "[FIFO]SoftReset:1")" -eq 1
ask
check "what follows is in the log" wait_for 60 logged_times 1
check "from its start, with no hole" test "$(tr -d '\0' <"$LOG" | wc -c)" -eq "$(stat -c %s "$LOG")"
check "which is shorter than what was there" test "$(stat -c %s "$LOG")" -lt "$size"
