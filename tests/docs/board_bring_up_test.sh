#!/bin/sh
# docs/board-bring-up.md says what the code does, where it lists facts: commands that are run, hosts that are pinged, words by
# which a board is recognised, ends of a run, version texts, and every line of a log. Run from anywhere.
#
# A fact is looked up both ways: what the code has must be on the page, and what the page lists must be in the code.
set -eu
cd "$(dirname "$0")/../.."
page=docs/board-bring-up.md
product="network_daemon CellSubClass"
scripts=$(find packaging/board packaging/init -type f ! -name '*.conf' ! -name '*.json' ! -name 'ifcfg*' 2>/dev/null | sort)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
complain() {
    echo "$*"
    status=1
}

# section HEADING: the lines of that section of the page.
section() {
    awk -v heading="## $1" '$0 == heading { on = 1; next } /^## / { on = 0 } on' $page
}

# column NUMBER: the words in `code` of that column of the tables on standard input, one a line.
column() {
    awk -F ' *[|] *' -v column="$1" '/^[|] / { print $(column + 1) }' | grep -o '`[^`]*`' | tr -d '`' | sort -u || true
}

# tools_of USER: those that the page says USER needs.
tools_of() {
    section "Tools that the board needs" | grep "^|[^|]*|[^|]*$1" | column 1
}

# compare WHAT MINIMUM: the two lists $work/code and $work/page, which hold at least MINIMUM items.
compare() {
    sort -u -o "$work/code" "$work/code"
    sort -u -o "$work/page" "$work/page"
    count=$(wc -l <"$work/code")
    [ "$count" -ge "$2" ] || complain "only $count $1 found in the code: is it still written as this test expects?"
    for item in $(comm -23 "$work/code" "$work/page"); do complain "$page doesn't list: $1 $item"; done
    for item in $(comm -13 "$work/code" "$work/page"); do complain "$page lists what the code doesn't have: $1 $item"; done
    echo "$count $1 compared"
}

# The source with literals that are broken over several lines made whole, and without comments and quotes of characters.
joined=$work/joined
for file in $(find $product support platform/busglue -name '*.cpp' -o -name '*.h' | sort); do
    sed -E 's,^ *//.*,,; s/'"'"'\\?"'"'"'//g' "$file" | sed -E ':again; /"$/{N; s/"\n *"//; t again}'
done >"$joined"

# Commands of the daemon: the first word of each part of each pipeline that it gives to the shell
# What is built at run time is known by its place; a new one has to be looked at.
popens=$(grep -rlE '(^|[^p])popen\(' $product --include='*.cpp' | sort | tr '\n' ' ')
[ "$popens" = "CellSubClass/src/CellQuectelQcom.cpp network_daemon/cellular_health.cpp " ] ||
    complain "popen is called in $popens: does $page list what it runs?"
for name in $(grep -rhoE '(RunShell|system)\(([a-z_:]*)k[A-Za-z]+\)' $product | sed 's/.*\(k[A-Za-z]*\))/\1/' | sort -u); do
    grep -rhoE "$name\[\] = \"[^\"]*\"" $product | sed 's/^[^"]*"//; s/"$//'
done >"$work/commands"
tr '\n' ' ' <"$joined" | grep -oE 'RunShell\([^;]*;' | grep -oE '"[^"]*"' | tr -d '"' >>"$work/commands"
grep -oE '\{"ping [^"]*"' "$joined" | sed 's/^{"//; s/"$//' >>"$work/commands"
[ "$(grep -rcE 'RunShell\(|[^_]system\(' $product | awk -F: '{ n += $2 } END { print n }')" -ge 15 ] ||
    complain "fewer calls of the shell than this test expects"
tr '|' '\n' <"$work/commands" | awk '{ print $1 }' | grep -v / >"$work/code"
echo sh >>"$work/code" # which runs them all
tools_of daemon >"$work/page"
compare "commands of the daemon" 8

# Commands of the scripts: words in the place of a command that BusyBox knows as an applet
commands_of() {
    sed 's/^#.*//; s/[[:blank:]]#.*//' "$@" |
        sed -E 's/^[[:blank:]]*[^()"$'"'"']*\)[[:blank:]]*$//' |
        sed -E 's/\$\(|`|\|\|?|&&|;|\{ |\(/\n/g' |
        sed -E 's/^[[:blank:]]*//' |
        sed -E ':again; s/^(if|then|else|elif|while|until|do|!|exec|eval|trap|command -v|nice|[A-Za-z_]+=("[^"]*"|[^ "]*))[[:blank:]]+//; t again' |
        awk '{ print $1 }' | tr -d "\"'" | sort -u
}
: >"$work/code"
busybox --list | grep -vxE 'true|false|test|\[|\[\[|echo|printf|kill|pwd|wait|sh' | sort >"$work/applets"
for script in $scripts; do
    commands_of "$script" | comm -12 - "$work/applets" >>"$work/code"
done
tools_of scripts >"$work/page"
compare "commands of the scripts" 8

# Hosts
web_host=$(sed -n 's/^#define WEB_HOST "\(.*\)"/\1/p' network_daemon/cellular_health.cpp)
sed 's/" WEB_HOST "/'"$web_host"'/' network_daemon/cellular_health.cpp | grep -oE 'ping +[0-9a-z.]+' |
    awk 'NF == 2 && $2 ~ /[.]/ { print $2 }' >"$work/code"
section "Hosts that are pinged" | column 1 >"$work/page"
compare "hosts" 6

# Boards
{
    sed -n '/kHardwareWords\[\]/,/^};/p; /kPartWords\[\]/,/^};/p' network_daemon/main_board.cpp | grep -oE '\{"[^"]*"' | tr -d '{"'
    grep -oE 'strstr\(line, "[0-9][^"]*"\)' network_daemon/main_board.cpp | sed 's/.*"\(.*\)".*/\1/'
} >"$work/code"
section "Boards that are recognised" | column 2 | grep -vE '^/|Hardware|part' >"$work/page"
compare "words of boards" 5

# Ends of a run: a row for each place that ends it
for pair in "kExitDone 0" "kExitFailed 255"; do
    name=${pair% *}
    code=${pair#* }
    value=$(sed -n "s/^constexpr int $name = \(.*\);/\1/p" network_daemon/main.cpp)
    [ $(((value + 256) % 256)) -eq "$code" ] || complain "network_daemon/main.cpp: $name isn't $code any more"
    places=$(grep -cE "(return|exit\()[ ]*$name" network_daemon/main.cpp)
    rows=$(section "How a run ends" | grep -c "^| $code |" || true)
    [ "$places" -eq "$rows" ] || complain "$page has $rows rows of status $code, network_daemon/main.cpp $places ends"
done
if grep -rnE '[^a-z_]_?exit\(|abort\(' $product platform/busglue --include='*.cpp' | grep -v kExitFailed; then
    complain "another end of a run than those of network_daemon/main.cpp"
fi

# Version texts
for version in "$(grep -oE 'tag V[0-9.]+' network_daemon/main.cpp)" \
    "$(sed -n 's/^constexpr char kReleaseText\[\] = "\(.*\)";/\1/p' network_daemon/main_bus.cpp)"; do
    [ -n "$version" ] && grep -qF "\`$version\`" $page || complain "$page doesn't name the version '$version'"
done

# Lines of a log, in blocks marked "log": the place exists, and the message is one of the texts that are printed there
# A text becomes an expression: its conversions stand for anything.
{
    grep -oE '"([^"\\]|\\.)*"' "$joined" | sed 's/^"//; s/"$//'
    # What the system's libraries say.
    echo "ravelin-mobile: error while loading shared libraries: libbusglue.so: %s"
    echo ": Transport endpoint is not connected"
    grep -hoE '(say|echo|fail) "[^"]*"' $scripts | sed 's/^[a-z]* "//; s/"$//; s/\$[({]*[a-zA-Z_0-9*@]*[)}]*/%s/g'
} | sed -E 's/\\[nr]//g; s/\\(.)/\1/g; s/[][\.*^$+?(){}|]/\\&/g; s/%[-0-9]*[sdXx]/.*/g; s/%%/%/g' |
    awk 'length >= 6 && !/^[.*]+$/' | sort -u | sed 's/^/^[ ]*/; s/$/[ ]*$/' >"$work/texts"
awk '/^```log/ { on = 1; next } /^```/ { on = 0 } on && !/^\.\.\.$/' $page >"$work/quoted"
lines=0
while IFS= read -r line; do
    lines=$((lines + 1))
    message=$line
    place=$(printf '%s\n' "$line" | sed -nE 's/^[0-9:]+\.[0-9]+ ([^:]+):([A-Za-z_]+):[0-9]+:.*/\1 \2/p')
    if [ -n "$place" ]; then
        message=$(printf '%s\n' "$line" | sed -E 's/^[^ ]+ [^:]+:[A-Za-z_]+:[0-9]+://')
        grep -qE "(^|[^A-Za-z_])${place#* }\(" "${place% *}" || complain "$page: no such place: $line"
    fi
    printf '%s\n' "$message" | sed -E 's/^(if-lte|udhcpc-lte|Reset4G.sh|QFirehose): //' | grep -qE -f "$work/texts" ||
        complain "$page quotes what nothing prints: $line"
done <"$work/quoted"
[ $lines -ge 30 ] || complain "$page quotes only $lines lines of a log: are they still marked as this test expects?"
echo "$lines lines of a log looked up"
exit $status
