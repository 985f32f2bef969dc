#!/bin/bash
# man_pages_test.sh REPOSITORY FOLDER: the man pages in FOLDER are sound, fit a terminal of 80 columns and have every option that
# the programs know; and a page of the daemon that doesn't fit its usage isn't made at all.
set -u
REPOSITORY=$1
FOLDER=$2
WIDTH=80
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# page FILE: as it is read.
page() {
    mandoc -T ascii -O width=$((WIDTH - 2)) "$1" | sed 's/.\x08//g'
}

# has PAGE TEXT...: each begins an item or stands in the text.
has() {
    local file=$FOLDER/$1 text
    shift
    for text; do
        page "$file" | tr -s ' \n' ' ' | grep -qF -- "$text" || fail "${file##*/}: has no $text"
    done
}

command -v mandoc >/dev/null || fail "mandoc isn't installed; scripts/setup installs it"
pages=0
for file in "$FOLDER"/*.[18]; do
    pages=$((pages + 1))
    # Without a date, for the same page from each build.
    complaints=$(mandoc -T lint -W warning "$file" | grep -v 'missing date')
    [ -z "$complaints" ] || fail "$complaints"
    ! page "$file" | grep -E ".{$((WIDTH + 1))}" || fail "${file##*/}: wider than $WIDTH columns"
    [ "$(page "$file" | sed -n '/^NAME$/{n;p;}' | sed 's/^ *//; s/ - .*//')" = "$(basename "${file%.*}")" ] ||
        fail "${file##*/}: begins with another name"
done
[ $pages -eq 9 ] || fail "$pages pages, not 9"

# What the programs say themselves.
for tool in modem/modem_sim bus_peer/ocpp_peer virtual_time/scenario_run soak/ravelin_soak matrix/recovery_matrix ../tools/guard/ravelin_guard; do
    mapfile -t options < <(sed -n 's/^  \(--[a-z]*\).*/\1/p' "$REPOSITORY/simulator/$tool.help")
    [ ${#options[@]} -ge 5 ] || fail "$tool.help: only ${#options[@]} options found"
    case $tool in
    */ravelin_guard) has ravelin-guard.8 "${options[@]}" ;;
    *) has "${tool##*/}.1" "${options[@]}" ;;
    esac
done
has modem_sim.1 "fibocom: NL668 MC116" "urc TEXT" "csq N"
has ravelinctl.1 "ravelinctl status [OPTION]..." "ravelinctl send [OPTION]... COMMAND..." "ravelinctl upgrade [OPTION]..." "-w, --wait SECONDS" "SoftReset:1"
has ravelin-board-setup.8 "ravelin-board-setup --remove [--dry-run] [--root DIR]" "--root DIR"
has ravelin-mobile.8 "ravelin-mobile [-d device] [-c config] [-s script] [-t] [-h]" "-d device" "-c config" "-s script" \
    "-t Debug" "-h Prints" "-DF source" "-Df function" "-Dl level" "-DL file" "EXIT STATUS 0" "255" "SIGNALS"

# Usage and page of the daemon hold each other.
# made SED_OF_USAGE SED_OF_PAGE: whether a page is made when the two are edited so.
made() {
    sed "$1" "$REPOSITORY/network_daemon/main_options.cpp" >"$scratch/main_options.cpp"
    sed "$2" "$REPOSITORY/docs/man/ravelin-mobile.8.man" >"$scratch/ravelin-mobile.8.man"
    awk -v name=ravelin-mobile -v section=8 -v version=1 -v page_file="$scratch/page" -f "$REPOSITORY/cmake/man_page.awk" \
        "$scratch/main_options.cpp" "$REPOSITORY/support/trace_log.cpp" "$scratch/ravelin-mobile.8.man" 2>"$scratch/errors"
}

# refused TEXT SED_OF_USAGE SED_OF_PAGE
refused() {
    ! made "$2" "$3" || fail "a page is made with $1"
    grep -qxF "man_page.awk: ravelin-mobile: $1" "$scratch/errors" || fail "$1: said is $(cat "$scratch/errors")"
}

made "" "" || fail "no page is made: $(cat "$scratch/errors")"
refused "no paragraph for -c" "" '/^\.\\" option -c/d'
refused "no paragraph for -x" 's/^\( *"  *\\t\)-h help"/\1-x more\\n"\n&/' ""
refused "no paragraph for -DL" "" '/^\.\\" option -DL/d'
refused "a paragraph for -h, which isn't in the usage" '/\\t-h help/d' ""
refused "a paragraph for -x, which isn't in the usage" "" '$a .\\" option -x'
refused "two paragraphs for -d" "" '$a .\\" option -d'

echo "$pages pages, $failures failures"
[ $failures -eq 0 ]
