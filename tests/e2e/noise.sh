#!/bin/bash
# A modem that talks rubbish, from before the first question: the daemon may fail to recognise it or to connect, but
# must neither crash nor end otherwise than it says.
. "$REPOSITORY/tests/e2e/e2e.bash"

start_board --set "echo on"
start_daemon -Dl 7
await_log 30 "GetVendorType=6!"
# The daemon has heard some of it.
LINES=25
goes_on_logging() {
    ! is_alive || [ "$(wc -l <"$LOG")" -ge $((before + LINES)) ]
}
rounds=0
while [ $rounds -lt 2 ]; do
    for knob in "percent on" "nul on" "pad 300" "pieces 1 gap 1" "garbage 5000" "echo on" \
        "urc +CREG: %s%n%s%n" "flood on" "flood off" "percent off" "nul off" "pad 0" "pieces 0"; do
        before=$(wc -l <"$LOG")
        modem "$knob" || fail "the simulator doesn't know: $knob"
        wait_for 60 goes_on_logging || fail "silent at: $knob"
        is_alive || fail "died at: $knob"
    done
    rounds=$((rounds + 1))
done
check "the daemon is alive" is_alive
check "nothing was said by a sanitizer" test ! "$(grep -c 'Sanitizer\|runtime error' "$OUTPUT")" -gt 0
