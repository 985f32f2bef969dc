#!/bin/bash
# docs/log.md against the code and against what the daemon logs: each quoted line is one of the code, with that level, and
# comes from that function in some scenario; which levels are used; what the examples of -Df and -DF show. The catalogue of
# the tools is held against the code in the same way.
# To be called with the path of scenario_run.
set -eu
scenario_run=$1
cd "$(dirname "$0")/../.."
page=docs/log.md
quoted_lines_least=80

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0

complain() {
    echo "$page: $*" >&2
    status=1
}

# The daemon's source with literals that are broken over several lines made whole: its log calls, one a line as
# "LEVEL, rest", and its other literals, which a table may hand to a log call.
whole_source() {
    cat network_daemon/*.cpp network_daemon/config/*.cpp CellSubClass/src/*.cpp support/*.cpp | tr '\n' ' ' | sed 's/" *"//g'
}
# The levels have names in the code, and numbers on the page.
level_numbers=$(sed -nE 's/^ *(kLog[A-Za-z]+) = ([0-7]).*/s%^\1,%\2,%;/p' support/trace_log.h)
whole_source | sed 's/TRACE/\n&/g' | sed -nE 's/^TRACE(_AT)?\(([a-z]+, )?(kLog[A-Za-z]+|QuietWhileOnline[^,]*), /\3, /p' |
    sed "s/^QuietWhileOnline[^,]*,/6\/7,/; s/;.*/;/; $level_numbers" >"$folder/calls"
whole_source | sed 's/TRACE[^;]*;/\n/g' >"$folder/other_code"

# entries_of STORY: "kind<TAB>function<TAB>message" of each line that a run logs.
entries_of() {
    "$scenario_run" --verbose "$1" 2>/dev/null |
        sed -nE 's/^ *[0-9.]+ +(logs|debugs) +[^:]+:([^:]+):[0-9]+ /\1\t\2\t/p' || true
}

# The scenarios, with level 7, but for those that only repeat others at length; and what none of them meets.
collect_entries() {
    for scenario in tests/scenarios/*.scenario; do
        case $scenario in
        *canary* | *hour* | *bad_input* | *link_lost* | *ocpp_outage_*) continue ;;
        esac
        sed 's/^options .*/& -Dl 7/' "$scenario" >"$folder/story"
        grep -q ^options "$folder/story" || printf '\noptions -Dl 7\n' >>"$folder/story"
        entries_of "$folder/story"
    done
    upgrade="call FF6AA60007000E760001010141020142030143ADF2"
    cat >"$folder/story" <<STORY
modem quectel_qcom EG25
knob operator Elsewhere
knob temperature 120
knob network WCDMA
knob answer AT+CGSN =
knob answer AT+CIMI =
at 70 $upgrade
at 80 write /media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose
    the tool
at 110 $upgrade
file /ubi/conf/network/network.json
    {
until 300
see ends still running
STORY
    entries_of "$folder/story"
    cat >"$folder/story" <<STORY
modem simcom
knob dial fail 1
until 80
see ends still running
STORY
    entries_of "$folder/story"
}

# "level<TAB>functions<TAB>texts" of each row of the tables of lines.
rows_of_page() {
    awk -F ' *[|] *' '/^## / { inside = $0 == "## What the lines mean" } inside && /^[|] `"/ { print $3 "\t" $4 "\t" $2 }' $page
}

# quoted TEXT: what stands in quotes and backticks, one a line, as the code has it. names TEXT: what stands in backticks.
# shellcheck disable=SC2016  # the quotes of the page
quoted() {
    grep -oE '`"[^"`]*"`' <<<"$1" | sed 's/^`"//; s/"`$//'
}
# shellcheck disable=SC2016
names() {
    grep -oE '`[^`]+`' <<<"$1" | tr -d '`'
}

# pattern_of TEXT: a regular expression of the messages that a format makes, as the record of a scenario shows them.
pattern_of() {
    sed -E 's/\\n$//; s/[][\.*^$+?(){}|]/\\&/g; s/%[0-9]*[a-z]/.*/g' <<<"$1"
}

# seen TEXT LEVEL FUNCTION: that function logs it in some scenario.
seen() {
    local kind=logs
    [ "$2" != 7 ] || kind=debugs
    [ -e "$folder/$kind.$3" ] && grep -qE -- "^$(pattern_of "$1")" "$folder/$kind.$3"
}

# check_line TEXT LEVEL FUNCTION...: the text is one of the code with that level, and one of the functions logs it.
check_line() {
    local text=$1 level=$2
    shift 2
    if grep -qF -- "\"$text\"" "$folder/calls"; then
        grep -F -- "\"$text\"" "$folder/calls" | grep -q "^$level," || complain "not of level $level: \"$text\""
    else
        # Handed to "%s": that it is logged, and not as a debug line, has to do.
        grep -qF -- "\"$text\"" "$folder/other_code" || complain "quotes what nothing logs: \"$text\""
    fi
    for function in "$@"; do
        ! seen "$text" "$level" "$function" || return 0
    done
    complain "$* logs in no scenario: \"$text\""
}

check_lines() {
    local count=0 level functions texts
    while IFS=$'\t' read -r level functions texts; do
        while read -r text; do
            count=$((count + 1))
            # shellcheck disable=SC2046  # names without blanks
            check_line "$text" "$level" $(names "$functions")
        done < <(quoted "$texts")
    done < <(rows_of_page)
    [ $count -ge $quoted_lines_least ] || complain "only $count lines are quoted: is the table still as this test expects?"
    echo "$count lines looked up"
}

# The other quotes of the page are lines of the code, too.
check_other_quotes() {
    while read -r text; do
        grep -qF -- "\"$text\"" "$folder/calls" "$folder/other_code" || complain "quotes what nothing logs: \"$text\""
    done < <(quoted "$(cat $page)" | sort -u)
}

# Each level of the page is used, unless it says otherwise, and the bulk is where it says so.
check_levels() {
    local levels=0 most=0 level use count
    for count in $(cut -d , -f 1 "$folder/calls" | sort | uniq -c | awk '{ print $1 }'); do
        [ "$count" -le $most ] || most=$count
    done
    while IFS='|' read -r _ level use _; do
        level=${level// /}
        count=$(grep -c "^$level," "$folder/calls" || true)
        case $use in
        *"not used"*) [ "$count" -eq 0 ] || complain "level $level is used by $count messages in the code" ;;
        *"the bulk"*) [ "$count" -eq "$most" ] || complain "level $level: only $count messages, another level has $most" ;;
        *) [ "$count" -gt 0 ] || complain "level $level isn't used by the code" ;;
        esac
        levels=$((levels + 1))
    done < <(sed -n '/^## Levels/,/^## Where/p' $page | grep -E '^\| [0-9]')
    [ $levels -eq 9 ] || complain "$levels levels on the page, not 9 (with 6/7)"
}

# Each example of -Df and -DF shows the message that the page gives for it, and shows it only when it is listed.
check_examples() {
    cat >"$folder/all" <<'STORY'
modem quectel_qcom EG25
settings
    DoubleSIM=1
shell ping pings
at 80 fifo 4G_MODEM_STATUS:online
every 3.3 from 80 to 110 urc +CSQN: 1
until 120
see ends still running
STORY
    ! entries_of "$folder/all" | grep -q ^debugs || complain "level 7 shows without an option"
    local shown=0
    while IFS=$'\t' read -r options text; do
        { cat "$folder/all" && echo "options $options"; } >"$folder/story"
        entries_of "$folder/story" >"$folder/listed"
        grep ^debugs "$folder/listed" | cut -f 3 | grep -qE -- "^$(pattern_of "$text")" ||
            complain "$options doesn't show \"$text\""
        if [ "$options" = "-Df Task" ] && grep -q "AT WRITE" "$folder/listed"; then
            complain "-Df Task shows an exchange"
        fi
        shown=$((shown + 1))
    done < <(awk -F ' *[|] *' '/^[|] `-D[fF] [A-Za-z_]*[\/ ]*.*`"/ && NF == 5 {
        gsub(/^`|`$/, "", $2); gsub(/^`"|"`$/, "", $4); print $2 "\t" $4 }' $page)
    [ $shown -ge 5 ] || complain "only $shown examples of -Df and -DF"
}

# What the tools take each line for stands in a table of theirs: each text is still said, with that level, by one of those
# functions.
catalogue=tools/log/catalogue.cpp
catalogue_rows_least=80
# Families, boards and faults that no scenario has.
catalogue_unseen='QCRMCALL|DoConnect unknown|Get Card IM|AT.QNETDEVCTL|CELLINFO|GTRNDIS|ZECMCALL=1|no support|S84Reset4G:1|pin_power'
check_catalogue() {
    local count=0 level functions text
    while IFS=$'\t' read -r level functions text; do
        count=$((count + 1))
        if ! grep -F -- "\"$text" "$folder/calls" | grep -qE "^($level|6/7),"; then
            grep -qF -- "\"$text" "$folder/other_code" || complain "$catalogue: nothing logs with level $level: \"$text\""
        fi
        local is_seen=no function
        for function in $functions; do
            ! seen "$text" "$level" "$function" || is_seen=yes
        done
        [ $is_seen = yes ] || grep -qE "$catalogue_unseen" <<<"$text" ||
            complain "$catalogue: $functions logs in no scenario: \"$text\""
    done < <(sed -n '/^constexpr CatalogueRow kCatalogue/,/^};/p' $catalogue | tr '\n' ' ' | sed 's/{"/\n{"/g' |
        sed -nE 's/^\{"(([^"\\]|\\.)*)", *"([^"]*)", *([0-9]), *Event.*/\4\t\3\t\1/p')
    [ $count -ge $catalogue_rows_least ] || complain "$catalogue: only $count rows: is the table still as this test expects?"
    echo "$count rows of the catalogue looked up"
}

collect_entries | sort -u | awk -F '\t' -v folder="$folder" '{ print $3 > folder "/" $1 "." $2 }'
check_lines
check_catalogue
check_other_quotes
check_levels
check_examples
exit $status
