#!/bin/bash
# timeline.sh REPOSITORY BUILD: ravelinctl timeline as people start it, with a bad month: what it writes, where, and how large that is.
set -u
repository=$1
tool=$2/ravelinctl
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0
check() {
    local what=$1
    shift
    if ! "$@"; then
        echo "FAILED: $what"
        failures=$((failures + 1))
    fi
}
# ends STATUS ARGUMENT...: so does the tool; errors are kept
ends() {
    local wanted=$1 status=0
    shift
    "$tool" timeline "$@" >out 2>err || status=$?
    [ $status -eq "$wanted" ] || { echo "status $status" && cat err && return 1; }
}
smaller() {
    local size
    size=$(wc -c <"$1")
    [ "$size" -lt "$2" ] || { echo "$1 has $size bytes" && return 1; }
}

awk -v days=30 -f "$repository/tests/scripts/bad_month.awk" >LOG
check "a month" ends 0 LOG -o page.html
check "a page" grep -q '^<!DOCTYPE html>' page.html
check "a month is no more than two megabytes" smaller page.html 2000000
check "and says nothing" [ ! -s err ]
check "nothing of the log is markup" [ "$(grep -c 'owned</script>\|<img' page.html)" -eq 0 ]
check "standard output" ends 0 LOG -o -
check "the same page" cmp -s out page.html
check "standard input" eval '"$tool" timeline - -o in.html <LOG && [ -s in.html ]'
check "a page for a log without the daemon" eval 'echo hello >other && ends 0 other -o other.html && grep -q "no line of the daemon" err'
cp LOG kept
check "the log itself is refused" ends 2 LOG -o LOG
ln LOG twin
check "by another name too" ends 2 LOG -o twin
check "and is as it was" cmp -s LOG kept
check "no log" ends 1 none -o page.html
gzip -c LOG | head -c 30000 >torn.gz
check "a packed log that was cut is drawn as far as it goes" eval 'ends 1 torn.gz -o torn.html && grep -q "torn.gz: is damaged" err && [ -s torn.html ]'
check "no output named" ends 2 LOG
check "no log named" ends 2 -o page.html
mkdir somewhere
check "a folder isn't replaced" ends 1 LOG -o somewhere
check "nothing is left over" [ "$(find . -name '*.html.*' | wc -l)" -eq 0 ]
check "a full disk is told" eval '"$tool" timeline LOG -o - >/dev/full 2>err; [ $? -eq 1 ]'
[ $failures -eq 0 ] || exit 1
