#!/bin/bash
# usage: rules.sh SOURCES
#
# What packaging/prometheus has, checked by Prometheus' own promtool: configuration, rules, and the rules against boards
# that are ill. Status 77, skipped, where that isn't installed: scripts/setup --fleet does that.
set -eu
sources=$(realpath "$1")
command -v promtool >/dev/null || {
    echo "skipped: there is no promtool; scripts/setup --fleet installs it"
    exit 77
}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$sources"/packaging/prometheus/*.yml "$sources"/tests/prometheus/*.yml "$folder"
cd "$folder"
mkdir boards
promtool check config prometheus.yml
promtool check rules ravelin.rules.yml
promtool test rules ravelin.rules.test.yml

# Each alert is tried, and told on the page.
failed=0
while read -r alert; do
    grep -q "alertname: $alert\b" ravelin.rules.test.yml || {
        echo "no test of $alert"
        failed=1
    }
    grep -qF "\`$alert\`" "$sources/docs/fleet.md" || {
        echo "docs/fleet.md says nothing of $alert"
        failed=1
    }
done < <(sed -n 's/^ *- alert: //p' ravelin.rules.yml)
exit $failed
