#!/bin/sh
# docs/status-files.md against what the daemon writes: the lines of each file, their order, and the families that write
# and fill them, from two short stories of each simulated family; and the page's way to read a file, tried on files that
# are whole and on files that aren't. To be called with the path of scenario_run.
set -eu
scenario_run=$1
cd "$(dirname "$0")/../.."
page=docs/status-files.md
writer=network_daemon/cellular_status.cpp
files="ravelin_status signal_status 3630_status"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0

complain() {
    echo "$page: $*" >&2
    status=1
}

# The lines of the page's table of a file: "key<TAB>families<TAB>what is said of its absence", in the page's order. A key
# is KEY=, or the whole text of a legend.
rows_of() {
    awk -F ' *[|] *' -v file="$1" '
        /^## / { inside = $0 == "## `" file "`" }
        inside && /^[|] `/ {
            key = $2
            gsub(/^`|`$/, "", key)
            if (key !~ /^\\t/) sub(/=.*/, "=", key)
            print key "\t" $5 "\t" $6
        }' $page
}

# families_in TEXT: the families that "all", "all but `a`, `b`" or "`a`, `b`" names, one a line.
families_in() {
    # shellcheck disable=SC2016  # quotes of the page
    named=$(printf '%s\n' "$1" | grep -o '`[^`]*`' | tr -d '`' || true)
    case $1 in
    all) echo "$families" ;;
    "all but "*) echo "$families" | grep -vxF "$named" ;;
    *) echo "$named" ;;
    esac
}

# has_line TEXT LINE
has_line() {
    printf '%s\n' "$1" | grep -qxF -- "$2"
}

# The story of a family from the start to well into the online state, where the radio technology changes (a report
# that comes while an answer is awaited is lost, so it changes again and again), and the story of a network that refuses
# it. Each setting that shows is on in one of them.
write_stories() {
    cat >"$folder/$1.full.scenario" <<STORY
modem $2
$3
settings
    ENABLE=true
    APN='internet'
    USERNAME=user
    PASSWORD=secret
    AUTH_TYPE=3
    AUTOCONNECT=1
every 17 from 100 to 190 network WCDMA
every 17.5 from 107 to 190 network FDD LTE
until 200
see 200 ends still running
$(for file in $files; do echo "at 199 show /run/network/$file"; done)
STORY
    cat >"$folder/$1.refused.scenario" <<STORY
modem $2
$3
knob registration 3
settings
    DoubleSIM=1
until 80
see 80 ends still running
$(for file in $files; do echo "at 79 show /run/network/$file"; done)
STORY
}

# lines_of RECORD FILE: what the file held at the end, one key or legend a line; without the empty line that the network
# type of a Huawei modem without service brings along.
lines_of() {
    sed -n "s|^ *[0-9.]* *shows *[^ ]*/$2 ||p" "$1" | sed -e '/^\\t/!s/=.*/=/' -e '/^(missing)$/d' -e '/^$/d'
}

# filled_in FAMILY FILE: the keys that had a value at any time in a story of the family.
filled_in() {
    sed -n "s/^ *[0-9.]* *\(publishes\|shows\) *[^ ]*\/$2 //p" "$folder/$1.full.record" "$folder/$1.refused.record" |
        grep -vE "=(|''|0|FALSE|00:00:00)\$" | grep -v '^(missing)$' | sed -e '/^\\t/!s/=.*/=/' | sort -u
}

run_stories() {
    families=""
    for healthy in tests/scenarios/*_start_to_online.scenario; do
        model=$(sed -n 's/^modem //p' "$healthy")
        families="$families${families:+
}${model%% *}"
        write_stories "${model%% *}" "$model" "$(grep -E '^(port|options) ' "$healthy" | sed 's/ -D[a-zA-Z] [^ ]*//')"
    done
    write_stories zte_other "zte GM196" ""
    for story in "$folder"/*.scenario; do
        "$scenario_run" --verbose "$story" >"${story%.scenario}.record" 2>&1 || {
            cat "${story%.scenario}.record"
            echo "the story $(basename "$story") fails"
            exit 1
        }
    done
    for family in $(sed -n 's/^ *\.name = "\([a-z0-9_]*\)",$/\1/p' simulator/modem/dialects/*.cpp); do
        has_line "$families" "$family" || complain "no story tells what $family writes: tests/scenarios/${family}_start_to_online.scenario is missing"
    done
}

# What the daemon writes under a condition that no story meets shows in its source.
check_source() {
    documented=$(for file in $files; do rows_of "$file" | cut -f 1; done)
    for key in $(grep -oE '"[A-Za-z0-9_]+=' $writer | tr -d '"' | sort -u); do
        has_line "$documented" "$key" || complain "$writer writes $key, which the page doesn't have"
    done
}

# expected_lines STORY FAMILY FILE: the lines that the page gives a family's file, in the page's order.
expected_lines() {
    rows_of "$3" | while IFS="$tab" read -r key filled absent; do
        case $1,$absent in
        *"absent on all other families"*) has_line "$(families_in "$filled")" "$2" || continue ;;
        full,*"absent while it is off"*) continue ;;
        esac
        printf '%s\n' "$key"
    done
}

# Each file of each family: its lines are those of the page, in the page's order.
check_lines() {
    for story in full refused; do
        for family in $families zte_other; do
            for file in $files; do
                lines_of "$folder/$family.$story.record" "$file" >"$folder/shown"
                [ -s "$folder/shown" ] || continue
                expected_lines $story "$family" "$file" >"$folder/expected"
                cmp -s "$folder/shown" "$folder/expected" || {
                    complain "$file of $family has other lines (<) than the page (>), or in another order:"
                    diff "$folder/shown" "$folder/expected" >&2 || true
                }
            done
        done
    done
}

# The table of files, and the column of families.
check_families() {
    for file in $files; do
        written_for=$(families_in "$(sed -n "s/^| \`$file\` | \(.*[^ ]\) *|\$/\1/p" $page |
            sed 's/^all families$/all/; s/, only .*//')")
        for family in $families; do
            writes=no named=no
            [ -z "$(lines_of "$folder/$family.full.record" "$file")" ] || writes=yes
            ! has_line "$written_for" "$family" || named=yes
            [ $writes = $named ] || complain "$file for $family: written: $writes, on the page: $named"
        done
        for family in $families; do
            has_line "$written_for" "$family" || continue
            filled=$(filled_in "$family" "$file")
            rows_of "$file" >"$folder/rows"
            while IFS="$tab" read -r key by absent; do
                fills=no named=no
                ! has_line "$filled" "$key" || fills=yes
                ! has_line "$(families_in "$by")" "$family" || named=yes
                [ $fills = $named ] || complain "$key in $file by $family: filled: $fills, on the page: $named"
            done <"$folder/rows"
        done
    done
    [ -z "$(lines_of "$folder/zte_other.full.record" 3630_status)" ] || complain "3630_status of another model of zte"
}

# The page's read_status under a shell: WHAT, expected status, and the bytes of the file as printf takes them.
check_reader() {
    shell=$1
    {
        echo 'sleep() { :; }'
        awk '/^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } inside && !/^online=/' $page
        # shellcheck disable=SC2016  # for the shell that reads it
        echo 'read_status "$1"'
    } >"$folder/reader.sh"
    whole="Online=TRUE\nNow='Thu Jan  1 00:05:10 2026'\n"
    while IFS='|' read -r what expected bytes; do
        # shellcheck disable=SC2059
        printf "$bytes" >"$folder/file"
        read=0
        # The command of BusyBox is two words.
        # shellcheck disable=SC2086
        $shell "$folder/reader.sh" "$folder/file" >"$folder/output" || read=$?
        [ $read -eq "$expected" ] || complain "read_status under $shell: $what: $read, not $expected"
        [ $read -ne 0 ] || cmp -s "$folder/file" "$folder/output" || complain "read_status under $shell: $what: other bytes"
    done <<CASES
a whole file|0|$whole
an empty file|1|
half a line|1|Onli
no Now=|1|Online=TRUE\n
no line end|1|${whole%??}
half of Now=|1|Online=TRUE\nNow='Thu Jan
the tail of a longer file after it|1|${whole}6'\n
CASES
    if $shell "$folder/reader.sh" "$folder/no_such_file" >"$folder/output"; then
        complain "read_status under $shell reads a missing file"
    fi
}

tab=$(printf '\t')
run_stories
check_source
check_lines
check_families
check_reader sh
if command -v busybox >/dev/null; then check_reader "busybox sh"; fi
echo "$(for file in $files; do rows_of "$file"; done | wc -l) lines of the page compared for $(echo "$families" | wc -l) families"
exit $status
