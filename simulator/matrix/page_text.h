// The words of the page around its tables.
#pragma once

namespace matrix {

constexpr char kPageHead[] = R"(# Recovery times

How long the daemon takes to bring the link back, from each fault and with each family of modems; what it does for that; and
where it never does. Everything below is measured: the real daemon, a simulated modem, [virtual time](virtual-time.md). The rules
that explain it are on the [recovery](recovery.md) page.

This page is made by a program. Don't edit it; see [again](#again).

## What to know first

**With `DoubleSIM=1` a healthy modem may be reset for ever.** Nothing is pinged until the daemon has heard the modem say "LTE", and a
network that isn't pinged counts as failed. LongSung, NodeCom and ChuangYi modems never get beyond that, a Huawei modem only if it
sends `^HCSQ` unsolicited, and no modem whose wording is another one, such as "4G" in Cinterion's `^SMONI`: see
[two_sims](#two_sims), [reports_off](#reports_off), [technology_word](#technology_word), and
[before DoubleSIM=1](configuration.md#before-doublesim1). Blocked pings do the same to every family
([pings_blocked](#pings_blocked)).

**Hardware resets have no limit.** While a fault lasts, the ladder goes round and round. The firmware of some modems locks itself
out after more than 7 resets an hour; these faults lead to more, if they last:

)";

constexpr char kPageNever[] = R"(
ChuangYi, LongSung and NodeCom modems with `DoubleSIM=1` come back from nothing: they are listed once in this table and the next, at
[two_sims](#two_sims).

**These faults last until somebody does something.** The section of each fault says what:

)";

constexpr char kPageGuard[] = R"(
**With [ravelin-guard](guard.md)**, which is off until somebody switches it on, a link that says "online" and carries nothing comes
back. The third column is measured with the guard's own program beside the daemon, with its defaults and two probes, on a link that
is quiet. It asks for resets only while `Online=TRUE`, so what keeps the link offline stays as it was; and it can ask for nothing
through a pipe that nobody reads. Hardware resets that it asks for in an hour, at the worst fault: )";

constexpr char kPageGuardMost[] = R"( of the 6 that it may.
No link that stays up by itself is ever reset by it.

What stays "never" with the guard is left to people:

)";

/// Why the guard doesn't mend a fault, and who does.
struct Unmended {
    const char* fault;
    const char* why;
    const char* who;
};
constexpr char kHealthy[] = "the resets are the daemon's own, of a link that is healthy; the guard adds none";
constexpr char kOneSim[] = "whoever sets `DoubleSIM` to 0";
constexpr Unmended kUnmended[] = {
    {"port_renamed", "the daemon has ended: there is no link, and nobody reads the pipe",
     "whoever gives `-d` a name that stays"},
    {"sim_pin", "the link is never online, and no reset enters a PIN", "whoever switches the SIM's PIN off"},
    {"unregistered_and_weak",
     "the link is never online; from outside it looks like a board without reception, which the guard would "
     "reset for nothing",
     "whoever has looked at the antenna, by `Reset4G:1`"},
    {"denied_until_reset",
     "the link is never online; from outside it looks like a SIM that the network refuses, which no reset "
     "changes",
     "whoever knows that the SIM is good, by `Reset4G:1`; otherwise its provider"},
    {"two_sims", kHealthy, kOneSim},
    {"reports_off", kHealthy, kOneSim},
    {"technology_word", kHealthy, kOneSim},
    {"pipe_replaced", "through a pipe that nobody reads the guard can ask for nothing",
     "whoever removes the path; the link itself is online meanwhile"},
};

constexpr char kPageMore[] = R"(
**Other things that surprise.**

- A port that is away for 0.2 s, and a modem that restarts by itself, cost a hardware reset, and twice the time of a start of the
  daemon ([port_blinks](#port_blinks), [modem_restarts](#modem_restarts)).
- After `ENABLE=false` the radio stays off when the link is enabled again. Most families come back with the soft reset after 34
  checks, minutes later ([disabled](#disabled)). `SoftReset:1` through the pipe, right after `ENABLE=true`, shortens that to one
  soft reset and a dial.
- Every fifth attempt to connect is a hardware reset, for the whole life of the process: a link that is cut once a day is
  hardware-reset every few days.
- With `ORLA=1` a path that dies a minute or more into an outage of the service stays dead for up to half an hour, later for up to
  an hour ([outage_used_up](#outage_used_up)).
)";

constexpr char kPageGlance[] = R"(
## All faults at a glance

The median of five runs, in seconds. ∞: at least one of them never came back. -: the link stayed up. ▲: more than 7 hardware
resets in an hour. CY is ChuangYi, CI Cinterion, FI Fibocom, FL Fibocom LE, HW Huawei, LS LongSung, LY LYNQ, NC NodeCom, QA Quectel
ASR, QQ Quectel Qualcomm, QU Quectel Unisoc, SC SIMCom, ZT ZTE.

)";

constexpr char kPageWorst[] = R"(
The longest way back of each family, beside its bound, and the fault that it comes from:

)";

constexpr char kPageFaults[] = R"(
## How to read the tables

- **Setting.** One SIM, unless the fault says otherwise; the family's first model; a modem that boots in 5 s, whose port is away for
  3 s and which finds its network in 3 s; a reset script that takes 3 s (4 s for Cinterion); a supervisor that starts the daemon
  again after 5 s, always. Modems and networks that need longer add their time.
- **Moments.** Each fault comes five times, at moments that lie 12 s or so apart, and lasts up to a minute longer than is said.
  Before it the daemon has made one, two, three, four and one attempts to connect, by links that were cut: each fifth attempt is a
  hardware reset instead of a dial, however long ago the others were. So `worst` often has a hardware reset that the others don't.
- **median, worst.** From the end of the fault until the link is up for good; where only a reset or a dial ends the fault, from its
  begin. A link whose path is dead isn't up, whatever the daemon says. `-`: it stayed up.
- **bound.** The longest that waits and counts allow, derived as in [soak](soak.md#the-longest-way-back), plus what the ladder needs
  to come to the rung that helps. `worst` is never longer: the program that makes this page fails otherwise.
- **checks, dials, soft, switches, hard, starts.** Failed checks, attempts to connect, soft resets that belong to no hardware reset,
  switches to the other SIM, hardware resets, and starts by the supervisor; from the begin of the fault on, in the first hour where
  there is no way back. `0-2` is the least and the most of the five runs.
- **hard/h.** Hardware resets in the fullest hour of the five runs; ▲ where there are more than 7.
- **guarded, its resets.** The median with the guard beside the daemon, and the most soft and hardware resets that the guard asked for
  in a run: `1+0` is a soft one and no other. `-`: none. The guard's patience begins where the fault begins, 5 minutes at least.

## Again

Each cell is a scenario. This writes the third run of one and plays it, and then measures its row, or all rows of a fault:

    build/recovery_matrix --print dead_path zte 3 >cell.scenario
    build/scenario_run --story cell.scenario
    build/recovery_matrix dead_path zte
    build/recovery_matrix dead_path

The whole page takes about ten minutes of CPU time, and is the same on every machine, byte for byte:

    build/recovery_matrix --page --jobs 2 >docs/recovery-times.md

`recovery_matrix --list` shows the faults. A new one is a row in `simulator/matrix/cells.cpp` and a function of a few lines above it.

## Fault by fault
)";

}  // namespace matrix
