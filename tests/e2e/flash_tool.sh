#!/bin/bash
# The wrapper around the firmware tool, by itself, under the shells of Debian and of BusyBox: what it passes on, how it
# ends, and that two flashes never run at a time.
. "$REPOSITORY/tests/e2e/e2e.bash"

GO_ON=/tmp/go_on
WRAPPER=$TOOL_FOLDER/QFirehose
RAN=$TOOL_FOLDER/QFirehose.ran
# What the wrapper prints, and what it complains of.
PRINTED=/run/printed
COMPLAINED=/run/complained
MARKS=/run/ravelin-flash

# flash WORD...: what it prints is kept, and its status.
flash() {
    status=0
    FAKE_QFIREHOSE="$*" "$SHELL_OF_BOARD" $WRAPPER -f $TOOL_FOLDER >$PRINTED 2>$COMPLAINED || status=$?
}
prints() {
    [ "$(cat $PRINTED)" = "$1" ]
}
says_nothing_that_the_daemon_judges_by() {
    ! grep -E "successfully|Upgrade module fail" $PRINTED
}
has_begun() {
    grep -q . $RAN 2>/dev/null
}
starts_of_the_tool() {
    grep -c . $RAN
}
start_field() {
    sed 's/.*) //' "/proc/$1/stat" | cut -d " " -f 20
}

go_through() {
    rm -rf $MARKS $RAN $GO_ON

    flash say=one say=two succeed fail
    check "all lines come through, in order" prints "Version: fake
one
two
Upgrade module successfully
Upgrade module fail"
    check "with the tool's status: $status" test $status -eq 0
    check "and arguments" grep -qx -- "-f $TOOL_FOLDER" $RAN
    flash say=one exit=3
    check "a failure comes through: $status" test $status -eq 3
    flash long=5000 succeed long=300
    check "long lines come through" test "$(sed -n 's/^x*\(Upgrade.*\)/\1/p' $PRINTED)" = "Upgrade module successfully"
    check "with all their letters, and a last line without an end" test "$(tr -cd x <$PRINTED | wc -c)" -eq 5300
    check "the same stands in the file" cmp $PRINTED $MARKS/output
    flash unheard_of
    check "what it says of errors comes through apart" grep -q "unknown word: unheard_of" $COMPLAINED
    check "no mark is left" test -z "$(ls $MARKS/flash.* 2>/dev/null)"
    check "anybody can see the marks, and nobody else what the tool said" \
        test "$(stat -c %a $MARKS $MARKS/output $MARKS/errors | tr '\n' ' ')" = "755 600 600 "

    rm -f $RAN
    mkfifo /tmp/lines
    FAKE_QFIREHOSE="say=half wait=$GO_ON long=3 wait=$GO_ON.2 succeed exit=4" \
        "$SHELL_OF_BOARD" $WRAPPER -f $TOOL_FOLDER >/tmp/lines 2>/dev/null &
    local wrapper=$! line tool
    exec 8</tmp/lines
    rm /tmp/lines
    read -r line <&8
    read -r line <&8
    check "a line comes while the tool works: $line" test "$line" = half
    : >$GO_ON
    IFS= read -r -N 3 line <&8
    check "so does half a line: $line" test "$line" = xxx
    tool=$(flash_runs) || fail "there is no mark of it"
    check "it is marked" grep -q QFirehose.real "/proc/$tool/cmdline"
    check "in a session of its own" test "$(sed 's/.*) //' "/proc/$tool/stat" | cut -d " " -f 4)" = "$tool"
    kill -TERM "$tool" "$wrapper"
    kill -HUP "$tool" "$wrapper"
    kill -INT "$tool" "$wrapper"
    flash succeed
    check "a second one is refused: $status, $(cat $PRINTED)" test $status -eq 75
    check "in one line" test "$(wc -l <$PRINTED)" -eq 1
    check "that doesn't look like a result" says_nothing_that_the_daemon_judges_by
    check "and isn't run" test "$(starts_of_the_tool)" -eq 1
    exec 8<&-
    : >$GO_ON.2
    status=0
    wait $wrapper || status=$?
    check "nobody reads any more, the usual signals have come, and it ends as the tool does: $status" test $status -eq 4
    check "which has said all" grep -q "^xxxUpgrade module successfully" $MARKS/output
    rm $GO_ON $GO_ON.2

    rm -f $RAN
    FAKE_QFIREHOSE="wait=$GO_ON" "$SHELL_OF_BOARD" $WRAPPER -f $TOOL_FOLDER >/dev/null 2>&1 &
    wrapper=$!
    wait_for 30 has_begun || fail "it doesn't begin"
    kill -KILL "$(flash_runs)"
    status=0
    wait $wrapper || status=$?
    check "a tool that is killed: $status" test $status -eq 137

    : >$MARKS/flash.999999.1
    : >$MARKS/flash.$$.1
    check "marks of processes that are gone, or others by now, don't count" no_flash_runs
    check "and go away" test -z "$(ls $MARKS/flash.* 2>/dev/null)"
    : >"$MARKS/flash.$$.$(start_field $$)"
    check "one of a process that lives does" test "$(flash_runs)" = $$
    rm $MARKS/flash.*

    rm -f $RAN
    local other
    local -a others=()
    for other in 1 2 3 4 5; do
        FAKE_QFIREHOSE="wait=$GO_ON" "$SHELL_OF_BOARD" $WRAPPER -f $TOOL_FOLDER >/dev/null 2>&1 &
        others+=($!)
    done
    # Those that are refused end; at most one goes on.
    at_most_one_is_left() {
        local left=0
        for other in "${others[@]}"; do
            ! kill -0 "$other" 2>/dev/null || left=$((left + 1))
        done
        [ $left -le 1 ]
    }
    check "of five at a time, at most one goes on" wait_for 30 at_most_one_is_left
    : >$GO_ON
    wait "${others[@]}"
    check "and the tool has run at most once" test "$(cat $RAN 2>/dev/null | wc -l)" -le 1
    rm $GO_ON

    mv $WRAPPER.real /tmp/real
    flash succeed
    check "without the real tool: $status, $(cat $PRINTED)" test $status -eq 127
    check "in one line that doesn't look like a result" says_nothing_that_the_daemon_judges_by
    mv /tmp/real $WRAPPER.real
}

install_wrapped_tool succeed
mkdir /tmp/busybox
ln -s "$(command -v busybox)" /tmp/busybox/sh
for applet in setsid cat sleep mv rm mkdir chmod; do
    ln -s "$(command -v busybox)" /tmp/busybox/$applet
done
SHELL_OF_BOARD=sh
say "Debian's shell and tools"
go_through
say "BusyBox's shell and tools"
PATH=/tmp/busybox:$PATH
go_through
check "help is a help" grep -q "^usage: QFirehose" <($WRAPPER --help)
