// What the daemon's steps take with each family, from its waits and the number of its exchanges, and what
// follows for the longest way back to a link. docs/soak.md has the derivation in words.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace soak {

/// How long the simulated modem takes; a scenario may set it with knobs of these names.
struct ModemTiming {
    int64_t boot_ms = 5000;
    int64_t sim_start_ms = 600;
    int64_t search_ms = 3000;
    int64_t dial_ms = 800;
    int64_t port_gone_ms = 3000;  // after a reset
};

/// What a story has besides the modem.
struct BoardTiming {
    bool has_two_sims = false;  // DoubleSIM=1
    bool has_project = false;   // ORLA=1
    int64_t script_ms = 0;      // that the reset scripts take
    int64_t restart_ms = 0;     // until the supervisor starts the daemon again; 0: there is none
};

/// Whole seconds. An exchange with the modem takes one, whether it is answered or not, unless the driver
/// waits longer for it.
/// How the daemon learns a modem's radio technology. With two SIMs nothing is pinged before the modem was
/// heard to say "LTE", and without an answered ping it climbs the ladder, however healthy the modem is.
enum class Technology {
    kTold,      // in the answer to a command
    kReported,  // unsolicited, every few seconds: heard only if that is while the daemon listens
    kHidden,    // once and unsolicited, or never
};

struct FamilyTiming {
    const char* family;
    int set_up_seconds;           // Initialize, the radio's pauses included
    int mode_change_seconds;      // more of it, when the modem has to change its USB mode
    int read_sim_seconds;         // CheckSimCard with a SIM that answers
    int service_seconds;          // CheckServiceStatus when there is none
    int dial_seconds;             // from "Do connect." to the start of the DHCP client, its pause included
    int look_seconds;             // one CheckConnection
    int probe_seconds;            // one ReadCSQ
    int survey_seconds;           // temperature and signal, every 20th pass
    bool resets_instead_of_soft;  // no SIM and 34 checks without service lead to a hardware reset
    Technology technology;
};

/// Null for a name that is no family.
const FamilyTiming* TimingOf(const std::string& family);

/// CheckSimCard, when neither IMSI nor readiness is answered.
int WorstReadSimSeconds(const FamilyTiming& timing);
/// SoftReset of a healthy modem, and of one that doesn't answer.
int SoftResetSeconds(const FamilyTiming& timing);
int WorstSoftResetSeconds(const FamilyTiming& timing);
/// From the end of Task to the next pass, with a modem that doesn't answer.
int HardResetSeconds(const FamilyTiming& timing);

/// The longest single step: what the daemon may be in the middle of when the world becomes healthy, and for
/// how long a request may wait. Scripts and pings that take longer by the story's will come on top.
int LongestStepSeconds(const FamilyTiming& timing);
/// The longest pass while online and healthy.
int LongestPassSeconds(const FamilyTiming& timing, const BoardTiming& board);
/// From an end of the daemon to its first attempt to connect.
int RestartSeconds(const FamilyTiming& timing, const ModemTiming& modem, const BoardTiming& board);

/// Once modem, SIM, network and board are healthy, the link is up after so long at the latest.
int RecoveryBoundSeconds(const FamilyTiming& timing, const ModemTiming& modem, const BoardTiming& board);

// How long the ladder may take to come to a rung, where only that rung helps.

/// The third round without service, which ends in a hardware reset.
int ServiceRoundsSeconds(const FamilyTiming& timing);
/// The fifth attempt to connect, after four in vain.
int AttemptsSeconds(const FamilyTiming& timing);
/// The ninth failed check of the network, with two SIMs, whose switches and dials come before it.
int WeakChecksSeconds(const FamilyTiming& timing, const ModemTiming& modem);

/// The times of all families with a modem and a board as they are unless a story says otherwise, for people.
void PrintTimes(FILE* to);

}  // namespace soak
