#!/bin/bash
# Four peers ask 10,000 times, each with 50 questions at a time, while the daemon dials; one vanishes in mid-call.
. "$REPOSITORY/tests/e2e/e2e.bash"

PEERS=4
QUESTIONS_EACH=2500

start_board
start_daemon
await_log 120 "Do connect.  1 times."
"$BUILD/ocpp_peer" --repeat 1000000 --window 100 status >/dev/null 2>&1 &
vanishing=$!
await_log 10 "cmd=7603"
for ((number = 1; number <= PEERS; number++)); do
    "$BUILD/ocpp_peer" --repeat $QUESTIONS_EACH --window 50 --timeout $PATIENCE_SECONDS status >"/tmp/peer.$number" 2>&1 &
    PEER[number]=$!
done
kill -KILL $vanishing
for ((number = 1; number <= PEERS; number++)); do
    wait "${PEER[number]}" || fail "peer $number: $(cat "/tmp/peer.$number")"
    say "peer $number: $(head -n 1 "/tmp/peer.$number")"
done
logged_queries=$(grep -c "cmd=7603" "$LOG")
check "each was logged: $logged_queries" test "$logged_queries" -ge $((PEERS * QUESTIONS_EACH))
check "comes online" wait_for 120 is_online
check "a query is answered" peer status
kill $DAEMON
await_end 15 143
