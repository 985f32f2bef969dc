#include "tools/board/link.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>
#include <set>

namespace board {

namespace {

constexpr char kHome[] = "1";
constexpr char kSearching[] = "2";
constexpr char kDenied[] = "3";
constexpr char kRoaming[] = "5";
constexpr int kAttemptsToReset = 5;
constexpr long kZoneStep_seconds = 15 * 60;
// A file full of rubbish doesn't push the link's state out of sight.
constexpr size_t kMostStrangers = 5;
constexpr size_t kLongestStranger = 120;

bool IsRegistered(const std::string& value) {
    return value == kHome || value == kRoaming;
}

std::string Duration(long seconds) {
    return std::to_string(seconds) + " s";
}

/// The value of a setting as the daemon reads it: up to its second "=", without white space around it.
std::string SettingOf(const std::string& line) {
    const size_t start = line.find('=') + 1;
    std::string value = line.substr(start, line.find('=', start) - start);
    const auto is_space = [](char c) { return isspace(static_cast<unsigned char>(c)) != 0; };
    value.erase(value.begin(), std::find_if_not(value.begin(), value.end(), is_space));
    value.erase(std::find_if_not(value.rbegin(), value.rend(), is_space).base(), value.end());
    return value;
}

bool IsKey(std::string line, const std::string& key) {
    line = line.substr(0, line.find('='));
    while (!line.empty() && isspace(static_cast<unsigned char>(line.back())) != 0) line.pop_back();
    // The first letter must be a capital, the case of the others doesn't matter.
    return line.size() == key.size() && line[0] == key[0] &&
           std::equal(line.begin(), line.end(), key.begin(),
                      [](char a, char b) { return toupper(static_cast<unsigned char>(a)) == b; });
}

void AddLevel(const StatusFile& file, const char* key, Measure measure, std::vector<Level>* levels) {
    if (file.state != StatusState::kWhole) return;
    const std::string* text = file.Find(key);
    const std::optional<int> value = text == nullptr ? std::optional<int>() : ParseLevel(*text);
    if (value) levels->push_back({measure, *value, Rate(measure, *value), file.name + " " + key});
}

std::vector<Level> LevelsOf(const StatusFiles& files) {
    std::vector<Level> levels;
    AddLevel(files.signal, "SignalLevel", Measure::kRsrp, &levels);
    AddLevel(files.zte, "RSRP", Measure::kRsrp, &levels);
    AddLevel(files.zte, "RSRQ", Measure::kRsrq, &levels);
    AddLevel(files.zte, "SINR", Measure::kSinr, &levels);
    const std::optional<int> csq = ParseLevel(files.status.Get("CSQ"));
    const std::optional<int> rssi = csq ? RssiOfCsq(*csq) : csq;
    if (rssi) levels.push_back({Measure::kRssi, *rssi, Rate(Measure::kRssi, *rssi), "ravelin_status CSQ"});
    return levels;
}

/// What comes next, as far as the registration of an offline modem tells.
std::string NextStep(const StatusFile& status) {
    const std::string lte = status.Get("CEREG"), packet = status.Get("CGREG");
    if (IsRegistered(lte) || IsRegistered(packet)) {
        const std::optional<int> attempts = ParseLevel(status.Get("RetryTimes"));
        if (attempts && *attempts > 0 && (*attempts + 1) % kAttemptsToReset == 0) {
            return "the data call, whose next attempt is a reset of the modem (every fifth)";
        }
        return "the data call: the modem is registered and has to be dialled";
    }
    if (lte == kDenied || packet == kDenied) return "a network that accepts the SIM: registration is denied";
    if (lte == kSearching || packet == kSearching) return "a network: the modem searches";
    return "service: the modem isn't registered, or hasn't been asked yet";
}

std::string WaitsFor(const StatusFile& status, const Link& link, const Surroundings& around) {
    if (around.is_flashing) return "the end of a firmware upgrade, which no reset interrupts";
    if (link.is_online) return "nothing";
    if (around.is_switched_off) return "ENABLE in the settings, which is false";
    const bool has_identity =
        !status.Get("IMSI").empty() || !status.Get("ICCID").empty() || !status.Get("IMEI").empty();
    if (!has_identity) {
        return "a SIM that is ready: none is there, it wants its PIN, or it hasn't been read yet";
    }
    return NextStep(status);
}

void RemarkOn(const StatusFile& file, std::vector<std::string>* remarks) {
    if (file.state != StatusState::kWhole && file.state != StatusState::kMissing) {
        remarks->push_back(file.name + " " + file.problem);
    }
    for (const std::string& key : std::set<std::string>(file.repeated.begin(), file.repeated.end())) {
        remarks->push_back(file.name + " has " + key +
                           "= twice: a text of the modem or the network brought a line end. "
                           "The first one is shown");
    }
    const size_t shown = std::min(file.strangers.size(), kMostStrangers);
    for (size_t i = 0; i < shown; ++i) {
        const std::string& line = file.strangers[i];
        remarks->push_back(
            file.name + " has a line that isn't the daemon's: " +
            (line.size() > kLongestStranger ? line.substr(0, kLongestStranger) + "..." : line));
    }
    if (shown < file.strangers.size()) {
        remarks->push_back(file.name + " has " + std::to_string(file.strangers.size() - shown) +
                           " more of these lines");
    }
}

void RemarkOnTime(const StatusFile& file, const Link& link, time_t now, std::vector<std::string>* remarks) {
    if (!file.written) {
        if (file.state == StatusState::kWhole) remarks->push_back("Now= isn't a time: the age isn't known");
        return;
    }
    const long by_file = static_cast<long>(now - file.modified);
    const long apart = std::labs(*link.age_seconds - by_file);
    if (file.modified != 0 && apart > kStale_seconds) {
        const long remainder = apart % kZoneStep_seconds;
        const bool is_zone = std::min(remainder, kZoneStep_seconds - remainder) < 5;
        remarks->push_back(
            "by its own time the file is " + Duration(by_file) +
            " old: " + (is_zone ? "the daemon has another time zone, or this is a copy" : "this is a copy"));
    }
    if (*link.age_seconds < -kStale_seconds) {
        remarks->emplace_back("Now= is in the future: the clock was set back");
    }
}

Verdict VerdictOf(const StatusFile& status, const Link& link, const Surroundings& around) {
    if (around.daemon == Presence::kNotThere) return Verdict::kNoDaemon;
    switch (status.state) {
        case StatusState::kMissing:
            return Verdict::kMissing;
        case StatusState::kTorn:
            return Verdict::kTorn;
        case StatusState::kWhole:
            break;
        default:
            return Verdict::kUnreadable;
    }
    if (!link.age_seconds || std::labs(*link.age_seconds) > kStale_seconds) return Verdict::kStale;
    return link.is_online ? Verdict::kOnline : Verdict::kOffline;
}

}  // namespace

Presence PresenceOf(bool has_process, PipeState pipe, Presence on_bus) {
    if (has_process || on_bus == Presence::kThere || pipe == PipeState::kOpen) return Presence::kThere;
    const bool nobody_reads =
        pipe == PipeState::kNoReader || pipe == PipeState::kMissing || pipe == PipeState::kNoPipe;
    return on_bus == Presence::kNotThere || nobody_reads ? Presence::kNotThere : Presence::kUnknown;
}

StatusFiles ReadStatusFiles(const std::string& folder) {
    return {ReadStatusFile(folder, kStatusName), ReadStatusFile(folder, kSignalName),
            ReadStatusFile(folder, k3630Name)};
}

Link Judge(const StatusFiles& files, const Surroundings& around, time_t now) {
    Link link;
    const StatusFile& status = files.status;
    for (const StatusFile* file : {&files.status, &files.signal, &files.zte}) RemarkOn(*file, &link.remarks);
    if (status.state == StatusState::kWhole) {
        if (status.written) link.age_seconds = static_cast<long>(now - *status.written);
        RemarkOnTime(status, link, now, &link.remarks);
        const std::string online = status.Get("Online");
        link.is_online = online == "TRUE";
        if (!link.is_online && online != "FALSE") {
            link.remarks.push_back("ravelin_status doesn't say whether the link is online: Online=" + online);
        }
        if (link.is_online) link.uptime_seconds = ParseUptime(status.Get("Uptime"));
        link.levels = LevelsOf(files);
        for (const Level& level : link.levels) {
            if (level.quality) continue;
            link.remarks.push_back(level.source + " is " + std::to_string(level.value) + " " +
                                   UnitOf(level.measure) + ", which can't be");
        }
    }
    link.verdict = VerdictOf(status, link, around);
    const bool is_told = link.verdict == Verdict::kOnline || link.verdict == Verdict::kOffline;
    if (is_told) link.waits_for = WaitsFor(status, link, around);
    return link;
}

bool IsSwitchedOff(const std::string& settings) {
    for (size_t start = 0; start < settings.size();) {
        const size_t end = std::min(settings.find('\n', start), settings.size());
        const std::string line = settings.substr(start, end - start);
        start = end + 1;
        if (line.find('=') == std::string::npos || !IsKey(line, "ENABLE")) continue;
        return SettingOf(line) == "false";
    }
    return false;
}

std::string RegistrationText(const std::string& value) {
    static constexpr const char* kTexts[] = {"not registered", "registered, at home", "searching",
                                             "denied",         "not known",           "registered, roaming"};
    const bool is_digit = value.size() == 1 && value[0] >= '0' && value[0] <= '5';
    return is_digit ? kTexts[value[0] - '0'] : "";
}

}  // namespace board
