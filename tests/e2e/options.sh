#!/bin/bash
# -h prints the usage and touches nothing: there is no bus, no settings file and no device here.
. "$REPOSITORY/tests/e2e/e2e.bash"

usage="usage: ravelin-mobile [option]
            	-d device
            	-c config 
            	-s script
            	-t debug terminal
            	-h help"

rmdir /run/network
start_daemon -h
await_end 10 0
check "the usage is printed" test "$(cat "$OUTPUT")" = "Log info write into file \" $LOG\"
$usage"
check "nothing is made" test ! -e /run/network

start_daemon -q -d /dev/nothing -h -c
await_end 10 0
check "an unknown option is complained about" printed "invalid option -- 'q'"
check "and the usage is printed" printed "usage: ravelin-mobile [option]"
