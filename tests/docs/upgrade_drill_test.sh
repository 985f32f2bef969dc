#!/bin/sh
# The table of what is lost during an upgrade, in docs/bus.md: each row names a story that exists, and each story of an
# upgrade that something disturbs has a row. Run from anywhere.
set -eu
cd "$(dirname "$0")/../.."
page=docs/bus.md

# The last column of the rows below the heading.
stories=$(sed -n '/^### What is lost during an upgrade/,/^For a message id/p' $page |
    sed -n 's/^| .* | `\([a-z_]*\)` |$/\1/p')
rows=$(sed -n '/^### What is lost during an upgrade/,/^For a message id/p' $page | grep -c '^| [^L]')

status=0
[ "$(echo "$stories" | wc -l)" -eq "$rows" ] || {
    echo "$page: a row of the table names no story in its last column"
    status=1
}
for story in $stories; do
    [ -e "tests/scenarios/$story.scenario" ] || [ -e "tests/e2e/$story.sh" ] || {
        echo "$page: there is no story $story"
        status=1
    }
done
for file in tests/scenarios/bus_upgrade*.scenario tests/e2e/upgrade_bus_lost.sh tests/e2e/flash_survives.sh; do
    story=${file##*/}
    case " $(echo "$stories" | tr '\n' ' ') " in
    *" ${story%.*} "*) ;;
    *)
        echo "$page: no row names $file"
        status=1
        ;;
    esac
done
echo "$rows rows looked up"
exit $status
