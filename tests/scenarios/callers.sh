#!/bin/bash
# callers.sh SCENARIO_RUN [OPTION OF SCENARIO_RUN]... SCENARIO: who starts the run makes no difference to it. nohup, a shell's
# background and cron leave signals ignored or blocked, other masks for new files and other limits; the record is the same.
set -u
story=${*: -1}
run=("${@:1:$#-1}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

# record NAME COMMAND...: the record of a run that COMMAND starts.
record() {
    local name=$1
    shift
    "$@" "${run[@]}" --record "$scratch/$name" "$story" >"$scratch/verdict" 2>&1 || {
        echo "FAILED: $name: $(cat "$scratch/verdict")"
        failures=$((failures + 1))
    }
}

same() {
    cmp -s "$scratch/plain" "$scratch/$1" && return
    echo "FAILED: with $1 it is another record than without (<):"
    diff "$scratch/plain" "$scratch/$1" | head -n 20
    failures=$((failures + 1))
}

with_limits() (
    umask 077
    ulimit -S -n 200
    exec "$@"
)

record plain env --default-signal
grep -q ' ends  *signal 1$' "$scratch/plain" || {
    echo "FAILED: the hang-up ends nothing in $story"
    failures=$((failures + 1))
}
record ignored_signals env --ignore-signal=HUP,INT,QUIT,TERM,PIPE
same ignored_signals
record blocked_signals env --block-signal=HUP,INT,QUIT,TERM
same blocked_signals
record limits with_limits env --default-signal
same limits
echo "$failures failures"
[ $failures -eq 0 ]
