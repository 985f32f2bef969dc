#!/bin/bash
# Texts at the command line may be of any length.
. "$REPOSITORY/tests/e2e/e2e.bash"
start_bus || fail "the bus doesn't start"
write_settings "ENABLE=true"

long_text() {
    printf '/'
    head -c "$1" /dev/zero | tr '\0' L
}

for length in 255 256 4095 4096 20000 100000; do
    say "texts of $length characters"
    start_daemon -d "$(long_text $length)" -s "$(long_text $length)"
    await_log 10 "wait device  /LLLL"
    check "the daemon goes on" is_alive
    kill "$DAEMON"
    await_end 15 143
    start_daemon -c "$(long_text $length)"
    await_end 10 255
    check "that isn't a file" logged "config /LLLL"
done
start_daemon -d "" -c "" -s ""
await_end 10 255
start_daemon -d ""
await_log 10 "wait device   ."
