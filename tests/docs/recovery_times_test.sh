#!/bin/bash
# recovery_times_test.sh RECOVERY_MATRIX [few]: the page of recovery times is what the tool measures, seen by a share of it, measured
# again; and it agrees with itself: no recovery is longer than its bound, all faults and families are there, the table at a
# glance says what the sections say, and each fault that never ends names scenarios that exist. With "few", for a build that is
# slow, only a few cells are measured.
set -u
tool=$1
cd "$(dirname "$0")/../.." || exit 1
page=docs/recovery-times.md
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# section FAULT: its part of the page.
section() {
    awk -v heading="### $1" '/^### / { inside = $0 == heading } inside' $page | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
}

cells=(mute_until_reset:cinterion link_cut:zte)
if [ "${2-}" != few ]; then
    cells+=(disabled:quectel_qcom two_sims:nodecom dead_path:lynq pipe_replaced:simcom unregistered_two_sims:huawei no_lease:zte)
    # A whole fault, byte for byte.
    "$tool" link_cut >"$scratch/section" 2>"$scratch/messages" || fail "link_cut: $(cat "$scratch/messages")"
    diff "$scratch/section" <(section link_cut) || fail "the section of link_cut"
fi

# Cells of others. The columns are as wide as their widest cell, so blanks don't count here.
for cell in "${cells[@]}"; do
    fault=${cell%:*}
    family=${cell#*:}
    "$tool" "$fault" "$family" >"$scratch/cell" 2>"$scratch/messages" || fail "$cell: $(cat "$scratch/messages")"
    section "$fault" | tr -s ' ' >"$scratch/section"
    [ -s "$scratch/cell" ] || fail "$cell: nothing measured"
    while IFS= read -r line; do
        case $line in '|--'*) continue ;; esac
        grep -qxF -e "$line" "$scratch/section" || fail "$cell: not on the page: $line"
    done < <(tr -s ' ' <"$scratch/cell")
done

# The page in itself.
"$tool" --list | cut -d ' ' -f 1 >"$scratch/faults"
diff "$scratch/faults" <(sed -n 's/^### //p' $page) || fail "the sections aren't the faults"
awk -F '|' -v faults="$(wc -l <"$scratch/faults")" '
    function trim(text) { gsub(/^ +| +$/, "", text); return text }
    function complain(text) { print text; bad = 1 }
    # The table at a glance stands above the sections.
    /^\| Fault +\| +CY /  { glance = 1; next }
    glance && !/^\|/ { glance = 0 }
    glance && !/^\|-/ { for (i = 3; i < NF; ++i) said[trim($2), i - 2] = trim($i) }
    /^### / { fault = substr($0, 5); row = 0 }
    fault == "" || !/^\|/ || /^\| Family/ || /^\|-/ { next }
    {
        ++rows
        ++row
        median = trim($3); worst = trim($4); bound = trim($5); mark = trim($12) ~ /▲$/ ? "▲" : ""
        resets = trim($12)
        sub(/▲$/, "", resets)
        if ((resets + 0 > 7) != (mark != "")) complain(fault ": " $0)
        if (worst ~ /^[0-9]+$/ && (worst + 0 > bound + 0 || median + 0 > worst + 0)) complain(fault ": " $0)
        if (said[fault, row] != (median == "never" ? "∞" : median) mark) {
            complain(fault ": " said[fault, row] " at a glance, but" $0)
        }
    }
    END {
        if (rows != 13 * faults || faults < 40) complain(rows " rows of " faults " faults")
        exit bad
    }' $page || fail "the page contradicts itself"

stories=0
while read -r fault; do
    section "$fault" >"$scratch/section"
    grep -q '| *never |' "$scratch/section" || continue
    read -r -a names < <(sed -n '/^\*\*Never\*\*/,$p' "$scratch/section" | tr '\n' ' ' |
        sed 's/.*As .*scenarios*: //' | tr -d '`,.')
    [ ${#names[@]} -gt 0 ] || fail "$fault: no scenario named"
    for name in "${names[@]}"; do
        stories=$((stories + 1))
        [ -e "tests/scenarios/$name.scenario" ] || fail "$fault: there is no scenario $name"
    done
done <"$scratch/faults"
[ $stories -ge 10 ] || fail "only $stories scenarios named"
echo "$failures failures"
[ $failures -eq 0 ]
