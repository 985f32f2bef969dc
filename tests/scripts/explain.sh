#!/bin/bash
# explain.sh REPOSITORY BUILD: ravelinctl explain as people start it: what it takes, how it ends, what it prints and what it doesn't.
set -u
repository=$1
tool=$2/ravelinctl
folder=$(mktemp -d)
follower=
trap '[ -z "$follower" ] || kill "$follower"; rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0
check() {
    local what=$1
    shift
    if ! "$@"; then
        echo "FAILED: $what"
        failures=$((failures + 1))
    fi
}
# ends STATUS ARGUMENT...: so does the tool
ends() {
    local wanted=$1 status=0
    shift
    "$tool" explain "$@" >out 2>err || status=$?
    [ $status -eq "$wanted" ] || { echo "status $status" && cat err && return 1; }
}
says() { grep -qF -- "$1" out || { echo "no \"$1\" in:" && head -n 20 out && return 1; }; }
complains() { grep -q "^ravelinctl explain: .*$1" err || { cat err && return 1; }; }
# Nothing but text comes through, whatever the log holds.
is_plain() { ! LC_ALL=C grep -q '[^[:print:][:space:]]' out; }

awk -v days=2 -f "$repository/tests/scripts/bad_month.awk" >LOG
printf '23:59:00.0 network_daemon/main_fifo.cpp:thread_function_pipe:7:udhcpc wwan0 nak \033[31m\a\r\n' >>LOG

check "a log" ends 0 LOG
check "its ledger" says "23 x modem-mute"
check "no control characters" is_plain
check "for programs" ends 0 --json LOG
check "an object" says '"outages": ['
check "no control characters in it" is_plain
check "a log without an outage" eval 'head -n 3 LOG >start; ends 0 start && says "No outage, as far as the log shows."'
check "a log of something else" eval 'echo hello >other; ends 0 other && says "No line of the daemon was found."'
check "an empty log" eval ': >empty; ends 0 --json empty'
check "standard input" eval 'ends 0 LOG && mv out wanted && ends 0 - <LOG && sed -i "s/-:/LOG:/" out && cmp wanted out'
check "a moment" ends 0 --at 03:06:30 LOG
check "its outage" says "the modem didn't answer"
check "a quiet moment" eval 'ends 0 --at 02:30 LOG && says "No outage at 02:30"'

check "no file" eval 'ends 1 nosuch && complains "nosuch: No such file"'
check "a folder" eval 'ends 1 . && complains "directory"'
check "no such day" eval 'ends 1 --date 2026-02-31x LOG && complains "is no day"'
check "no such time" eval 'ends 2 --at 99 LOG && complains "--at wants a time"'
check "no such option" ends 2 --nosuch LOG
check "follow and json" ends 2 --json --follow LOG

# What was rotated away, in any order and packed, is the same story.
head -n 1000 LOG >log.1
tail -n +1001 LOG >log
gzip -c log.1 >log.1.gz
check "rotated" eval 'ends 0 log log.1.gz && sed "s/^ *[^ ]*:[0-9]*  //; s/(LOG:[0-9]*)//" wanted >w &&
    sed "s/^ *[^ ]*:[0-9]*  //; s/(log[^ ]*:[0-9]*)//" out >o && cmp w o'
head -c 3000 log.1.gz >torn.gz
check "a packed log that was cut is told as far as it goes" eval 'ends 1 torn.gz && complains "torn.gz: is damaged after line" && says Ledger'

# Live.
head -n 8 LOG >live
"$tool" explain --follow live >out 2>err &
follower=$!
for ((i = 0; i < 100; ++i)); do
    grep -q "^now:" out && break
    sleep 0.1
done
sed -n '9,60p' LOG >>live
for ((i = 0; i < 100; ++i)); do
    grep -q "a script asked for a reset" out && break
    sleep 0.1
done
check "what comes while it follows" says "a script asked for a reset"
kill "$follower"
wait "$follower" 2>/dev/null
follower=

[ $failures -eq 0 ] && echo "all as expected"
[ $failures -eq 0 ]
