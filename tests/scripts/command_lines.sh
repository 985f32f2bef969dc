#!/bin/bash
# command_lines.sh REPOSITORY BUILD: every script and every tool has --help and --version, and refuses a wrong command line
# with one line that names the fault, and status 2, before anything is installed or built.
set -u
REPOSITORY=$1
BUILD=$2
. "$REPOSITORY/tests/scripts/scratch.bash"

TOOLS="modem_sim ocpp_peer ravelinctl scenario_run ravelin_soak recovery_matrix"
VERSION=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$REPOSITORY/CMakeLists.txt")

# What installs or builds must not be reached.
for program in apt-get sudo dpkg cmake ctest ninja g++ bwrap; do
    stub "$program" "exit 99"
done

# The name under which a script or a tool speaks.
name_of() {
    case $1 in
    scripts/* | bench/*) echo "$1" ;;
    *) basename "$1" ;;
    esac
}

# Whether the last run was refused, in one line that says whose it is and where help is.
is_refusal() {
    [ $status -eq 2 ] && [ -z "$output" ] && [[ $errors != *$'\n'* && $errors == "$1: "*"; see --help" ]]
}

# Sets `program` and `shells`: what to run, and by which shells. A script for the shell of a board is run by two of them, all
# else by itself.
program_of() {
    program=$1
    shells=("")
    case " $TOOLS " in
    *" $1 "*) program=$BUILD/$1 ;;
    *) [ "$(head -n 1 "$COPY/$1")" != "#!/bin/sh" ] || shells=(dash "busybox sh") ;;
    esac
}

check_common() {
    local name shell command
    name=$(name_of "$1")
    program_of "$1"
    for shell in "${shells[@]}"; do
        command="$shell $program"
        # shellcheck disable=SC2086 # none, or a shell and its applet
        run $shell "$program" --help
        [ $status -eq 0 ] || fail "$command --help ends with $status"
        [[ $output == "usage: $name"* ]] || fail "$command --help doesn't begin with its usage: ${output%%$'\n'*}"
        [[ $output == *--help* && $output == *--version* ]] || fail "$command --help doesn't mention --help and --version"
        [ -z "$errors" ] || fail "$command --help complains: $errors"
        # shellcheck disable=SC2086
        run $shell "$program" --version
        [ $status -eq 0 ] || fail "$command --version ends with $status"
        [ "$output" = "$name (ravelin-mobile) $VERSION" ] || fail "$command --version says $output"
        [ "$1" != packaging/board/QFirehose ] || continue # passes on to the maker's tool what it doesn't know
        # shellcheck disable=SC2086
        run $shell "$program" --bogus
        is_refusal "$name" || fail "$command --bogus ends with $status and says \"$errors\""
    done
}

# refused FILE FAULT WORD...: FAULT is the whole line but for the name in front and "see --help" after it.
refused() {
    local file=$1 fault=$2 name shell command
    shift 2
    name=$(name_of "$file")
    program_of "$file"
    for shell in "${shells[@]}"; do
        command="$shell $program"
        # shellcheck disable=SC2086
        run $shell "$program" "$@"
        [ $status -eq 2 ] || fail "$command $*: status $status, not 2"
        [ "$errors" = "$name: $fault; see --help" ] || fail "$command $*: says \"$errors\", not \"$fault\""
        [ -z "$output" ] || fail "$command $*: prints \"$output\""
    done
}

# What all have.
mapfile -t scripts < <(cd "$COPY" && find scripts bench simulator packaging -type f -perm -u+x | sort)
[ ${#scripts[@]} -ge 15 ] || fail "only ${#scripts[@]} scripts found: ${scripts[*]}"
for file in "${scripts[@]}" $TOOLS; do
    check_common "$file"
done

# What is wrong, in each one's words.
for file in bench/bus bench/measure scripts/{coverage,fuzz,lint,private-view,run,setup,test} simulator/QFirehose $TOOLS; do
    refused "$file" "unknown option --bogus" --bogus
done

families=$("$BUILD/modem_sim" --help | sed -n 's/^ \{22\}\([a-z0-9_]*\):.*/\1/p' | paste -sd' ')
boards=$(sed -n 's/.*"name": "\(arm[a-z0-9]*\)".*/\1/p' "$REPOSITORY/CMakePresets.json" | sort -u | paste -sd' ')
simulated="is for the simulated modem and can't be combined with --device"

refused scripts/run "--device wants a value" --device
refused scripts/run "--device wants a value that isn't empty" --device ''
refused scripts/run "--fast $simulated" --device /dev/ttyUSB2 --fast
refused scripts/run "--once $simulated" --once --device /dev/ttyUSB2
refused scripts/run "--family $simulated" --device /dev/ttyUSB2 --family zte
refused scripts/run "--family wants a value" --fast --family
refused scripts/run "no family is called \"nosuch\"; there is: $families" --family nosuch
refused scripts/run "no family is called \"--fast\"; there is: $families" --family --fast
refused scripts/run "unexpected argument \"now\"" now

refused scripts/test "--level wants a value" --level
refused scripts/test "no level is called \"integration\"; there is: unit scenario e2e docs" --level integration
refused scripts/test "--filter wants a value that isn't empty" --level unit --filter ''
refused scripts/test "--board wants a value" --board
refused scripts/test "no board is called \"pdp11\"; there is: $boards" --board pdp11
refused scripts/test "unexpected argument \"unit\"" unit

refused scripts/setup "--board wants a value" --board
refused scripts/setup "no board is called \"pdp11\"; there is: $boards" --board pdp11
refused scripts/setup "unexpected argument \"arm64\"" arm64

refused scripts/coverage "unexpected argument \"unit\"" unit
refused scripts/coverage "--report: there is no build-coverage: no tests have been counted" --report

refused scripts/lint "there is no file \"nosuch.cpp\"" --all nosuch.cpp
refused scripts/lint "\"/bin/sh\" isn't below $COPY" /bin/sh

targets=$(cd "$REPOSITORY/tests/fuzz" && echo fuzz_*.cpp | sed 's/fuzz_//g; s/\.cpp//g')
refused scripts/fuzz "MINUTES is missing"
refused scripts/fuzz "MINUTES is missing" --32
refused scripts/fuzz "MINUTES wants a number above 0, not \"tlv\"" tlv
refused scripts/fuzz "MINUTES wants a number above 0, not \"0.0\"" 0.0 tlv
refused scripts/fuzz "MINUTES wants a number above 0, not \"1m\"" --minimise 1m
refused scripts/fuzz "no target is called \"nosuch\"; there is: $targets" 5 tlv nosuch
refused scripts/fuzz "no target is called \"5\"; there is: $targets" --minimise tlv 5

refused scripts/package "no architecture is called \"pdp11\"; there is: amd64 $boards" pdp11
refused scripts/package "unexpected argument \"armhf\"" arm64 armhf
refused scripts/package "ARCH is empty" ''
refused scripts/package "--try is for this machine's own packages, without ARCH" --try arm64
refused packaging/board/ravelin-board-setup "--root wants a folder" --root
refused packaging/board/ravelin-board-setup "no folder /no/such" --root /no/such
refused packaging/board/ravelin-board-setup "unexpected argument \"now\"" now

refused scripts/private-view "a command is missing"
refused scripts/private-view "a command is missing" --board a53
refused scripts/private-view "--share wants two values, DIR and PATH" --share
refused scripts/private-view "--share wants two values, DIR and PATH" --share /tmp
refused scripts/private-view "--share: there is no \"/no/such\"" --share /no/such /x true
refused scripts/private-view "--share: \"x\" isn't an absolute path" --share /tmp x true
refused scripts/private-view "--board wants a value" --board
refused scripts/private-view "no board is called \"a72\"; there is: imx6ul stm32 a35 a53" --board a72 true
refused scripts/private-view "there is no build in $COPY/build: build first, or name another in BUILD" true

refused scripts/run-inside "this is a part of scripts/run, which starts it inside scripts/private-view"
refused scripts/run-inside "this is a part of scripts/run, which starts it inside scripts/private-view" zte yes
refused bench/measure-inside "this is a part of bench/measure, which starts it inside scripts/private-view"
refused bench/bus-inside "this is a part of bench/bus, which starts it inside scripts/private-view"
refused bench/measure "unexpected argument \"quick\"" --no-micro quick
refused bench/bus "unexpected argument \"status\"" status

refused simulator/QFirehose "-f DIR is missing"
refused simulator/QFirehose "-f wants a value" -f
refused simulator/QFirehose "unexpected argument \"x\"" -f dir x
[ ! -e "$COPY/simulator/QFirehose.ran" ] || fail "simulator/QFirehose: a wrong command line is a run"

pins="\"start pin_rst\" or \"start pin_power\" is wanted"
refused packaging/board/Reset4G.sh "$pins, not \"\""
refused packaging/board/Reset4G.sh "$pins, not \"--bogus\"" --bogus
refused packaging/board/Reset4G.sh "$pins, not \"start\"" start
refused packaging/board/Reset4G.sh "$pins, not \"stop pin_rst\"" stop pin_rst
refused packaging/board/Reset4G.sh "$pins, not \"start pin_rst now\"" start pin_rst now
refused packaging/board/S84Reset4G.sh "start or stop is wanted, not \"\""
refused packaging/board/S84Reset4G.sh "start or stop is wanted, not \"restart\"" restart
refused packaging/board/if-lte "two arguments are wanted, SETTINGS and a verb"
refused packaging/board/if-lte "two arguments are wanted, SETTINGS and a verb" settings
refused packaging/board/if-lte "no verb is called \"up\"" settings up

refused packaging/board/udhcpc-lte "an event of udhcpc is wanted, not \"\""

refused modem_sim "unexpected argument \"word\"" word
refused modem_sim "--family wants a value" --family
refused modem_sim "no family is called \"nosuch\"" --family nosuch
refused modem_sim "--send wants a KNOB after the socket" --send socket
refused modem_sim "csq: a number from 0 to 99 is wanted" --set "csq loud"
refused ocpp_peer "a command is missing"
refused ocpp_peer "no command is called \"frob\"" frob
refused ocpp_peer "upgrade takes 3 arguments, not 2" upgrade A B
refused ocpp_peer "--repeat wants a number from 1 to 100000000, not \"many\"" --repeat many status
refused ravelinctl "a command is missing"
refused ravelinctl "no command is called \"frob\"" frob
refused scenario_run "a scenario is missing"
refused scenario_run "a scenario is missing" --story
refused scenario_run "--limit wants a value" --limit
refused scenario_run "--limit wants a number, 1 or more, not \"soon\"" --limit soon x
refused scenario_run "--limit wants a number, 1 or more, not \"0\"" --limit 0 x
refused scenario_run "--unmet wants a number, 0 or more, not \"-1\"" --unmet -1 x
refused scenario_run "--environment wants NAME=VALUE, not \"NAME\"" --environment NAME x
refused scenario_run "\"tests/scenarios\" is a folder and no file" tests/scenarios
refused scenario_run "\"nosuch\" can't be read: No such file or directory" nosuch
refused scenario_run "\"nosuch\" can't be read: No such file or directory" --daemon nosuch bench/steady.scenario
refused ravelin_soak "nothing to do: --seeds, --seed, --minimise or a FILE is missing"
refused ravelin_soak "more than one thing to do" --seeds 1..2 --minimise bench/steady.scenario
refused ravelin_soak "--seeds wants two numbers, the smaller first, as 1..100, not \"2..1\"" --seeds 2..1
refused ravelin_soak "--seeds wants two numbers, the smaller first, as 1..100, not \"x\"" --seeds x
refused ravelin_soak "--seed wants a number, not \"-1\"" --seed -1
refused ravelin_soak "--days wants a number from 1 to 14, not \"0\"" --seeds 1..2 --days 0
refused ravelin_soak "--family wants one of those that modem_sim --help lists, not \"nosuch\"" --seeds 1..2 --family nosuch
refused ravelin_soak "--print wants one seed" --seeds 1..2 --print
refused ravelin_soak "--print wants --seed" --print bench/steady.scenario
refused ravelin_soak "\"nosuch\" can't be read: No such file or directory" --minimise nosuch
refused ravelin_soak "\"tests/scenarios\" is a folder and no file" tests/scenarios
refused ravelin_soak "\"nosuch\" can't be run: No such file or directory" --daemon nosuch --seeds 1..2
refused recovery_matrix "FAULT or --page is missing"
refused recovery_matrix "there is no fault \"nosuch\"" nosuch
refused recovery_matrix "there is no family \"nosuch\"" link_cut nosuch
refused recovery_matrix "--print wants FAULT and FAMILY" --print link_cut
refused recovery_matrix "a moment is a number from 1 to 5, not \"6\"" --print link_cut zte 6
refused recovery_matrix "more than one thing to do" --page --print
refused recovery_matrix "--jobs wants a number from 1 to 1024, not \"0\"" --page --jobs 0
refused recovery_matrix "\"nosuch\" can't be run: No such file or directory" --page --daemon nosuch

# And none of them did anything.
[ ! -s "$CALLS" ] || fail "a refused command line reached $(sort -u "$CALLS")"
for folder in "$COPY"/build*; do
    [ ! -e "$folder" ] || fail "a refused command line made ${folder##*/}"
done
echo "${#scripts[@]} scripts, $(wc -w <<<"$TOOLS") tools: $failures failures"
[ $failures -eq 0 ]
