#!/bin/bash
# guard_days.sh SCENARIO_RUN DAYS: so many healthy days of the real daemon with the guard beside it, the families in turn, a day
# at a time: with traffic, without any, and with a backend that is down from the third hour on. The guard must ask for nothing.
# A thousand days take about a quarter of an hour of the processor.
set -u
tool=$1
days=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
families=(chuangyi cinterion fibocom fibocom_le huawei longsung lynq nodecom quectel_asr quectel_qcom quectel_unisoc simcom zte)
resets=0
probed=0
for ((day = 0; day < days; ++day)); do
    family=${families[day % ${#families[@]}]}
    case $((day / ${#families[@]} % 3)) in
    0) kind="" ;;
    1) kind="traffic 30" ;;
    2) kind="at 10000 reach 192.0.2.53" ;;
    esac
    printf '%s\n' "modem $family" settings "    ENABLE=true" "    APN=internet" "shell ping pings" guard "    INTERFACE=wwan0" \
        "    DNS=192.0.2.53 www.example.org" "    TCP=192.0.2.80 443" "$kind" "until 86400" \
        "see 86390 shows /run/ravelin-guard/state Acts=TRUE" "see 86400 ends still running" >"$scratch/day.scenario"
    "$tool" --record "$scratch/record" "$scratch/day.scenario" >"$scratch/messages" 2>&1 || {
        cat "$scratch/messages"
        echo "$family, day $day: the story isn't as expected"
        exit 1
    }
    resets=$((resets + $(grep -cE ' guard +(SoftReset|Reset4G):1' "$scratch/record")))
    grep -q ' guard .*now quiet' "$scratch/record" && probed=$((probed + 1))
done
echo "$days days, $probed of them with silence, $resets resets"
[ $resets -eq 0 ] && [ $probed -gt 0 ]
