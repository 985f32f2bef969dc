#!/bin/bash
# guard_days.sh SCENARIO_RUN DAYS: so many healthy days of the real daemon with the guard beside it, the families in turn, a day
# at a time: without traffic, with some, and with a backend that is down from the third hour on. The guard must ask for nothing.
# A thousand days take about a quarter of an hour of the processor.
set -u
tool=$1
days=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
families=(chuangyi cinterion fibocom fibocom_le huawei longsung lynq nodecom quectel_asr quectel_qcom quectel_unisoc simcom zte)
resets=0
rounds=0
for ((day = 0; day < days; ++day)); do
    family=${families[day % ${#families[@]}]}
    # So that a few days have each kind, and 39 have each kind with each family.
    case $(((day + day / ${#families[@]}) % 3)) in
    0) kind="" state=quiet ;;
    1) kind="traffic 30" state=traffic ;;
    2) kind="at 10000 reach 192.0.2.53" state=quiet ;;
    esac
    printf '%s\n' "modem $family" settings "    ENABLE=true" "    APN=internet" "shell ping pings" guard "    INTERFACE=wwan0" \
        "    DNS=192.0.2.53 www.example.org" "    TCP=192.0.2.80 443" "$kind" "until 86400" \
        "see 86390 shows /run/ravelin-guard/state State=$state" "also 86390 shows /run/ravelin-guard/state Acts=TRUE" "see 86400 ends still running" >"$scratch/day.scenario"
    "$tool" --record "$scratch/record" "$scratch/day.scenario" >"$scratch/messages" 2>&1 || {
        cat "$scratch/messages"
        echo "$family, day $day: the story isn't as expected"
        exit 1
    }
    resets=$((resets + $(grep -cE ' guard +(SoftReset|Reset4G):1' "$scratch/record")))
    of_day=$(sed -n 's/.* shows .* Rounds=//p' "$scratch/record")
    # Every ten minutes where nothing comes in; where something does, once, before it is known.
    if [ "$state" = quiet ]; then [ "$of_day" -ge 140 ]; else [ "$of_day" -le 1 ]; fi || {
        echo "$family, day $day: $of_day rounds of probes"
        exit 1
    }
    rounds=$((rounds + of_day))
done
echo "$days days, $rounds rounds of probes, $resets resets"
[ $resets -eq 0 ]
