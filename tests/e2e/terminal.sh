#!/bin/bash
# -t hands the modem's port to a person.
. "$REPOSITORY/tests/e2e/e2e.bash"

start_board
mkfifo /tmp/keyboard
exec 3<>/tmp/keyboard
start_daemon -t
check "the console opens" wait_for 120 printed "DBG MODE"
echo AT >&3
check "AT is answered" wait_for 10 printed "OK"
echo "AT+CGSN" >&3
check "the serial number is answered" wait_for 10 printed 867698041122330
printf 'AT+NONSENSE\r\n' >&3
check "nonsense is refused" wait_for 10 printed ERROR
