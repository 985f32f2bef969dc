#!/bin/bash
# captured.sh SCENARIO_RUN RAVELINCTL [OPTION OF SCENARIO_RUN]... SCENARIO: what ravelinctl capture makes of a log of the
# story, replayed, brings the daemon to the same decisions at the same times. Without its identities it does, too.
set -u
story=${*: -1}
ctl=$2
run=("$1" "${@:3:$#-3}")
name=$(basename "$story" .scenario)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Stories without a log of their own, or about what no log shows. NAME | WHAT DIFFERS | WHY; "no log": capture refuses.
exceptions() {
    cat <<'EOF'
bad_input_command_line        | options        | the log shows the cut path, and none of the words behind the cut
bad_input_device_path         | options        | the same
bad_input_flood               | full reads     | a modem that never stops: the log doesn't tell when each byte came
bad_input_flood_fast          | full reads     | the same
bad_input_garbage             | NUL bytes      | the log ends a text there
bad_input_percent             | percent signs  | the log shows "%" for "%%"
bus_missing                   | no log         | the daemon ends before its first line
bus_upgrade_in_recovery       | shell times    | the time of the reset script falls into the upgrade
bus_upgrade_tool_lost         | files          | a folder that is there at one time and not at another
files_full                    | storage        | no line tells that a status file couldn't be written
files_readonly                | storage        | the same
help                          | no log         | a daemon that shows its options and ends
restart_after_kill            | restarts       | runs without settings end at once, one after the other: one time for all starts
cinterion_port_link           | port link      | the log doesn't tell that the name of the port is a link, which a restart finds again
ping_hangs                    | a ping         | it hadn't ended when the log ended, so no line tells of it
EOF
}

reason=$(exceptions | awk -F ' *[|] *' -v name="$name" '$1 == name { print $2 }')

# The log of level 7, as the daemon has written it, from the record of a run.
log_of() {
    awk '
        function clock(seconds,   whole, day) {
            whole = int(seconds + 0.0000001)
            day = (whole + offset) % 86400
            if (day < 0) day += 86400
            return sprintf("%02d:%02d:%02d.%d", int(day / 3600), int(day / 60) % 60, day % 60,
                           int((seconds - whole) * 1000 + 0.5))
        }
        $2 == "world" && $3 == "clock" { offset += $4 }
        $2 == "logs" || $2 == "debugs" {
            seconds = $1
            sub(/^ *[0-9.]+ +[a-z]+ +/, "")
            place = $1
            sub(/^[^ ]+ /, "")
            printf "%s %s:%s\n", clock(seconds), place, $0
        }
        $2 == "prints" { sub(/^ *[0-9.]+ +prints +/, ""); print }' "$1" |
        sed 's/\\\\/\\x5c/g; s/\\0/\\x00/g' >"$scratch/escaped"
    printf '%b' "$(cat "$scratch/escaped")"$'\n'
}

# What the daemon has done, without what differs from build to build and from board to board.
done_in() {
    # A command to a port that is gone isn't sent, and the log doesn't tell: so the log's own line of it counts.
    grep -aE '^ *[0-9.]+ +(runs|asks|logs|publishes|bus|ends) |^ *[0-9.]+ +debugs +[^ ]* .{0,12}AT WRITE:' "$1" |
        grep -avE ' bus +(calls|signals|replies|joins|nobody) ' |
        sed -E 's/ debugs .*AT WRITE:(.*)/ sends \1/; s/( sends .*)\\nAT RETURN:.*/\1/' |
        sed -E 's/(:[A-Za-z_0-9]+):[0-9]+ /\1 /; s/(BUILD INFO:|GIT_VERSION=).*/\1/'
}

record() {
    "${run[@]}" --record "$scratch/$1" "$2" >"$scratch/$1.verdict" 2>&1
}

sed "0,/^modem .*/s//&\n__LEVEL__/" "$story" >"$scratch/loud.scenario"
if grep -q '^options' "$story"; then
    sed -i 's/^options/options -Dl 7/; /^__LEVEL__$/d' "$scratch/loud.scenario"
else
    sed -i 's/^__LEVEL__$/options -Dl 7/' "$scratch/loud.scenario"
fi
record first "$scratch/loud.scenario"
log_of "$scratch/first" >"$scratch/$name.log"
family=$(awk '$1 == "modem" && $2 != "none" { print $2; exit }' "$story")

status=0
"$ctl" capture --keep-identities -o "$scratch/kept.scenario" "$scratch/$name.log" 2>"$scratch/said" || {
    if [ "$reason" = "no log" ]; then
        echo "no log, no story: $(cat "$scratch/said")"
        exit 0
    fi
    echo "ravelinctl capture: $(cat "$scratch/said")"
    exit 1
}
sed -i '0,/^knob recorded on$/s//options_of_the_log\n&/' "$scratch/kept.scenario"
if grep -q '^options ' "$scratch/kept.scenario"; then
    sed -i 's/^options /options -Dl 7 /; /^options_of_the_log$/d' "$scratch/kept.scenario"
else
    sed -i 's/^options_of_the_log$/options -Dl 7/' "$scratch/kept.scenario"
fi
record again "$scratch/kept.scenario"
until=$(awk '$1 == "until" { print $2 }' "$scratch/kept.scenario")
# The story ends with the last line of the log; what a run did in silence after it is no part of the story.
done_in "$scratch/first" | awk -v until="$until" '$1 < until && $2 != "ends"' >"$scratch/first.done"
done_in "$scratch/again" | awk -v until="$until" '$1 < until && $2 != "ends"' >"$scratch/again.done"
if ! diff "$scratch/first.done" "$scratch/again.done" >"$scratch/difference"; then
    if [ -n "$reason" ]; then
        echo "differs, as the table says: $reason"
    else
        echo "the replay (>) differs from the run whose log was captured (<):"
        head -n "${SHOW:-30}" "$scratch/difference"
        status=1
    fi
elif [ -n "$reason" ]; then
    echo "the table says that this differs, and it doesn't: $reason"
    status=1
fi

"$ctl" capture -o "$scratch/hidden.scenario" "$scratch/$name.log" 2>"$scratch/said" || status=1
record hidden "$scratch/hidden.scenario"
if [ -z "$reason" ] && ! grep -q 'as expected' "$scratch/hidden.verdict"; then
    echo "without identities:"
    head -n 20 "$scratch/hidden.verdict"
    status=1
fi
for identity in $(sed -nE 's/^ *[0-9.]+ +publishes +[^ ]+ (IMSI|ICCID|IMEI)=([0-9]{8,}).*/\2/p' "$scratch/first" | sort -u); do
    if grep -q "$identity" "$scratch/hidden.scenario"; then
        echo "$identity is still there"
        status=1
    fi
done
[ -z "${KEEP:-}" ] || { mkdir -p "$KEEP/$name" && cp "$scratch"/* "$KEEP/$name"; }
[ $status -ne 0 ] || echo "$(wc -l <"$scratch/first.done") entries, the same again"
exit $status
