#!/bin/bash
# chopped.sh SCENARIO_RUN [OPTION OF SCENARIO_RUN]... SCENARIO: the daemon does the same, whether the modem's answers come
# whole, in one byte per 5 ms or in blocks of 64. What it hears in one read differs, and so may the times: the answer to a
# question that waits for less than a second can end in the next read.
set -u
story=${*: -1}
run=("${@:1:$#-1}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# record NAME [KNOB]: what happened in a run of the story, to $scratch/NAME; its end is judged by the story's own test.
record() {
    sed "s/^modem .*/&\n${2:+knob $2}/" "$story" >"$scratch/$1.scenario"
    "${run[@]}" --record "$scratch/$1" "$scratch/$1.scenario" >"$scratch/$1.verdict" 2>&1
    # Without the times, and without the knob itself.
    sed -E 's/^ *[0-9.]+ +//' "$scratch/$1" | grep -avE "^(hears|debugs) |^modem +${2:-none}\$" >"$scratch/$1.done"
}

reads() { grep -acE '^ *[0-9.]+ +hears ' "$scratch/$1"; }

status=0
reads_chopped=()
record whole
grep -q '^sends ' "$scratch/whole.done" || {
    echo "nothing was sent:"
    cat "$scratch/whole.verdict"
    exit 1
}
for pieces in '1 gap 5' 64; do
    record chopped "pieces $pieces"
    diff "$scratch/whole.done" "$scratch/chopped.done" >"$scratch/difference" || {
        echo "pieces $pieces: other commands or decisions than with whole answers (<):"
        head -n 40 "$scratch/difference"
        status=1
    }
    reads_chopped+=("$(reads chopped)")
done
# Some families have no answer of more than 64 bytes.
[ "${reads_chopped[0]}" -gt $((5 * $(reads whole))) ] || {
    echo "the answers weren't chopped: ${reads_chopped[0]} reads"
    status=1
}
[ $status -ne 0 ] || echo "$(wc -l <"$scratch/whole.done") entries, the same thrice"
exit $status
