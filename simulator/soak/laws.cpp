#include "simulator/soak/laws.h"

#include "simulator/virtual_time/record.h"

namespace soak {

const std::vector<LawRow>& Laws() {
    // name, reason, whether it goes by the faults that the scenario names
    static const std::vector<LawRow> laws = {
        {"story", "a story that can't be told, or has no end, proves nothing", false, MakeStoryLaw},
        {"ends", "nothing repairs a daemon that is gone: it ends only as its pages say", false, MakeEndsLaw},
        {"recovers",
         "once modem, SIM and network are healthy for the longest time that the ladder can need, the link is "
         "up",
         true, MakeRecoveryLaw},
        {"peace", "while nothing is wrong, nothing is reset, dialled or switched", true, MakePeaceLaw},
        {"ladder", "each reset has its cause in the log and is the rung that the counts allow", true,
         MakeLadderLaw},
        {"waits", "a modem gets the time between two steps that it needs", false, MakeWaitsLaw},
        {"requests", "a request through the pipe is carried out once, and soon", true, MakeRequestsLaw},
        {"settings", "the settings are a control channel: read in each pass while the link is up", true,
         MakeSettingsLaw},
        {"upgrade", "half a firmware is a dead modem: no reset meanwhile, and one report", true,
         MakeUpgradeLaw},
        {"bus", "each question on the bus gets its answer at once, in a frame that can be read", true,
         MakeBusLaw},
        {"status", "the status file says what the record says", true, MakeStatusLaw},
        {"signal", "the signal file says what the modem has last answered, and what the status file says",
         true, MakeSignalLaw},
        {"fresh", "the status file is rewritten in each pass: old text means a dead daemon", true,
         MakeFreshLaw},
        {"places", "only known commands are run, and nothing is written but the status files", false,
         MakePlacesLaw},
        {"complaints", "standard error is no log: only what the pages tell appears there", false,
         MakeComplaintsLaw},
        {"busy", "no minute has more exchanges than fit into it, or floods the log", false, MakeBusyLaw},
        {"resources",
         "a daemon that runs for years gains no descriptor, thread, child or heap byte over a day", true,
         MakeResourcesLaw},
    };
    return laws;
}

const LawRow* FindLaw(const std::string& name) {
    for (const LawRow& law : Laws()) {
        if (name == law.name) return &law;
    }
    return nullptr;
}

void PrintLaws(FILE* to) {
    for (const LawRow& law : Laws()) fprintf(to, "%-12s %s\n", law.name, law.reason);
}

std::string FormatViolation(const Violation& violation) {
    return violation.law + " at " + virtual_time::FormatSeconds(violation.at_ms * 1000) + ": " +
           violation.text;
}

}  // namespace soak
