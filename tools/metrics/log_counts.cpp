#include "tools/metrics/log_counts.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "tools/log/history.h"
#include "tools/log/input.h"
#include "tools/log/reader.h"
#include "tools/metrics/exposition.h"

namespace metrics {

namespace {

using namespace ravelin_log;

constexpr std::string_view kUpgradePrefix = "[OTA] ";
constexpr std::string_view kModelText = "m_ModuleName = ";

constexpr ResetKind kKinds[] = {ResetKind::kSoft, ResetKind::kHard, ResetKind::kSimSwitch};
constexpr const char* kResults[] = {"ok", "failed", "unsupported", "no-tool", "unknown"};

std::vector<std::string> AllCounts() {
    std::vector<std::string> all = {"online", "start"};
    for (const CauseRow& row : kCauses) {
        all.push_back(std::string("outage ") + row.word);
        all.push_back(std::string("outage-time ") + row.word);
    }
    for (const ResetKind kind : kKinds) {
        for (const ReasonRow& row : kReasons) {
            all.push_back(std::string("reset ") + WordOf(kind) + " " + row.word);
        }
    }
    for (const char* word : kResults) all.push_back(std::string("upgrade ") + word);
    std::sort(all.begin(), all.end());
    return all;
}

void Add(const std::string& name, int64_t milli, Counts* counts) {
    const std::vector<std::string>& known = KnownCounts();
    if (milli > 0 && std::binary_search(known.begin(), known.end(), name)) (*counts)[name] += milli;
}

/// "m_ModuleName = EG25 ", which some families say at the set-up and others when they are identified.
void TakeModel(std::string_view message, std::string* model) {
    if (message.substr(0, kUpgradePrefix.size()) == kUpgradePrefix) {
        message.remove_prefix(kUpgradePrefix.size());
    }
    if (message.substr(0, kModelText.size()) != kModelText) return;
    *model = LabelValue(message.substr(kModelText.size()));
}

}  // namespace

const std::vector<std::string>& KnownCounts() {
    static const std::vector<std::string> all = AllCounts();
    return all;
}

Fingerprint FingerprintOf(const std::string& beginning, size_t length_bytes) {
    // FNV-1a: it only has to tell logs apart.
    Fingerprint print;
    print.length_bytes = std::min(length_bytes, beginning.size());
    print.hash = 0xCBF29CE484222325;
    for (size_t i = 0; i < print.length_bytes; ++i) {
        print.hash = (print.hash ^ static_cast<unsigned char>(beginning[i])) * 0x100000001B3;
    }
    return print;
}

bool OpenLog(const std::string& name, LogFile* log, std::string* problem) {
    struct stat seen = {};
    // What is no file has no beginning that could be read twice, and a pipe may never end.
    if (stat(name.c_str(), &seen) == 0 && !S_ISREG(seen.st_mode)) {
        *problem = name + ": isn't a file";
        return false;
    }
    const std::unique_ptr<Input> input = Input::Open(name, problem);
    if (input == nullptr) {
        *problem = name + ": " + *problem;
        return false;
    }
    log->name = name;
    log->modified = seen.st_mtime;
    log->beginning.clear();
    std::string_view line;
    while (log->beginning.size() < kFingerprint_bytes && input->NextLine(&line) && !input->is_torn()) {
        log->beginning.append(line).append("\n");
    }
    if (log->beginning.size() > kFingerprint_bytes) log->beginning.resize(kFingerprint_bytes);
    return true;
}

bool CountLog(const std::string& name, bool is_final, LogCounts* counts, std::string* problem) {
    Reader reader;
    if (!reader.Open({name}, {}, problem)) return false;
    Historian historian;
    Line line;
    while (reader.Next(&line)) {
        historian.Take(line);
        if (line.kind == Line::Kind::kSaid) TakeModel(line.message, &counts->model);
    }
    const History history = historian.Finish();
    for (const Outage& outage : history.outages) {
        // A finer cause would be series without end.
        const std::string word = TopOf(outage.cause);
        if (outage.is_open && !is_final) {
            counts->cause = word;
            continue;
        }
        Add("outage " + word, kMilli, &counts->counts);
        Add("outage-time " + word, outage.length_ms(), &counts->counts);
    }
    for (const Reset& reset : history.resets) {
        Add(std::string("reset ") + WordOf(reset.kind) + " " + reset.reason, kMilli, &counts->counts);
    }
    for (const Upgrade& upgrade : history.upgrades) {
        if (upgrade.has_end || is_final) Add("upgrade " + upgrade.result, kMilli, &counts->counts);
    }
    Add("online", history.ledger.online_ms, &counts->counts);
    Add("start", history.ledger.starts * kMilli, &counts->counts);
    return true;
}

}  // namespace metrics
