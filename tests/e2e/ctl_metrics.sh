#!/bin/bash
# ravelinctl metrics on a board: a real log that is rotated, copied and packed, files that are damaged or in the way, and
# what the daemon's own word of itself is worth.
. "$REPOSITORY/tests/e2e/e2e.bash"

mkdir -p /tmp/files
OUTPUT=/tmp/files/ravelin.prom
STATE_FILE=/tmp/files/metrics.state

# writes STATUS [ARGUMENT]...: the tool ends so. What it wrote is for "told".
writes() {
    local wanted=$1 status=0
    shift
    "$BUILD/ravelinctl" metrics --folder /tmp/files --output $OUTPUT "$@" >/tmp/ctl.out 2>/tmp/ctl.err || status=$?
    [ $status -eq "$wanted" ] || { echo "status $status" && cat /tmp/ctl.out /tmp/ctl.err && return 1; }
}
writes_to() {
    local OUTPUT=$1
    shift
    writes "$@"
}
told() {
    grep -qxF -- "$1" $OUTPUT || { cat $OUTPUT && return 1; }
}
complained() {
    grep -qF -- "$1" /tmp/ctl.err || { cat /tmp/ctl.err && return 1; }
}
not_counted() {
    ! grep -q _total $OUTPUT
}
# outage NAME HOUR: a log of its own, with a modem that is mute until its reset.
outage() {
    cat >"$1" <<LOG
0$2:00:01.0 network_daemon/main.cpp:main:82:THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 202611221315
0$2:00:05.0 network_daemon/cellular_identify.cpp:CheckDevType:129:[OTA] m_ModuleName = EG25 
0$2:03:34.3 network_daemon/cellular_sim.cpp:CheckIfSimCardReady:156:CheckIfSimCardReady: SIM is not ready!
0$2:03:34.3 network_daemon/cellular_task.cpp:Task:143:Check connection. offline 1/10 times
0$2:03:56.3 network_daemon/cellular_task.cpp:Task:137:No response! Reset device...
LOG
}
resets() {
    told "ravelin_resets_total{kind=\"hard\",reason=\"modem-mute\"} $1"
}

check "without a log" writes 0
check "the file isn't there" told 'ravelin_status_verdict{verdict="missing"} 1'
check "nothing is counted" not_counted
check "it is readable for all" test "$(stat -c %a $OUTPUT)" = 644

outage /tmp/log 1
check "a log" writes 0 --state $STATE_FILE /tmp/log
check "a reset" resets 1
check "the model" told 'ravelin_modem_info{model="EG25"} 1'
check "the outage lasts" told 'ravelin_outage_active{cause="modem-mute"} 1'
check "and isn't counted" told 'ravelin_outages_total{cause="modem-mute"} 0'
check "again" writes 0 --state $STATE_FILE /tmp/log
check "counts nothing twice" resets 1

# As logrotate does it: copied, cut short, packed.
cp /tmp/log /tmp/log.1
touch -d '-1 hour' /tmp/log.1
: >/tmp/log
check "a new log, still empty" writes 0 --state $STATE_FILE /tmp/log /tmp/log.1
check "the count stays" resets 1
gzip /tmp/log.1
touch -d '-1 hour' /tmp/log.1.gz
outage /tmp/log 2
check "a new log beside the packed one" writes 0 --state $STATE_FILE /tmp/log.1.gz /tmp/log
check "both count" resets 2
check "the former outage has ended" told 'ravelin_outages_total{cause="modem-mute"} 1'
rm /tmp/log.1.gz
check "the former one is gone" writes 0 --state $STATE_FILE /tmp/log
check "and still counts" resets 2
check "no log at all" writes 0 --state $STATE_FILE /tmp/none
check "which is said" complained /tmp/none
check "and shown" told 'ravelin_log_readable 0'
check "and the counters stay" resets 2

# What others put there
head -c 40 $STATE_FILE >/tmp/torn
cp /tmp/torn $STATE_FILE
check "a torn state" writes 0 --state $STATE_FILE /tmp/log
check "is said" complained "is damaged: the counters begin anew"
check "and replaced" resets 1
check "so that the next run has it" writes 0 --state $STATE_FILE /tmp/log
check "without a word" test ! -s /tmp/ctl.err
rm $STATE_FILE
ln -s /etc/passwd $STATE_FILE
cp /etc/passwd /tmp/passwd
check "a link as the state" writes 1 --state $STATE_FILE /tmp/log
check "is said" complained "it is a symbolic link and no plain file"
check "isn't followed" cmp /etc/passwd /tmp/passwd
check "and keeps nobody from the metrics" resets 1
rm $OUTPUT
ln -s /tmp/victim $OUTPUT
check "a link in the way" writes 1 /tmp/log
check "isn't followed" test ! -e /tmp/victim
rm $OUTPUT
cp /tmp/log /tmp/log.before
check "the log in the place of the output" writes_to /tmp/log 2 /tmp/log
check "stays as it was" cmp /tmp/log /tmp/log.before
check "the same for the state" writes 2 --state /tmp/log /tmp/log
check "a device as the output" writes_to /dev/null 1 /tmp/log
check "stays one" test -c /dev/null
mkfifo /tmp/pipe
check "a pipe as a log isn't waited for" writes 0 /tmp/pipe
check "which is said" complained "isn't a file"
check "no folder for the output" writes_to /tmp/nowhere/x.prom 1
check "which is said" complained "No such file or directory"

mkdir /tmp/full
if mount -t tmpfs -o size=4k none /tmp/full 2>/dev/null; then
    echo former >/tmp/full/x.prom
    check "a full disk" writes_to /tmp/full/x.prom 1 /tmp/log
    check "leaves the former file" grep -qx former /tmp/full/x.prom
    check "and nothing else" test "$(ls -A /tmp/full)" = x.prom
    umount /tmp/full
fi

if command -v promtool >/dev/null; then
    {
        printf 'Online=TRUE\nCSQ=20\nCEREG=1\nRetryTimes=1\nCarrier="a\\b"c"\nTempture=38\nNetwork="LTE"\nUptime=00:01:00\n'
        echo "Now='$(LC_ALL=C date '+%a %b %e %H:%M:%S %Y')'"
    } >/tmp/files/ravelin_status
    check "a board online" writes 0 --identity /tmp/log
    check "its words" told 'ravelin_modem_info{model="EG25",operator="a\\b\"c"} 1'
    said=$(promtool check metrics <$OUTPUT 2>&1) || fail "promtool: $said"
    check "promtool finds no fault" test -z "$said"
fi
