#!/bin/bash
# pass_cost.sh SCENARIO_RUN METER SCENARIO: what a pass of a link that is up takes from the heap. Two settings are two blocks,
# given back before the pass ends; nothing else asks for any, neither the daemon nor the C library on its behalf.
set -u
passes=300
report=$(mktemp) || exit 1
trap 'rm -f "$report"' EXIT

"$1" --record /dev/null --preload "$2" --environment "PASS_METER_REPORT=$report" --environment PASS_METER_SKIP=50 \
    --environment PASS_METER_PASSES=$passes "$3" || exit 1

# is NAME EXPECTED
is() {
    local found
    found=$(awk -v name="$1" '$1 == name { print $2 }' "$report")
    [ "$found" = "$2" ] && return
    echo "$1: $found in $passes passes, not $2" >&2
    exit 1
}
is passes $passes
is own_allocations $((2 * passes))
is libc_allocations 0
is foreign_allocations 0
is lost_sites 0
is live_blocks 0
