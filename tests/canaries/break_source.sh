#!/bin/bash
# break_source.sh TABLE NAME REPOSITORY: prints the source of a canary, broken as TABLE says. The log names a source by its
# place in the repository, and has to go on doing so.
set -eu
table=$1 name=$2 repository=$3

part() { awk -v name="$name" -v mark="$1" '
    $1 == "canary" { is_meant = $2 == name }
    is_meant && index($0, mark) == 1 { print substr($0, length(mark) + 1) }' "$table"; }

source=$(part 'source ')
text=$(cat "$repository/$source")
old=$(part '- ')
new=$(part '+ ')
before=${text%%"$old"*}
after=${text#*"$old"}
if [ -z "$old" ] || [ "$before" = "$text" ] || [ "${after#*"$old"}" != "$after" ]; then
    echo "$table: $name: these lines don't stand exactly once in $source:" >&2
    echo "$old" >&2
    exit 1
fi
printf '#line 1 "%s"\n%s%s%s\n' "$source" "$before" "$new" "$after"
