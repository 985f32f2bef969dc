#!/bin/bash
# What starts the daemon and keeps it running where systemd doesn't: the init script, ravelin-supervise, and ravelin-prepare,
# which the systemd unit runs too. With a daemon that ends as the test says, a clock that the test sets, and a sleep that
# leaves a note instead; under the shells and tools of Debian and of BusyBox.
. "$REPOSITORY/tests/e2e/e2e.bash"

HELPERS=/tmp/helpers
STATE=/run/ravelin-supervise
NETWORK=/run/network
DEFAULTS=/etc/default/ravelin-mobile
SOURCE=/etc/ravelin/ifcfg-lte
GO_ON=/tmp/go_on

# The doubles: the shortest way for each, first in the PATH
mkdir -p $HELPERS /tmp/doubles /etc/default /etc/ravelin
double() {
    { echo '#!/bin/sh' && cat; } >"$1"
    chmod +x "$1"
}
REAL_SLEEP=$(command -v sleep)
double /tmp/doubles/sleep <<X2
case \$1 in
0.* | 1 | 2) ;; # a look from time to time
*) echo "\$1" >>/tmp/slept ;;
esac
exec $REAL_SLEEP 0.05
X2
double /tmp/doubles/logger <<'X2'
echo "$@" | sed 's/.* -- //' >>/tmp/said
X2
# Ends as the first line of /tmp/plan says, which it takes away; without one it stays until a signal ends it.
double /tmp/fake_daemon <<X2
echo "\$(umask) \$*" >>/tmp/runs
plan=\$(sed -n 1p /tmp/plan)
sed -i 1d /tmp/plan
case \$plan in
exit*) exit \${plan#exit } ;;
kill*) kill -\${plan#kill } \$\$ ;;
*) exec $REAL_SLEEP 1000 ;;
esac
X2
cp "$REPOSITORY/packaging/board/QFirehose" "$REPOSITORY"/packaging/init/ravelin-{prepare,supervise} $HELPERS

init() {
    "$REPOSITORY/packaging/init/ravelin-mobile" "$@" >/tmp/init.out 2>&1
}
init_ends() {
    local wanted=$1 result=0
    shift
    init "$@" || result=$?
    [ $result -eq "$wanted" ]
}
said() {
    grep -qF -- "$1" /tmp/said
}
await_said() {
    wait_for 30 said "$1" || fail "nobody said: $1; but: $(cat /tmp/said)"
    say "said: $1"
}
runs_of_the_daemon() {
    grep -c . /tmp/runs
}
runs_are() {
    [ "$(runs_of_the_daemon)" -eq "$1" ]
}
runs_now() {
    init status && grep -q "runs as process" /tmp/init.out
}
start_anew() {
    rm -rf $STATE $NETWORK /tmp/slept
    mkdir $NETWORK
    for file in /tmp/said /tmp/runs /tmp/plan /tmp/slept; do
        : >$file
    done
    rm -f $GO_ON
    echo 1000.50 1.00 >/tmp/uptime
}

go_through() {
    start_anew
    printf "exit 255\n%.0s" 1 2 3 4 5 6 >/tmp/plan
    printf "%s\n" "exit 0" "kill SEGV" >>/tmp/plan
    umask 0
    check "starts" init start
    umask 022
    check "and goes on after each end" wait_for 30 runs_are 9
        check "the delay grows up to its limit" test "$(tr '\n' ' ' </tmp/slept)" = "5 10 20 40 80 160 300 300 "
    check "the daemon gets its device, its log and its options, and a umask" \
        test "$(sort -u /tmp/runs)" = "0022 -d /dev/ttyTEST -DL /tmp/ravelin.log -Dl 7"
    for line in "ended with status 255: no settings, no bus, or the port is lost, after 0 seconds; the next start is in 5" \
        "ended with status 0: a modem that it doesn't know" "ended by SIGSEGV: the product doesn't allow this module"; do
        check "the log says: $line" said "$line"
    done
    check "its log is not for all" test "$(stat -c %a /tmp/ravelin.log)" = 640
    check "it runs" wait_for 30 runs_now
    check "a second start does nothing" init start
    check "in words" grep -q "runs already" /tmp/init.out
    check "at all" runs_are 9

    : >/tmp/slept
    printf "%s\n" "exit 255" "exit 255" >/tmp/plan
    echo 1600.50 1.00 >/tmp/uptime
    kill "$(cat $STATE/daemon.pid)"
    await_said "the daemon was stopped after 600 seconds"
    check "a daemon that is asked to end is started again at once" wait_for 30 runs_are 12
    check "and short runs count anew" test "$(tr '\n' ' ' </tmp/slept)" = "5 10 "
    check "it runs" wait_for 30 runs_now
    : >/tmp/slept
    echo 2200.50 1.00 >/tmp/uptime
    kill -KILL "$(cat $STATE/daemon.pid)"
    check "and so after a long run" wait_for 30 runs_are 13
    check "whatever ended it" said "the daemon ended by signal 9, after 600 seconds; the next start is in 5 seconds"
    check "with the shortest delay" test "$(cat /tmp/slept)" = 5

    check "it runs" wait_for 30 runs_now
    check "stops" init stop
    check "and is stopped" init_ends 3 status
    check "a stop of what is stopped does nothing" init stop
    check "no delay is left" test ! -e $STATE/delay
    echo $$ >$STATE/supervisor.pid
    check "an old number that is another's now" init_ends 3 status
    check "keeps nobody from starting" init start
    check "it runs" wait_for 30 runs_now
    check "restarts" init restart
    check "it runs" wait_for 30 runs_now
    check "all in all" runs_are 15

    rm -f $TOOL_FOLDER/QFirehose.ran
    FAKE_QFIREHOSE="wait=$GO_ON succeed" $TOOL_FOLDER/QFirehose -f $TOOL_FOLDER >/tmp/flash.out 2>&1 &
    local flash=$!
    wait_for 30 flash_runs || fail "the flash doesn't begin"
    check "a stop is refused while a flash runs" init_ends 1 stop
    check "in words: $(cat /tmp/init.out)" grep -q "a flash of the modem is in progress, process" /tmp/init.out
    check "so is a restart" init_ends 1 restart
    check "it runs, and the flash is reported" runs_now
    check "beside it" grep -q "a flash of the modem is in progress" /tmp/init.out
    kill -KILL "$(cat $STATE/daemon.pid)"
    await_said "waiting for its end"
    check "a start waits" init status
    check "as is reported" grep -q "waits for its next start" /tmp/init.out
    check "and a stop is refused" init_ends 1 stop
    check "but not one by force" init force-stop
    check "which the flash doesn't feel" flash_runs
    : >/tmp/said
    check "a start by hand" init start
    await_said "waiting for its end"
    check "waits too" runs_are 15
    : >$GO_ON
    check "until the flash is over" wait_for 30 runs_are 16
    wait $flash
    check "which went well" grep -q successfully /tmp/flash.out
    check "the log says so" said "the flash has ended"
    check "it runs" wait_for 30 runs_now
    check "stops" init stop

    echo "DAEMON=/tmp/nowhere" >>$DEFAULTS
    check "a missing daemon" init_ends 1 start
    check "is named" grep -q "/tmp/nowhere is missing" /tmp/init.out
    sed -i '$d' $DEFAULTS
    check "a wrong word" init_ends 2 begin
    check "is named" grep -q '"begin"' /tmp/init.out

    # What a start makes of /run/network
    start_anew
    chmod 777 $NETWORK
    echo secret >/tmp/precious
    ln -s /tmp/precious $NETWORK/ravelin_status
    rm -f /run/precious
    echo secret >/run/precious # a second name has to be on the same file system
    ln /run/precious $NETWORK/signal_status
    mkdir $NETWORK/3630_status
    mkfifo -m 660 $NETWORK/ravelin_fifo
    echo eth0=eth0 >$NETWORK/ifstate
    (umask 0 && echo ENABLE=false >$NETWORK/ifcfg-lte)
    check "a start prepares /run/network" $HELPERS/ravelin-prepare start
    check "which isn't for all" test "$(stat -c %a $NETWORK)" = 750
    check "what others could have put there is gone" test "$(ls $NETWORK | tr '\n' ' ')" = "ifcfg-lte ifstate ravelin_fifo "
    check "as the log says" said "$NETWORK/ravelin_status is not a file of root's alone: removed"
    check "and what it led to is whole" test "$(cat /tmp/precious /run/precious | uniq)" = secret
    check "the settings stay" test "$(cat $NETWORK/ifcfg-lte)" = ENABLE=false
    check "and nobody else can write them" test "$(stat -c %a $NETWORK/ifcfg-lte)" = 644
    rm $NETWORK/ifcfg-lte
    ln -s $SOURCE $NETWORK/ifcfg-lte
    check "a link of root's to the settings" $HELPERS/ravelin-prepare start
    check "stays" test -h $NETWORK/ifcfg-lte
    rm -r $NETWORK
    check "nothing there at all" $HELPERS/ravelin-prepare start
    check "and the settings are copied" cmp $SOURCE $NETWORK/ifcfg-lte
    check "not for all to read" test "$(stat -c %a $NETWORK/ifcfg-lte)" = 640
    mv $SOURCE /tmp/source
    rm $NETWORK/ifcfg-lte
    check "without settings" $HELPERS/ravelin-prepare start
    check "the log says so" said "there are no settings"
    mv /tmp/source $SOURCE
    NETWORK_MODE=0755 $HELPERS/ravelin-prepare start
    check "another mode, if wanted" test "$(stat -c %a $NETWORK)" = 755
    rm -r $NETWORK
    : >$NETWORK
    $HELPERS/ravelin-prepare start 2>/dev/null && fail "a file in the place of the directory is no failure"
    check "a file in the place of the directory" said "$NETWORK can't be made a directory"
    rm $NETWORK

    # How the unit reports ends
    start_anew
    for end in 255 SEGV KILL ""; do
        $HELPERS/ravelin-prepare start
        $HELPERS/ravelin-prepare ended "$end"
    done
    check "the delay grows by any end" test "$(tr '\n' ' ' </tmp/slept)$(cat $STATE/delay)" = "5 10 20 40"
    check "SIGSEGV" said "the daemon ended by SIGSEGV: the product doesn't allow this module"
    check "SIGKILL" said "the daemon ended by SIGKILL"
    check "no start" said "the daemon wasn't started"
    echo nonsense >$STATE/delay
    check "a delay that is none" $HELPERS/ravelin-prepare ended 255
    check "counts as none" test "$(cat $STATE/delay)" = 5
    SERVICE_RESULT=exit-code $HELPERS/ravelin-prepare ended ""
    check "a start that failed is none either" test "$(cat $STATE/delay)" = 10
    SERVICE_RESULT=signal $HELPERS/ravelin-prepare ended ""
    check "but one that systemd has ended was stopped" test ! -e $STATE/delay
    JOURNAL_STREAM=8:1 $HELPERS/ravelin-prepare ended TERM 2>/tmp/err
    check "under systemd it speaks on standard error" grep -q "the daemon was stopped" /tmp/err
}

sed -i 's|/proc/uptime|/tmp/uptime|' $HELPERS/ravelin-prepare
install_wrapped_tool succeed
echo ENABLE=true >$SOURCE
cat >$DEFAULTS <<X2
DAEMON=/tmp/fake_daemon
HELPERS=$HELPERS
DEVICE=/dev/ttyTEST
OPTIONS="-Dl 7"
LOG=/tmp/ravelin.log
X2

PATH=/tmp/doubles:$PATH
say "Debian's shell and tools"
go_through

# The scripts' own first line names /bin/sh, so BusyBox has to be that.
mkdir /tmp/busybox
for applet in $(busybox --list | grep -xE "sh|cat|chgrp|chmod|chown|cp|dirname|grep|id|ls|mkdir|mv|rm|sed|setsid|tr"); do
    ln -s "$(command -v busybox)" "/tmp/busybox/$applet"
done
PATH=/tmp/doubles:/tmp/busybox:$PATH
for script in $HELPERS/*; do
    sed -i "1s|/bin/sh|$(command -v busybox) sh|" "$script"
done
INIT=/tmp/init
sed "1s|/bin/sh|$(command -v busybox) sh|" "$REPOSITORY/packaging/init/ravelin-mobile" >$INIT
chmod +x $INIT
init() {
    $INIT "$@" >/tmp/init.out 2>&1
}
say "BusyBox's shell and tools"
go_through

for script in ravelin-mobile ravelin-prepare ravelin-supervise; do
    check "$script has help" grep -q "^usage: $script" <("$REPOSITORY/packaging/init/$script" --help)
done
# The number is in each script, since each is installed by itself.
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$REPOSITORY/CMakeLists.txt")
for script in "$REPOSITORY"/packaging/init/ravelin-{mobile,prepare,supervise} "$REPOSITORY/packaging/board/QFirehose"; do
    check "${script##*/} has the version" grep -qF " $version" <("$script" --version | sed "s/.*)/ &/; s/) / /")
done
