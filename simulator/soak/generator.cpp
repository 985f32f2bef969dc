#include "simulator/soak/generator.h"

#include <algorithm>
#include <vector>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/message.h"
#include "simulator/modem/modem_model.h"
#include "simulator/soak/faults.h"
#include "simulator/soak/random.h"
#include "simulator/soak/story.h"
#include "simulator/soak/time_units.h"
#include "simulator/text/text.h"

namespace soak {

namespace {

constexpr char kSignalPath[] = "/run/network/signal_status";
constexpr char k3630Path[] = "/run/network/3630_status";
constexpr char kUpgradeTool[] = "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose";
constexpr char kUpgradeFamily[] = "quectel_qcom";
constexpr char kUpgradeModel[] = "EG21";
constexpr int64_t kWorstGoodCsq = 12;
constexpr int64_t kBestCsq = 31;

// Kinds of boards, by what makes the daemon know them; the first is one that it doesn't know.
constexpr const char* kBoards[] = {
    "cpuinfo model name : ARMv7 Processor rev 5 (v7l)\n",
    "cpuinfo Hardware : Freescale i.MX6 UltraLite MX6UL\n",
    "cpuinfo Hardware : STM32 (Device Tree Support)\n",
    "cpuinfo CPU part : 0xd04\n",
    "cpuinfo CPU part : 0xd03\n",
    "version Linux version 5.10.35 (build@host)\n",
};

constexpr const char* kApns[] = {"internet", "'cmnet'", "m2m.example.org", ""};

/// Two families take the answer to a dial for its outcome, and wait a second for it: a dial that takes longer
/// fails.
bool MayDialSlowly(const std::string& family) {
    return family != "simcom" && family != "lynq";
}

/// A Fibocom module that is silent when it is asked for its USB mode, some seconds after the reset script has
/// ended, and awake two seconds later, when the restart is ordered, goes round for ever, if it always boots
/// exactly as fast. Only a module in a story does.
void KeepOutOfStep(Setup& setup) {
    constexpr int64_t kPauses_ms = 6000;   // after the script
    constexpr int64_t kHangUp_ms = 5000;   // one of the two drivers first hangs up
    constexpr int64_t kToOrder_ms = 2000;  // from the question to the order
    constexpr int64_t kMargin_ms = 500;
    if (setup.family.rfind("fibocom", 0) != 0) return;
    const int64_t hang_up_ms = setup.family == "fibocom" ? kHangUp_ms : 0;
    const int64_t question_ms = setup.board.script_ms + kPauses_ms + hang_up_ms;
    const int64_t from_ms = question_ms - kMargin_ms;
    const int64_t to_ms = question_ms + kToOrder_ms + kMargin_ms;
    int64_t& boot_ms = setup.timing.boot_ms;
    if (boot_ms <= from_ms || boot_ms >= to_ms) return;
    boot_ms = from_ms;
    setup.timing.port_gone_ms = std::min(setup.timing.port_gone_ms, boot_ms);
}

void DrawTiming(Random& random, Setup& setup) {
    constexpr int64_t kLongestBoot_ms = 15000;
    ModemTiming& timing = setup.timing;
    if (random.Percent(60)) return;
    timing.boot_ms = random.Between(2000, kLongestBoot_ms);
    timing.sim_start_ms = random.Skewed(0, 4000);
    timing.search_ms = random.Skewed(200, 30000);
    timing.dial_ms = random.Skewed(100, MayDialSlowly(setup.family) ? 8000 : 900);
}

/// The daemon opens the port six seconds after the script has ended, and only once: a port that isn't back
/// ends it. In some stories that is so after each reset. A modem that comes back under another name is looked
/// for when the script has ended.
void DrawBoard(Random& random, Setup& setup) {
    constexpr int64_t kMostGone_ms = 5000;
    const bool is_late = random.Percent(10);
    const int64_t most_ms = is_late ? setup.timing.boot_ms : kMostGone_ms;
    setup.timing.port_gone_ms = std::min(setup.timing.boot_ms, random.Between(0, most_ms));
    const bool is_renamed = setup.family == "cinterion";
    const int64_t least_seconds = is_renamed ? setup.timing.port_gone_ms / kSecond_ms + 1 : 0;
    setup.board.script_ms = (least_seconds + random.Skewed(0, 8)) * kSecond_ms;
    setup.board.restart_ms = random.Skewed(1, 60) * kSecond_ms;
}

Setup DrawSetup(Random& random, const GeneratorOptions& options) {
    Setup setup;
    const std::string family = random.Pick(modem_sim::Modem::Families());
    setup.family = options.family.empty() ? family : options.family;
    setup.model = random.Pick(modem_sim::Modem::Models(setup.family));
    // The one model that can be upgraded is there more often than its family's share.
    constexpr int kUpgradeModels = 8;
    if (random.Percent(kUpgradeModels) && options.family.empty()) {
        setup.family = kUpgradeFamily;
        setup.model = kUpgradeModel;
    }
    if (setup.family == "cinterion") {
        // Its name changes with each restart, so a board gives it one that stays.
        setup.port = "/dev/ttyACM0";
        setup.device = "/dev/ttyUSB-modem";
    }
    DrawTiming(random, setup);
    DrawBoard(random, setup);
    KeepOutOfStep(setup);
    setup.board.has_two_sims =
        random.Percent(setup.family_timing().technology == Technology::kHidden ? 10 : 30);
    setup.board.has_project = random.Percent(20);
    setup.can_upgrade = setup.model == kUpgradeModel;
    setup.settings.push_back({"ENABLE", "true"});
    setup.settings.push_back({"APN", random.Pick(kApns)});
    if (random.Percent(40)) {
        setup.settings.push_back({"USERNAME", "user"});
        setup.settings.push_back({"PASSWORD", "secret"});
        setup.settings.push_back({"AUTH_TYPE", std::to_string(random.Between(0, 3))});
    }
    if (random.Percent(30)) setup.settings.push_back({"AUTOCONNECT", random.Percent(50) ? "1" : "0"});
    if (random.Percent(10)) setup.settings.push_back({"CARD_PIN", "1234"});
    if (setup.board.has_two_sims) setup.settings.push_back({"DoubleSIM", "1"});
    if (setup.board.has_project) {
        setup.settings.push_back({"ORLA", "1"});
        setup.settings.push_back({"OFFLINE", "0"});
    }
    return setup;
}

std::string WriteSetup(Random& random, const Setup& setup) {
    std::string text = "modem " + setup.family + " " + setup.model + "\n";
    text += "port " + setup.port + "\n";
    text += random.Pick(kBoards);
    const ModemTiming& timing = setup.timing;
    text += "knob boot-time " + std::to_string(timing.boot_ms) + "\n";
    text += "knob port-gone " + std::to_string(timing.port_gone_ms) + "\n";
    text += "knob sim-start " + std::to_string(timing.sim_start_ms) + "\n";
    text += "knob search-time " + std::to_string(timing.search_ms) + "\n";
    text += "knob dial-time " + std::to_string(timing.dial_ms) + "\n";
    if (random.Percent(30)) text += "knob echo off\n";
    if (random.Percent(10)) text += "knob usb-mode 17\n";
    if (setup.device != setup.port) text += "port-link " + setup.device + "\n";
    text += "options -d " + setup.device + " -Df CheckNetwork -Df isSoftReset\n";
    text += "settings\n" + SettingsBlock(setup.settings);
    if (setup.can_upgrade) text += std::string("file ") + kUpgradeTool + "\n    the tool\n";
    text += "supervise " + Seconds(setup.board.restart_ms) + "\n";
    text += "shell ping pings\n";
    text += ResetScriptRule(setup.board.script_ms / kSecond_ms) + "\n";
    return text;
}

/// The file that the daemon writes beside the status file; null for most modems.
const char* SignalFileOf(const Setup& setup) {
    if (setup.family == "quectel_qcom" || setup.family == "quectel_unisoc") return kSignalPath;
    return setup.model == "ME3630" ? k3630Path : nullptr;
}

/// What goes on all the time: somebody reads the status, the OCPP service asks, scripts report.
void WriteBackground(Random& random, Story& story, int64_t until_ms) {
    const auto phase = [&random](int64_t step_ms) { return random.Between(1, step_ms); };
    constexpr int64_t kLook_ms = 5 * kMinute_ms;
    const int64_t look_ms = phase(kLook_ms);
    story.Every(kLook_ms, look_ms, until_ms, std::string("show ") + kStatusPath);
    const char* signal_path = SignalFileOf(story.setup);
    if (signal_path != nullptr) story.Every(kLook_ms, look_ms, until_ms, std::string("show ") + signal_path);
    story.Every(kHour_ms, phase(kHour_ms), until_ms, "resources");
    // The weather changes the signal, though never to a bad one.
    for (int64_t at_ms = random.Between(0, kHour_ms); at_ms < until_ms;
         at_ms += random.Between(kMinute_ms, 4 * kHour_ms)) {
        story.At(at_ms, "csq " + std::to_string(random.Between(kWorstGoodCsq, kBestCsq)));
    }
    if (random.Percent(80)) {
        const auto msg_id = static_cast<unsigned>(random.Below(65536));
        const bus_peer::Bytes query = bus_peer::EncodeFrame({msg_id, bus_peer::kStatus, {}});
        const int64_t step_ms = random.Skewed(20 * kSecond_ms, kHour_ms);
        story.Every(
            step_ms, phase(step_ms), until_ms,
            "call " + simulator_text::ToHex({reinterpret_cast<const char*>(query.data()), query.size()}));
    }
    if (random.Percent(50)) {
        const int64_t step_ms = random.Skewed(10 * kSecond_ms, kHour_ms);
        story.Every(step_ms, phase(step_ms), until_ms, "fifo 4G_MODEM_STATUS:online");
    }
}

/// Swarm: what is left of the kinds after some are switched off whole. A few kinds at a time go together more
/// often than all of them would.
std::vector<const FaultKind*> DrawKinds(Random& random, const Setup& setup) {
    constexpr int kKeptPercents[] = {10, 25, 50, 75, 100};
    const int kept_percent = random.Pick(kKeptPercents);
    std::vector<const FaultKind*> fitting, kept;
    for (const FaultKind& kind : FaultKinds()) {
        if (kind.fits != nullptr && !kind.fits(setup)) continue;
        fitting.push_back(&kind);
        if (random.Percent(kept_percent)) kept.push_back(&kind);
    }
    if (kept.empty()) kept.push_back(random.Pick(fitting));
    return kept;
}

const FaultKind& DrawKind(Random& random, const std::vector<const FaultKind*>& kinds) {
    int64_t shares = 0;
    for (const FaultKind* kind : kinds) shares += kind->share;
    int64_t drawn = random.Between(1, shares);
    for (const FaultKind* kind : kinds) {
        drawn -= kind->share;
        if (drawn <= 0) return *kind;
    }
    return *kinds.back();
}

struct Planned {
    int64_t from_ms;
    int64_t to_ms;
    std::string statements;
    const FaultKind* kind;
};

/// One fault, or a few at a time. The moment when all is over.
int64_t WriteEpisode(Random& random, Story& story, const std::vector<const FaultKind*>& kinds,
                     int64_t from_ms) {
    constexpr int64_t kMostApart_ms = 5 * kMinute_ms;
    int count = 1;
    while (count < 4 && random.Percent(25)) ++count;
    std::vector<Planned> faults;
    for (int i = 0; i < count; ++i) {
        const FaultKind& kind = DrawKind(random, kinds);
        Random own = random.Fork();
        Story part(story.setup);
        Planned fault;
        fault.kind = &kind;
        fault.from_ms = from_ms + (i == 0 ? 0 : own.Skewed(0, kMostApart_ms));
        const int64_t length_ms = own.Skewed(kind.least_seconds * kSecond_ms, kind.most_seconds * kSecond_ms);
        fault.to_ms = kind.write(part, own, fault.from_ms, fault.from_ms + length_ms);
        fault.statements = part.Take();
        faults.push_back(std::move(fault));
    }
    std::stable_sort(faults.begin(), faults.end(),
                     [](const Planned& one, const Planned& other) { return one.from_ms < other.from_ms; });
    int64_t over_ms = from_ms;
    for (const Planned& fault : faults) {
        story.Fault(fault.kind->name, fault.from_ms, fault.to_ms);
        story.Append(fault.statements);
        over_ms = std::max(over_ms, fault.to_ms);
    }
    return over_ms;
}

}  // namespace

std::string GenerateScenario(uint64_t seed, const GeneratorOptions& options) {
    Random random(seed);
    Random of_setup = random.Fork(), of_text = random.Fork(), of_background = random.Fork(),
           of_kinds = random.Fork();
    const Setup setup = DrawSetup(of_setup, options);
    const std::vector<const FaultKind*> kinds = DrawKinds(of_kinds, setup);
    const int64_t until_ms = options.days * kDay_ms;

    Story story(setup);
    WriteBackground(of_background, story, until_ms);
    // Between two episodes the world is healthy for as long as the ladder may need, and then some.
    constexpr int64_t kLeastCalm_ms = kMinute_ms;
    constexpr int64_t kMostCalm_ms = 40 * kMinute_ms;
    int64_t at_ms = 0;
    while (true) {
        at_ms += setup.recovery_ms() + random.Skewed(kLeastCalm_ms, kMostCalm_ms);
        Story episode(setup);
        const int64_t over_ms = WriteEpisode(random, episode, kinds, at_ms);
        if (over_ms + setup.recovery_ms() + kLeastCalm_ms > until_ms) break;
        story.Append(episode.Take());
        at_ms = over_ms;
    }
    return "# seed " + std::to_string(seed) + ", " + std::to_string(options.days) + " days\n\n" +
           WriteSetup(of_text, setup) + "\n" + story.Take() + "\nuntil " + Seconds(until_ms) +
           "\nnever broken <any>\n";
}

}  // namespace soak
