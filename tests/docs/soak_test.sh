#!/bin/bash
# soak_test.sh RAVELIN_SOAK: the page on soak has the faults, laws and times that the tool prints, and the canaries.
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
# The canaries, a row each.
table=$(dirname "$0")/../canaries/canaries.txt
diff <(block canary | tail -n +2) <(awk '{ what = $1; $1 = ""; value[what] = substr($0, 2) }
    what == "seeds" { printf "%-22s %-10s %-7s %s\n", value["canary"], value["law"], value["seeds"], value["broken"] }' "$table") ||
    { echo "FAILED: the page differs from $table"; failures=$((failures + 1)); }
echo "$failures failures"
[ $failures -eq 0 ]
