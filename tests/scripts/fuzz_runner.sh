#!/bin/bash
# fuzz_runner.sh REPOSITORY: what scripts/fuzz makes of the words, the files and the end of a fuzzer. Nothing is built here:
# cmake is a program that puts scripts in the place of the fuzzers.
set -u
REPOSITORY=$1
. "$REPOSITORY/tests/scripts/scratch.bash"

SAYS=$SCRATCH/says
mkdir "$SAYS"
printf '#!/bin/sh\necho "setup $*" >>"%s"\n' "$CALLS" >"$COPY/scripts/setup"
for target in tlv ini; do
    rm -rf "${COPY:?}/tests/fuzz/corpus/$target"
    mkdir -p "$COPY/tests/fuzz/corpus/$target"
    echo "$target" >"$COPY/tests/fuzz/corpus/$target/first"
done
# Each fuzzer notes its words, and goes on with what SAYS/NAME holds.
stub cmake '[ "$1" = --build ] || exit "$(cat '"'$SAYS/configure'"' 2>/dev/null || echo 0)"' \
    'for word; do' \
    '    case $word in fuzz_*)' \
    '        mkdir -p "$2"' \
    "        printf '#!/bin/bash\necho \"\${0##*/} \$*\" >>\"$CALLS\"\n. \"$SAYS/\${0##*/}\"\n' >\"\$2/\$word\"" \
    '        chmod +x "$2/$word" ;;' \
    '    esac' \
    'done'

# fuzzer_says TARGET LINE OF SHELL...
fuzzer_says() {
    local target=$1
    shift
    printf '%s\n' "$@" >"$SAYS/fuzz_$target"
}

# What every fuzzer prints at its end.
statistics='echo "#5	INITED cov: 7 ft: 9 corp: 3/9b"; echo "#900	DONE   cov: 12 ft: 20 corp: 4/9b"
    echo "stat::number_of_executed_units: 900"'
# The folder for new inputs is the first word without a dash.
new_folder='for new; do [ "${new#-}" != "$new" ] || break; done'
prefix='for word; do [ "${word#-artifact_prefix=}" = "$word" ] || prefix=${word#-artifact_prefix=}; done'

# expect STATUS WORD...: of scripts/fuzz WORD...
expect() {
    local wanted=$1
    shift
    : >"$CALLS"
    run scripts/fuzz "$@"
    [ $status -eq "$wanted" ] || fail "$title: status $status, not $wanted: $output$errors"
}

# prints PATTERN...: each matches a whole line of what was printed.
prints() {
    local pattern
    for pattern; do
        grep -qxE -- "$pattern" "$SCRATCH/output" "$SCRATCH/errors" || fail "$title: no line is $pattern:
$output
$errors"
    done
}

called() {
    grep -qxE -- "$1" "$CALLS" || fail "$title: not called: $1; but $(cat "$CALLS")"
}

not_called() {
    ! grep -qE -- "$1" "$CALLS" || fail "$title: called: $(grep -E -- "$1" "$CALLS")"
}

title="two targets, with new inputs"
fuzzer_says tlv "$new_folder" 'echo a >"$new/1"; echo b >"$new/2"' "$statistics"
fuzzer_says ini "$statistics"
expect 0 0.5 tlv ini
called "setup --fuzz"
called "cmake --preset fuzz"
called "cmake --build build-fuzz/64-bit --target fuzz_tlv fuzz_ini"
called "fuzz_tlv .* build-fuzz/new/tlv tests/fuzz/corpus/tlv"
prints "tlv: 0.5 minutes" "==== summary" "tlv +64 +[0-9.]+ +[0-9.]+ +900 +[0-9]+ +12 +1 +2 +0" "ini +64 .* +12 +1 +0 +0"
cp "$COPY/build-fuzz/summary" "$SCRATCH/summary"

title="the summary of a second run, after that of the first"
expect 0 1 ini
! grep -q "^tlv" "$SCRATCH/output" || fail "$title: shows the first run's"
[ "$(head -n "$(wc -l <"$SCRATCH/summary")" "$COPY/build-fuzz/summary")" = "$(cat "$SCRATCH/summary")" ] ||
    fail "$title: the first is gone"
not_called "fuzz_tlv "

title="all targets"
for file in "$COPY"/tests/fuzz/fuzz_*.cpp; do
    file=${file##*/fuzz_}
    [ -e "$SAYS/fuzz_${file%.cpp}" ] || fuzzer_says "${file%.cpp}" "$statistics"
done
expect 0 1
for file in "$COPY"/tests/fuzz/fuzz_*.cpp; do
    file=${file##*/}
    called "${file%.cpp} .*"
done

title="32 bits"
expect 0 --32 1 ini
called "setup --fuzz --fuzz-32"
called "cmake --preset fuzz-32"
prints "ini +32 .*"
[ -x "$COPY/build-fuzz/32-bit/fuzz_ini" ] || fail "$title: built somewhere else"

title="a finding, and the next target all the same"
fuzzer_says tlv "$prefix" 'echo bad >"${prefix}crash-1234"' \
    'echo "tests/fuzz/fuzz_tlv.cpp:14: check failed: a == b"; echo "==1== ERROR: libFuzzer: deadly signal"' "$statistics" 'exit 77'
expect 1 1 tlv ini
prints "FINDING  tlv  check failed: a == b" "    build-fuzz/findings/tlv-64-crash-1234" \
    "    again: build-fuzz/64-bit/fuzz_tlv build-fuzz/findings/tlv-64-crash-1234" "tlv .* 1" "ini .* 0"
[ "$(cat "$COPY/build-fuzz/findings/tlv-64-crash-1234")" = bad ] || fail "$title: isn't kept"

title="time of the processor"
fuzzer_says tlv "trap 'echo told >>\"$CALLS\"; $statistics; exit 0' USR1" 'until [ $SECONDS -gt 300 ]; do :; done'
fuzzer_says ini 'sleep 3' "echo by itself >>'$CALLS'" "$statistics" # which takes none
expect 0 0.02 tlv ini
called told
called "by itself"
prints "tlv +64 .* 900 .* 0"

title="findings of earlier runs are no news"
fuzzer_says tlv "$statistics"
expect 0 1 tlv

title="a fuzzer that doesn't start"
fuzzer_says tlv 'echo "no such library"' 'exit 127'
expect 1 1 tlv ini
prints "no such library" "scripts/fuzz: fuzz_tlv has ended with status 127" "ini .* 0"

title="Ctrl-C"
fuzzer_says tlv 'stop() {' "$statistics" "echo stopped >>'$CALLS'" 'exit 72' '}' 'trap stop INT' \
    'kill -TERM $PPID' 'for i in {1..300}; do sleep 0.1; done'
expect 130 60 tlv ini
called stopped
not_called "fuzz_ini "
prints "==== summary" "tlv .* 900 .* 0"

title="minimise"
fuzzer_says tlv 'case "$*" in *-merge=1*) ;; *) exit 3 ;; esac' "$new_folder" \
    'printf "AT+CSQ: 1\r\n" >"$new/aaaa"; printf "AT+CSQ: 1!" >"$new/bbbb"; printf "\377\001\002" >"$new/cccc"'
expect 0 --minimise tlv
called "fuzz_tlv .*-merge=1 .* build-fuzz/merge/tlv build-fuzz/new/tlv"
prints "tlv: 3 new inputs in tests/fuzz/corpus/tlv: found_at_csq_1 found_at_csq_1_2 found_bytes_ff0102"
[ "$(cat "$COPY/tests/fuzz/corpus/tlv/first")" = tlv ] || fail "$title: an input that was there is gone"
[ "$(find "$COPY/tests/fuzz/corpus/tlv" -type f | wc -l)" -eq 4 ] || fail "$title: $(ls "$COPY/tests/fuzz/corpus/tlv")"

title="minimise after a run"
fuzzer_says tlv "$statistics"
expect 0 2 tlv --minimise
called "fuzz_tlv .*-print_final_stats=1 .*"
called "fuzz_tlv .*-merge=1 .*"
prints "tlv: 0 new inputs in tests/fuzz/corpus/tlv"

title="what can't be merged"
fuzzer_says tlv 'echo "a crash"; exit 77'
expect 1 --minimise tlv
prints "a crash" "scripts/fuzz: the inputs of tlv can't be merged"

title="a build that fails"
echo 1 >"$SAYS/configure"
expect 1 1 tlv
prints "scripts/fuzz: the fuzzers can't be built"
not_called "fuzz_tlv "

outside=$(cd "$COPY" && find . -newer "$SCRATCH/summary" -type f ! -path "./build-fuzz/*" ! -path "./tests/fuzz/corpus/*")
[ -z "$outside" ] || fail "it wrote outside build-fuzz: $outside"

echo "$failures failures"
[ $failures -eq 0 ]
