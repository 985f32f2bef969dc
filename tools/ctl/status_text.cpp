#include "tools/ctl/status_text.h"

#include "tools/ctl/json.h"

namespace ctl {

namespace {

using board::BusState;
using board::Level;
using board::Link;
using board::Presence;
using board::Quality;
using board::StatusFile;
using board::StatusState;
using board::Verdict;

constexpr char kHidden[] = "***";

// In the order of Verdict.
constexpr VerdictRow kVerdicts[] = {
    {Verdict::kOnline, 0, "online", "online"},
    {Verdict::kOffline, 1, "offline", "offline"},
    {Verdict::kStale, 3, "stale",
     "ravelin_status is older than three minutes by its Now=, or that is no time"},
    {Verdict::kTorn, 4, "torn", "ravelin_status is half written, and stays so for half a second"},
    {Verdict::kMissing, 5, "missing", "there is no ravelin_status"},
    {Verdict::kUnreadable, 6, "unreadable",
     "ravelin_status can't be read, is too large, or something else is in its place"},
    {Verdict::kNoDaemon, 7, "no-daemon", "the daemon isn't there"},
};

std::string Plural(long count, const char* unit) {
    return std::to_string(count) + " " + unit;
}

/// "2 h 5 min", as exact as anybody wants to know.
std::string Duration(long seconds) {
    if (seconds < 120) return Plural(seconds, "s");
    if (seconds < 2 * 3600) return Plural(seconds / 60, "min");
    if (seconds < 2 * 86400) return Plural(seconds / 3600, "h") + " " + Plural(seconds % 3600 / 60, "min");
    return Plural(seconds / 86400, "days") + " " + Plural(seconds % 86400 / 3600, "h");
}

std::string AgeText(const Sight& sight) {
    const StatusFile& file = sight.files.status;
    if (file.state != StatusState::kWhole) return file.name + " " + file.problem;
    if (!sight.link.age_seconds) return "of unknown age: Now=" + Shown(file.Get("Now"));
    const long age = *sight.link.age_seconds;
    const std::string now = " (Now=" + Shown(file.Get("Now")) + ")";
    return age < 0 ? Duration(-age) + " ahead of the clock" + now : Duration(age) + " old" + now;
}

std::string LinkText(const Sight& sight) {
    const Link& link = sight.link;
    const std::string was = sight.files.status.state != StatusState::kWhole ? ""
                            : link.is_online                                ? "; the file says online"
                                                                            : "; the file says offline";
    switch (link.verdict) {
        case Verdict::kOnline:
            return "online" + (link.uptime_seconds ? " for " + Duration(*link.uptime_seconds) : "");
        case Verdict::kOffline:
            return "offline";
        case Verdict::kNoDaemon:
            return "not looked after: the daemon isn't there" + was;
        case Verdict::kStale:
            return "not known: the data is too old" + was;
        default:
            return "not known";
    }
}

Colour ColourOf(Verdict verdict) {
    if (verdict == Verdict::kOnline) return Colour::kGood;
    return verdict == Verdict::kOffline ? Colour::kWarning : Colour::kBad;
}

Colour ColourOf(const Level& level) {
    if (!level.quality) return Colour::kNone;
    if (*level.quality <= Quality::kGood) return Colour::kGood;
    return *level.quality >= Quality::kPoor ? Colour::kBad : Colour::kWarning;
}

std::string DaemonText(const Sight& sight) {
    switch (sight.around.daemon) {
        case Presence::kThere:
            return sight.process != 0 ? "there, process " + std::to_string(sight.process) : "there";
        case Presence::kNotThere:
            return "not there";
        default:
            return "not known";
    }
}

std::string BusText(const board::BusStatus& bus) {
    switch (bus.state) {
        case BusState::kAnswered:
            return "answers";
        case BusState::kNoModem:
            return "answers that it has no modem yet";
        case BusState::kNoBus:
            return "can't be reached: " + Shown(bus.problem);
        case BusState::kNoDaemon:
            return "nobody has the daemon's name";
        case BusState::kRefused:
            return "doesn't let us speak to the daemon: " + Shown(bus.problem);
        case BusState::kNoAnswer:
            return "no answer: " + Shown(bus.problem);
        case BusState::kBroken:
            return "a broken answer: " + Shown(bus.problem);
        default:
            return "not asked";
    }
}

const char* StateName(StatusState state) {
    switch (state) {
        case StatusState::kWhole:
            return "whole";
        case StatusState::kTorn:
            return "torn";
        case StatusState::kMissing:
            return "missing";
        case StatusState::kNoFile:
            return "no-file";
        case StatusState::kTooLarge:
            return "too-large";
        default:
            return "unreadable";
    }
}

const char* StateName(BusState state) {
    static constexpr const char* kNames[] = {"not-asked", "answered", "no-modem",  "no-bus",
                                             "no-daemon", "refused",  "no-answer", "broken"};
    return kNames[static_cast<size_t>(state)];
}

const char* StateName(Presence presence) {
    return presence == Presence::kThere ? "there" : presence == Presence::kNotThere ? "not-there" : "unknown";
}

/// Adds a row, unless there is nothing to say.
void AddText(const std::string& label, const std::string& text, Rows* rows) {
    if (!text.empty()) rows->Add(label, Shown(text));
}

/// The modem is only asked before a dial, and for 2G and 3G only where it has no LTE.
std::string RegistrationRow(const Sight& sight) {
    const StatusFile& status = sight.files.status;
    const std::string packet = status.Get("CGREG");
    std::string text = board::RegistrationText(status.Get("CEREG"));
    if (!text.empty()) text = "LTE: " + text;
    if (packet != "0" && !board::RegistrationText(packet).empty()) {
        text += (text.empty() ? "" : "; ") + ("2G and 3G: " + board::RegistrationText(packet));
    }
    return text.empty() || !sight.link.is_online ? text : text + ", when it dialled";
}

void AddModem(const Sight& sight, Rows* rows) {
    const StatusFile& status = sight.files.status;
    rows->Begin("Modem");
    AddText("Operator", status.Get("Carrier"), rows);
    AddText("Technology", status.Get("Network"), rows);
    AddText("Registered", RegistrationRow(sight), rows);
    AddText("APN", status.Get("APN"), rows);
    AddText("IMSI", status.Get("IMSI"), rows);
    AddText("ICCID", status.Get("ICCID"), rows);
    AddText("IMEI", status.Get("IMEI"), rows);
    AddText("Firmware", status.Get("FWVersion"), rows);
    const std::string temperature = status.Get("Tempture");
    if (!temperature.empty()) rows->Add("Temperature", Shown(temperature) + " degrees Celsius");
    if (status.Get("doubleSIM_enable") == "TRUE") rows->Add("SIMs", "two");
    AddText("Attempts", status.Get("RetryTimes"), rows);
    AddText("Build", status.Get("GIT_VERSION"), rows);
}

void AddSignal(const Link& link, Rows* rows) {
    if (link.levels.empty()) return;
    rows->Begin("Signal");
    for (const Level& level : link.levels) {
        std::string text = std::to_string(level.value) + " " + board::UnitOf(level.measure);
        if (level.quality) text += std::string(", ") + board::WordFor(*level.quality);
        text += link.is_online ? "" : ", when it was last read";
        rows->Add(board::NameOf(level.measure), text, ColourOf(level));
    }
}

using Json = rapidjson::Document;

void AddMember(const char* name, rapidjson::Value value, rapidjson::Value* object, Json& document) {
    object->AddMember(rapidjson::StringRef(name), value, document.GetAllocator());
}

rapidjson::Value Number(const std::optional<long>& number) {
    return number ? rapidjson::Value(static_cast<int64_t>(*number)) : rapidjson::Value();
}

rapidjson::Value Texts(const std::vector<std::string>& texts, Json& document) {
    rapidjson::Value list(rapidjson::kArrayType);
    for (const std::string& text : texts) list.PushBack(JsonText(text, document), document.GetAllocator());
    return list;
}

rapidjson::Value FileJson(const StatusFile& file, time_t now, Json& document) {
    rapidjson::Value object(rapidjson::kObjectType);
    AddMember("name", JsonText(file.name, document), &object, document);
    AddMember("state", JsonText(StateName(file.state), document), &object, document);
    if (!file.problem.empty()) AddMember("problem", JsonText(file.problem, document), &object, document);
    const std::optional<long> age =
        file.written ? std::optional<long>(now - *file.written) : std::optional<long>();
    AddMember("age_seconds", Number(age), &object, document);
    rapidjson::Value lines(rapidjson::kObjectType);
    for (const board::StatusLine& line : file.lines) {
        if (file.Find(line.key) != &line.value) continue;  // only the first one counts
        const bool is_secret = line.key == "Password" && !line.value.empty();
        lines.AddMember(JsonText(line.key, document), JsonText(is_secret ? kHidden : line.value, document),
                        document.GetAllocator());
    }
    AddMember("lines", std::move(lines), &object, document);
    return object;
}

rapidjson::Value SignalJson(const Link& link, Json& document) {
    rapidjson::Value list(rapidjson::kArrayType);
    for (const Level& level : link.levels) {
        rapidjson::Value object(rapidjson::kObjectType);
        AddMember("measure", JsonText(board::NameOf(level.measure), document), &object, document);
        AddMember("value", rapidjson::Value(level.value), &object, document);
        AddMember("unit", JsonText(board::UnitOf(level.measure), document), &object, document);
        AddMember("quality",
                  level.quality ? JsonText(board::WordFor(*level.quality), document) : rapidjson::Value(),
                  &object, document);
        AddMember("source", JsonText(level.source, document), &object, document);
        list.PushBack(object, document.GetAllocator());
    }
    return list;
}

rapidjson::Value BusJson(const board::BusStatus& bus, Json& document) {
    rapidjson::Value object(rapidjson::kObjectType);
    AddMember("state", JsonText(StateName(bus.state), document), &object, document);
    if (!bus.problem.empty()) AddMember("problem", JsonText(bus.problem, document), &object, document);
    rapidjson::Value items(rapidjson::kObjectType);
    for (const bus_peer::StatusItem& item : bus.items) {
        AddMember(item.name, JsonText(item.value, document), &items, document);
    }
    AddMember("items", std::move(items), &object, document);
    return object;
}

}  // namespace

const VerdictRow& RowOf(Verdict verdict) {
    return kVerdicts[static_cast<size_t>(verdict)];
}

std::vector<ExitStatus> StatusExits() {
    std::vector<ExitStatus> exits;
    for (const VerdictRow& row : kVerdicts) exits.push_back({row.exit_status, row.meaning});
    exits.insert(exits.begin() + 2, {kStatusWrongCommandLine, "the command line is wrong"});
    return exits;
}

std::string StatusText(const Sight& sight, const Terminal& terminal) {
    const Link& link = sight.link;
    Rows rows;
    rows.Add("Link", LinkText(sight), ColourOf(link.verdict));
    AddText("Waits for", link.waits_for, &rows);
    rows.Add("Data", AgeText(sight));
    rows.Add("Daemon", DaemonText(sight));
    if (sight.bus.state != BusState::kNotAsked) rows.Add("Bus", BusText(sight.bus));
    AddSignal(link, &rows);
    if (sight.files.status.state == StatusState::kWhole) AddModem(sight, &rows);
    if (!sight.bus.items.empty()) {
        rows.Begin("The daemon's answer on the bus");
        for (const bus_peer::StatusItem& item : sight.bus.items) AddText(item.name, item.value, &rows);
    }
    if (!link.remarks.empty()) {
        rows.Begin("Odd");
        for (const std::string& remark : link.remarks) rows.Add("!", Shown(remark), Colour::kWarning);
    }
    return rows.Text(terminal);
}

std::string StatusJson(const Sight& sight, bool on_one_line) {
    Json document(rapidjson::kObjectType);
    const Link& link = sight.link;
    const VerdictRow& row = RowOf(link.verdict);
    const bool is_told = link.verdict == Verdict::kOnline || link.verdict == Verdict::kOffline;
    AddMember("verdict", JsonText(row.name, document), &document, document);
    AddMember("exit_status", rapidjson::Value(row.exit_status), &document, document);
    AddMember("online", is_told ? rapidjson::Value(link.is_online) : rapidjson::Value(), &document, document);
    AddMember("uptime_seconds", Number(link.uptime_seconds), &document, document);
    AddMember("waits_for", link.waits_for.empty() ? rapidjson::Value() : JsonText(link.waits_for, document),
              &document, document);
    AddMember("age_seconds", Number(link.age_seconds), &document, document);
    AddMember("daemon", JsonText(StateName(sight.around.daemon), document), &document, document);
    AddMember("signal", SignalJson(link, document), &document, document);
    rapidjson::Value files(rapidjson::kArrayType);
    for (const StatusFile* file : {&sight.files.status, &sight.files.signal, &sight.files.zte}) {
        files.PushBack(FileJson(*file, sight.now, document), document.GetAllocator());
    }
    AddMember("files", std::move(files), &document, document);
    AddMember("bus", BusJson(sight.bus, document), &document, document);
    AddMember("remarks", Texts(link.remarks, document), &document, document);
    return on_one_line ? JsonLine(document) : JsonPage(document);
}

std::string Fingerprint(const Sight& sight) {
    Sight still = sight;
    still.now = 0;
    still.link.age_seconds.reset();
    still.link.uptime_seconds.reset();
    for (StatusFile* file : {&still.files.status, &still.files.signal, &still.files.zte}) {
        file->written.reset();
        for (board::StatusLine& line : file->lines) {
            if (line.key == "Now" || line.key == "Uptime") line.value.clear();
        }
    }
    return StatusJson(still, true);
}

}  // namespace ctl
