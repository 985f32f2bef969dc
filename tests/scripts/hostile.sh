#!/bin/bash
# hostile.sh REPOSITORY BUILD: what ravelinctl makes of files that nobody would call a log. It ends with the status that its help
# names, in little memory, and a sanitizer that is built in has nothing to say.
set -u
tool=$2/ravelinctl
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0

# ends STATUS ARGUMENT...
ends() {
    local wanted=$1 status=0
    shift
    timeout 120 "$tool" "$@" >out 2>err </dev/null || status=$?
    if [ $status -ne "$wanted" ] || grep -qE 'Sanitizer|runtime error' err; then
        echo "FAILED: $*: status $status, wanted $wanted"
        head -c 2000 err
        failures=$((failures + 1))
    fi
}
complains() {
    grep -q "$1" err || { echo "FAILED: no \"$1\" in: $(cat err)" && failures=$((failures + 1)); }
}

local_line='04:05:06.7 network_daemon/cellular_task.cpp:Task'
gzip -nc "$1/README.md" >binary
: >empty
mkdir folder
ln -s loop loop
head -c 50000000 /dev/zero | tr '\0' a >long
printf '%s:1:No response\0 Reset device...\n\xff\xfe\xc0\x80\n' "$local_line" >bytes
head -c 300 binary >torn.gz
printf '%s\n' "${local_line/Task/Connect}:99999999999999999999:Do connect.  99999999999999999999 times." \
    "$local_line:1:Check connection. offline -9223372036854775809/10 times" >numbers
printf '%s b ravelin-mobile[1]: Soft reset!\n' 0000-00-00T00:00:00Z 99999-12-31T23:59:59Z 2026-11-22T99:99:99+99:99 \
    'Nov 31 25:61:61' >dates
printf '__REALTIME_TIMESTAMP=99999999999999999999\n_COMM=ravelin-mobile\nMESSAGE\n\377\377\377\377\377\377\377\177abc' >journal
printf '%s\n{"MESSAGE":' \
    '{"__REALTIME_TIMESTAMP":"9223372036854775807","SYSLOG_IDENTIFIER":"ravelin-mobile","MESSAGE":[1,300,-1]}' >json

for file in empty long bytes numbers dates journal json; do
    ends 0 explain "$file"
    ends 0 explain --json "$file"
    ends 0 timeline -o page.html "$file"
    ends 0 metrics --folder folder "$file"
    ends 1 capture "$file"
    complains '^ravelinctl capture: '
done
for command in explain capture "timeline -o page.html"; do
    # shellcheck disable=SC2086 # a command and its option
    for file in folder loop missing; do
        ends 1 $command $file
        complains "^ravelinctl ${command%% *}: $file: "
    done
done
ends 1 explain torn.gz
complains 'torn.gz: is damaged'

# Status files of a megabyte, a pipe and a loop in their place.
mkdir status
for name in ravelin_status signal_status; do head -c 1000000 long >status/$name; done
ends 6 status --no-bus --folder status
rm status/*
mkfifo status/ravelin_status
ends 6 status --no-bus --folder status
rm status/ravelin_status
ln -s ravelin_status status/ravelin_status
ends 6 status --no-bus --folder status
ends 3 doctor --root status

# A file that shrinks while it is read, and one without an end, which takes no more memory the longer it is read.
cat long long >shrinks
(sleep 0.1 && : >shrinks) &
ends 0 explain shrinks
wait
most_kilobytes=64000
if grep -q __asan_init "$tool"; then most_kilobytes=640000; fi
"$tool" explain /dev/zero >out 2>err &
reader=$!
peak=0
for ((i = 0; i < 30; ++i)); do
    sleep 0.1
    peak=$(awk '/^VmHWM/ { print $2 }' "/proc/$reader/status")
done
kill "$reader"
wait "$reader" 2>/dev/null
if [ "${peak:-0}" -eq 0 ] || [ "$peak" -gt $most_kilobytes ]; then
    echo "FAILED: $peak kB for a file without an end"
    failures=$((failures + 1))
fi

[ $failures -eq 0 ] && echo "all as expected, and $peak kB for a file without an end"
exit $((failures > 0))
