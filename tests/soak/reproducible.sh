#!/bin/bash
# reproducible.sh RAVELIN_SOAK UNSTEADY: what breaks a law is run once more, and only where the record is the same does it
# count as broken. UNSTEADY is a program in the daemon's place with another record each time.
set -u
soak=$1 unsteady=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

# expect STATUS COMMAND...: what it says goes to $folder/said.
expect() {
    local wanted=$1 status
    shift
    "$@" >"$folder/said" 2>&1
    status=$?
    [ $status -eq "$wanted" ] || fail "status $status and not $wanted of $*: $(cat "$folder/said")"
}

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# records STORY: both are there, and differ.
records() {
    local first=${1%.scenario}.first.record second=${1%.scenario}.second.record
    [ -s "$first" ] && [ -s "$second" ] || fail "$first or $second is missing"
    cmp -s "$first" "$second" && fail "$first and $second are the same"
}

for word in steady unsteady; do
    printf 'modem none\noptions %s\nuntil 10\nsee 0 ends exit 3\n' $word >"$folder/$word.scenario"
done
expect 2 "$soak" --daemon "$unsteady" "$folder/unsteady.scenario"
grep -q 'unsteady.scenario: not reproducible: the records differ first at 0.000  prints  *number [0-9]*; second run: 0.000  prints ' \
    "$folder/said" || fail "no word of it: $(cat "$folder/said")"
records "$folder/unsteady.scenario"

expect 1 "$soak" --daemon "$unsteady" "$folder/steady.scenario"
grep -q reproducible "$folder/said" && fail "a steady one is called unsteady: $(cat "$folder/said")"
[ -e "$folder/steady.first.record" ] && fail "a record of a steady one is kept"

expect 2 "$soak" --daemon "$unsteady" --seed 1 --keep "$folder/kept"
grep -q '^seed 1: not reproducible: the records differ first at ' "$folder/said" || fail "no word of it: $(cat "$folder/said")"
grep -q '^1 stories that broke a law are not reproducible' "$folder/said" || fail "it isn't counted: $(cat "$folder/said")"
records "$folder/kept/seed-1.scenario"
echo "$failures failures"
[ $failures -eq 0 ]
