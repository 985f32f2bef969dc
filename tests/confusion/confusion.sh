#!/bin/bash
# usage: confusion.sh BUILD LEVEL [SEED]...
#
# Prints how often explain names the cause that was injected, with a log of that level. Without SEED it makes stories of one
# fault each, for every family; with them, days full of faults by ravelin_soak. The status is that of the program confusion.
set -eu
build=$(realpath -s "$1")
level=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

families=$("$build/modem_sim" --help | sed -n 's/^  *\([a-z_]*\): [A-Z].*/\1/p')
one_sim="settings
    ENABLE=true
    APN=internet"
two_sims="$one_sim
    DoubleSIM=1
shell ping pings"

# fault NAME FROM TO SETTINGS STATEMENTS: a story of each family.
fault() {
    local name=$1 from=$2 to=$3 settings=$4 statements=$5 family
    for family in $families; do
        # A modem that never says that its network is LTE climbs the ladder for ever with two SIMs.
        case $settings/$family in *DoubleSIM*/chuangyi | *DoubleSIM*/longsung | *DoubleSIM*/nodecom) continue ;; esac
        case $family/$name in
        cinterion/*) setup="port /dev/ttyACM0
options -d /dev/ttyACM0 -Dl $level
shell S84Reset4G.sh takes 4 turns reset" ;;
        *) setup="options -d /dev/ttyUSB2 -Dl $level" ;;
        esac
        cat >"$folder/$name-$family.scenario" <<STORY
modem $family
$setup
$settings
supervise 5
# fault $name from $from to $to
$statements
until 1500
see ends <any>
STORY
    done
}

single_faults() {
    fault mute 200.3 260.3 "$one_sim" "at 200.3 mute on
at 260.3 mute off"
    fault mute_short 200.3 215.3 "$one_sim" "at 200.3 mute on
at 215.3 mute off"
    fault mute_until_reset 200.3 700 "$one_sim" "at 200.3 mute until-reset"
    fault unregistered 200.3 500.3 "$one_sim" "at 200.3 registration 2
at 200.3 link down
at 500.3 registration 1"
    fault unregistered_long 200.3 1100.3 "$one_sim" "at 200.3 registration 0
at 200.3 link down
at 1100.3 registration 1"
    fault unregistered_two_sims 200.3 500.3 "$two_sims" "at 200.3 registration 2
at 200.3 link down
at 500.3 registration 1"
    fault denied 200.3 600.3 "$one_sim" "at 200.3 registration 3
at 200.3 link down
at 600.3 registration 1"
    fault sim_pulled 200.3 420.3 "$one_sim" "at 200.3 sim absent
at 420.3 sim ready"
    fault sim_wants_pin 200.3 420.3 "$one_sim" "at 200.3 sim pin
at 420.3 sim ready"
    fault link_cut 200.3 200.3 "$one_sim" "at 200.3 link down"
    fault dial_refused 200.3 420.3 "$one_sim" "at 200.3 link down
at 200.3 dial fail
at 420.3 dial ok"
    fault dead_path 200.3 500.3 "$two_sims" "at 200.3 reach nothing
at 500.3 reach all"
    fault service_outage 200.3 500.3 "$one_sim
    ORLA=1
    OFFLINE=0
shell ping pings" "at 200.3 reach nothing
at 230 settings
    ENABLE=true
    APN=internet
    ORLA=1
    OFFLINE=70
at 500.3 reach all"
    fault port_away 200.3 240.3 "$one_sim" "at 200.3 unplug
at 240.3 plug"
    fault port_away_long 200.3 500.3 "$one_sim" "at 200.3 unplug
at 500.3 plug"
    fault power_cut 200.3 210.3 "$one_sim" "at 200.3 power off
at 210.3 power on"
    fault disabled 200.3 400.3 "$one_sim" "at 200.3 settings
    ENABLE=false
    APN=internet
at 400.3 settings
    ENABLE=true
    APN=internet"
    fault ask_soft_reset 200.3 200.3 "$one_sim" "at 200.3 fifo SoftReset:1"
    fault ask_hard_reset 200.3 200.3 "$one_sim" "at 200.3 fifo Reset4G:1"
    fault killed 200.3 200.3 "$one_sim" "at 200.3 kill kill"
    [ "$level" -lt 6 ] || fault no_lease 200.3 260.3 "$one_sim" 'at 200.3 fifo "udhcpc wwan0 leasefail\n"
at 260.3 fifo "udhcpc wwan0 bound 10.0.0.1\n"'
}

if [ $# -eq 0 ]; then
    single_faults
else
    for seed in "$@"; do
        # The debug lines of the network checks would tell more than a log of that level has.
        "$build/ravelin_soak" --seed "$seed" --print |
            sed -E "s/ -Df (CheckNetwork|isSoftReset)//g; s/^options .*/& -Dl $level/" >"$folder/$seed.scenario"
        echo "see ends <any>" >>"$folder/$seed.scenario"
    done
fi

arguments=()
for story in "$folder"/*.scenario; do
    "$build/scenario_run" --limit 600 --record-limit 400000000 --record "$story.record" "$story" >/dev/null || true
    [ -s "$story.record" ] || {
        echo "confusion.sh: no record of $story" >&2
        exit 2
    }
    arguments+=("$story" "$story.record")
done
"$build/confusion" "${arguments[@]}"
