#!/bin/bash
# soak_test.sh RAVELIN_SOAK: the page on soak has the faults, laws and times that the tool prints.
set -u
tool=$1
page=$(dirname "$0")/../../docs/soak.md
failures=0

# block FIRST_WORD: the block of the page whose first line begins with that word.
block() {
    awk -v first="$1" '/^```/ { inside = !inside; fresh = inside; wanted = 0; next }
        fresh { wanted = $1 == first; fresh = 0 }
        inside && wanted' "$page"
}

for list in faults:fault laws:story times:family; do
    option=--list-${list%:*}
    diff <(block "${list#*:}") <("$tool" "$option" | sed 's/ *$//') ||
        { echo "FAILED: the page differs from $option"; failures=$((failures + 1)); }
done
echo "$failures failures"
[ $failures -eq 0 ]
