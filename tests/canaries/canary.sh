#!/bin/bash
# canary.sh SOAK DAEMON NAME LAW SEEDS: days of these seeds under a broken daemon break the law, before any other. The same
# days under the daemon as it is break none: soak.days has them. The story that was kept for it breaks that law under the
# broken daemon, and none under the one that is right.
set -u
soak=$1 daemon=$2 name=$3 law=$4 seeds=$5
kept=$(dirname "$0")/$name.scenario
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "$*" >&2
    exit 1
}

said=$("$soak" --seeds "$seeds" --first --daemon "$daemon" --keep "$folder")
status=$?
echo "$said" | grep '^seed '
[ $status -eq 1 ] || fail "status $status: the days of seeds $seeds don't find it"
echo "$said" | grep -m 1 '^seed ' | grep -q "^seed [0-9]*: $law at " || fail "it isn't the law \"$law\" that is broken first"

said=$("$soak" --daemon "$daemon" "$kept")
[ $? -eq 1 ] || fail "$kept doesn't find it: $said"
echo "$said" | grep -v "^$kept: $law at " && fail "$kept breaks other laws too"
said=$("$soak" "$kept") || fail "$kept finds it in the daemon as it is: $said"
