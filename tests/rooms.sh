#!/bin/bash
# rooms.sh REPOSITORY: the test of a file is found by the file's path. Each source of the product has the suite of its
# name, in the room of its folder, and each suite the source; what is otherwise stands in the table with its reason.
set -u
cd "$1" || exit 1
status=0

complain() {
    echo "$*" >&2
    status=1
}

# FILE | what stands in its counterpart's place | why
exceptions() {
    cat <<'EOF'
network_daemon/cellular_carrier.cpp | tests/unit/engine/cellular_sim_test.cpp | the carrier is the last thing that the check of the SIM asks for
CellSubClass/src/DataStatusDialect.cpp | tests/unit/drivers/driver_rows_test.cpp | it has nothing that the checks of all drivers don't see
tests/unit/process/main_fifo_pipe_test.cpp | network_daemon/main_fifo.cpp | the pipe itself, beside what comes through it
tests/unit/support/serial_port_read_test.cpp | support/serial_port.cpp | reads, beside the set-up of the line
tests/unit/support/trace_log_line_test.cpp | support/trace_log.cpp | what a line looks like, beside where it goes
tests/unit/drivers/driver_cells_test.cpp | CellSubClass/src | cells, of all drivers
tests/unit/drivers/driver_dial_test.cpp | CellSubClass/src | dial and hang-up, of all drivers
tests/unit/drivers/driver_link_test.cpp | CellSubClass/src | the test of the link, of all drivers
tests/unit/drivers/driver_registration_test.cpp | CellSubClass/src | the registration test, of all drivers
tests/unit/drivers/driver_reports_test.cpp | CellSubClass/src | unsolicited texts, of all drivers
tests/unit/drivers/driver_rows_test.cpp | CellSubClass/src | rows of prefixes, of all drivers
tests/unit/drivers/driver_set_up_test.cpp | CellSubClass/src | the set-up, of all drivers
tests/unit/drivers/driver_signal_test.cpp | CellSubClass/src | signal and health, of all drivers
tests/unit/drivers/driver_sim_test.cpp | CellSubClass/src | the SIM check, of all drivers
tests/unit/drivers/families_test.cpp | CellSubClass/src | all places that know a family of modems, held against each other
tests/unit/simulator/text/simulator_text_test.cpp | simulator/text/text.cpp | ctest shows no folder
tests/unit/tools/log/log_catalogue_test.cpp | tools/log/catalogue.cpp | ctest shows no folder
tests/unit/tools/log/log_line_test.cpp | tools/log/line.cpp | ctest shows no folder
tests/unit/tools/log/log_reader_test.cpp | tools/log/reader.cpp | ctest shows no folder
tests/unit/simulator/modem/modem_device_test.cpp | simulator/modem/device.cpp | ctest shows no folder
tests/unit/simulator/modem/modem_dialect_test.cpp | simulator/modem/dialect.cpp | ctest shows no folder
tests/unit/simulator/modem/modem_knobs_test.cpp | simulator/modem/knobs.cpp | ctest shows no folder
tests/unit/simulator/modem/modem_tool_test.cpp | simulator/modem/modem_sim.cpp | the tool as people start it
tests/unit/simulator/modem/modem_line_faults_test.cpp | simulator/modem/modem_model.cpp | what a bad line makes of its answers
tests/unit/simulator/modem/modem_dialect_reporting_test.cpp | simulator/modem/dialects | families that report unasked
tests/unit/simulator/modem/modem_fibocom_test.cpp | simulator/modem/dialects/fibocom.cpp | with fibocom_le.cpp
tests/unit/simulator/modem/modem_simcom_lynq_test.cpp | simulator/modem/dialects/simcom.cpp | with lynq.cpp
tests/unit/tools/doctor/doctor_board_test.cpp | tools/doctor/board.cpp | ctest shows no folder
tests/unit/tools/ctl/ctl_command_line_test.cpp | tools/ctl/command_line.cpp | ctest shows no folder
tests/unit/simulator/virtual_time/virtual_time_test.cpp | simulator/virtual_time/environment.cpp | the world as a whole
EOF
}

declare -A instead
while IFS='|' read -r file counterpart _; do
    instead[${file// /}]=${counterpart// /}
done < <(exceptions)

suite_of() {
    local name
    name=$(basename "$1" .cpp)
    case $1 in
        network_daemon/config/*) echo "tests/unit/config/${name}_test.cpp" ;;
        network_daemon/main*) echo "tests/unit/process/${name}_test.cpp" ;;
        network_daemon/*) echo "tests/unit/engine/${name}_test.cpp" ;;
        CellSubClass/src/*) echo "tests/unit/drivers/${name}_test.cpp" ;;
        support/* | simulator/* | tools/*) echo "tests/unit/$(dirname "$1")/${name}_test.cpp" ;;
    esac
}

source_of() {
    local name
    name=$(basename "$1" _test.cpp)
    case $1 in
        tests/unit/process/* | tests/unit/engine/*) echo "network_daemon/$name.cpp" ;;
        tests/unit/config/*) echo "network_daemon/config/$name.cpp" ;;
        tests/unit/drivers/*) echo "CellSubClass/src/$name.cpp" ;;
        *) echo "$(dirname "${1#tests/unit/}")/$name.cpp" ;;
    esac
}

# check FILE COUNTERPART WHAT
check() {
    local there=${instead[$1]-}
    if [ -n "$there" ]; then
        [ ! -e "$2" ] || complain "$1 has its $3 $2: take it out of the table of tests/rooms.sh"
        [ -e "$there" ] || complain "$1 has $there in the table of tests/rooms.sh, which isn't there"
    elif [ ! -e "$2" ]; then
        complain "$1 has no $3 $2; if another file takes its place, add it to the table of tests/rooms.sh"
    fi
}

sources=0
for file in network_daemon/*.cpp network_daemon/config/*.cpp CellSubClass/src/*.cpp support/*.cpp; do
    sources=$((sources + 1))
    # The checks of all drivers take what they expect from the facts of each; a suite of its own has what is special.
    facts=tests/unit/drivers/facts/$(basename "${file/\/Cell/\/}")
    [ -e "$facts" ] || check "$file" "$(suite_of "$file")" suite
done
for facts in tests/unit/drivers/facts/*.cpp; do
    check "$facts" "CellSubClass/src/Cell${facts##*/}" driver
done
suites=0
while read -r file; do
    suites=$((suites + 1))
    check "$file" "$(source_of "$file")" source
done < <(find tests/unit -name '*_test.cpp' | sort)
for file in "${!instead[@]}"; do
    [ -e "$file" ] || complain "$file is in the table of tests/rooms.sh and isn't there"
done
if [ $sources -lt 40 ] || [ $suites -lt 50 ]; then
    complain "only $sources sources and $suites suites found"
fi
exit $status
