// ravelinctl metrics: a board's state and the log's ledger, for Prometheus.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "tools/board/daemon_process.h"
#include "tools/board/link.h"
#include "tools/board/pipe.h"
#include "tools/board/text_file.h"
#include "tools/ctl/command.h"
#include "tools/ctl/output_file.h"
#include "tools/guard/files.h"
#include "tools/guard/shown.h"
#include "tools/metrics/board_metrics.h"
#include "tools/metrics/exposition.h"
#include "tools/metrics/log_counts.h"
#include "tools/metrics/totals.h"

namespace ctl {

namespace {

constexpr char kMetricsName[] = "metrics";
constexpr int kStatusNotWritten = 1;

struct MetricsOptions {
    std::vector<std::string> logs;
    std::string folder = board::kStatusFolder;
    std::string output = "-";
    std::string state;
    bool is_openmetrics = false;
    bool shows_identity = false;
};

void LookForGuard(metrics::Seen* seen) {
    const board::TextFile file = board::ReadTextFile(guard::kShownPath);
    if (file.state == board::FileState::kRead) seen->guard = guard::ParseShown(file.text);
    seen->guard_runs = seen->guard && guard::IsFresh(*seen->guard, guard::SecondsSinceBoot());
}

/// The daemon's log and the one that was rotated away last, as far as they are there.
std::vector<std::string> UsualLogs(const std::string& log) {
    std::vector<std::string> logs;
    for (const char* ending : {"", ".1", ".1.gz"}) {
        if (access((log + ending).c_str(), F_OK) == 0) logs.push_back(log + ending);
    }
    return logs;
}

/// The totals between two runs; new ones where there are none.
metrics::Totals ReadTotals(const std::string& path, std::string* text) {
    const metrics::Totals fresh(time(nullptr));
    if (path.empty()) return fresh;
    const board::TextFile file = board::ReadTextFile(path);
    if (file.state == board::FileState::kMissing) return fresh;
    const auto totals = file.state == board::FileState::kRead ? metrics::Totals::Parse(file.text)
                                                              : std::optional<metrics::Totals>();
    if (!totals) {
        Complain(kMetricsName, path + " " + (file.problem.empty() ? "is damaged" : file.problem) +
                                   ": the counters begin anew");
        return fresh;
    }
    *text = file.text;
    return *totals;
}

/// False when a log can't be read; the others count.
bool CountLogs(const std::vector<std::string>& names, metrics::Totals* totals, std::string* cause) {
    bool is_read = true;
    std::vector<metrics::LogFile> logs;
    for (const std::string& name : names) {
        metrics::LogFile log;
        std::string problem;
        if (metrics::OpenLog(name, &log, &problem)) {
            logs.push_back(log);
        } else {
            Complain(kMetricsName, problem);
            is_read = false;
        }
    }
    // The one written last goes on; what was rotated away doesn't.
    std::stable_sort(logs.begin(), logs.end(),
                     [](const auto& a, const auto& b) { return a.modified < b.modified; });
    for (size_t i = 0; i < logs.size(); ++i) {
        const bool is_final = i + 1 < logs.size();
        const metrics::Totals::Log* known = totals->Find(logs[i].beginning);
        if (is_final && known != nullptr && known->is_final) continue;
        metrics::LogCounts counts;
        std::string problem;
        if (!metrics::CountLog(logs[i].name, is_final, &counts, &problem)) {
            Complain(kMetricsName, problem);
            is_read = false;
            continue;
        }
        totals->Take(logs[i].beginning, is_final, counts.counts);
        if (!counts.model.empty()) totals->set_model(counts.model);
        *cause = counts.cause;
    }
    return is_read;
}

/// Readable for everybody: the collector is another user, whatever the timer's umask.
bool Write(const std::string& name, const std::string& text) {
    std::string problem;
    if (WriteOutput(name, text, &problem, Readers::kEverybody)) return true;
    Complain(kMetricsName, problem);
    return false;
}

int Metrics(const MetricsOptions& options) {
    for (const std::string* file : {&options.output, &options.state}) RefuseToOverwrite(options.logs, *file);
    metrics::Seen seen;
    seen.shows_identity = options.shows_identity;
    seen.files = board::ReadStatusFiles(options.folder);
    board::Surroundings around;
    std::vector<std::string> logs = options.logs;
    if (options.folder == board::kStatusFolder) {
        const auto process = board::FindDaemon();
        // By the signs that cost the daemon nothing; a question on the bus would be a line in its log each
        // time.
        around.daemon = board::PresenceOf(process.has_value(), board::Pipe(board::kPipePath).state());
        LookForGuard(&seen);
        if (logs.empty()) logs = UsualLogs(process && !process->log.empty() ? process->log : kUsualLog);
    }
    seen.link = board::Judge(seen.files, around, time(nullptr));

    std::string before;
    metrics::Totals totals = ReadTotals(options.state, &before);
    if (!logs.empty()) seen.log_was_read = CountLogs(logs, &totals, &seen.cause);
    seen.model = totals.model();
    seen.created_seconds = totals.created_seconds();
    if (!totals.Sum().empty() || (seen.log_was_read && *seen.log_was_read)) seen.counts = totals.Sum();

    int status = kStatusDone;
    // Each minute a write would wear the board's flash; nearly always nothing has changed.
    const std::string after = totals.Text();
    if (!options.state.empty() && after != before && !Write(options.state, after)) status = kStatusNotWritten;
    const std::string text =
        metrics::Exposition(metrics::BoardMetrics(seen),
                            options.is_openmetrics ? metrics::Format::kOpenMetrics : metrics::Format::kText);
    if (!Write(options.output, text)) status = kStatusNotWritten;
    return status;
}

}  // namespace

Command MetricsCommand() {
    Command command;
    command.name = kMetricsName;
    command.summary = "writes state and history of the board as metrics for Prometheus";
    command.about =
        "Reads the status files and the daemon's logs, and writes metrics in the text format of Prometheus: "
        "on "
        "standard output, or with --output as a file for the textfile collector of node_exporter.\n"
        "\n"
        "LOG is a file of the log, packed by gzip or not; several come in any order. Without LOG it is the "
        "daemon's own log and the one that was rotated away last, where they are there.\n"
        "\n"
        "With --state the counters go on when a log is rotated away. What isn't known has no metric: it is "
        "absent, and not 0. docs/ravelinctl.md lists the metrics, docs/fleet.md says how many boards are "
        "watched.";
    command.exit_statuses = {{kStatusDone, "written, whatever the metrics say"},
                             {kStatusNotWritten, "the output or the state couldn't be written"}};
    command.declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<MetricsOptions>();
        takes.Argument("LOG", &options->logs, "logs, in any order");
        takes.Value("--output", "FILE", &options->output,
                    "the file to replace, such as ravelin.prom; otherwise standard output");
        takes.Value("--state", "FILE", &options->state, "where the counters are kept between two runs");
        takes.Flag("--openmetrics", &options->is_openmetrics,
                   "OpenMetrics, which the collector doesn't read");
        takes.Flag("--identity", &options->shows_identity, "with the numbers of SIM and modem");
        takes.Value("--folder", "FOLDER", &options->folder, "status files of another board, or copies");
        return [options] { return Metrics(*options); };
    };
    return command;
}

}  // namespace ctl
