#!/bin/sh
# Every text that docs/recovery.md quotes from the log is one of the source, letter by letter: a page that an engineer
# holds against a log must not go stale. Run from anywhere.
set -eu
cd "$(dirname "$0")/../.."
page=docs/recovery.md

# All literals of the daemon, those that are broken over several lines made whole.
sources=$(cat network_daemon/*.cpp | tr '\n' ' ' | sed 's/" *"//g')

status=0
count=0
quoted=$(grep -o '`"[^"`]*"`' $page | sed 's/^`"//; s/"`$//' | sort -u)
IFS='
'
for text in $quoted; do
    count=$((count + 1))
    case $sources in
    *"$text"*) ;;
    *)
        echo "$page quotes what nothing logs: \"$text\""
        status=1
        ;;
    esac
done
[ $count -ge 30 ] || {
    echo "$page quotes only $count texts: are they still marked as this test expects?"
    status=1
}
echo "$count texts looked up"
exit $status
