// ravelinctl timeline: the log as a picture, in a page for the browser.
#include "tools/log/timeline.h"

#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/ctl/command.h"
#include "tools/ctl/output_file.h"
#include "tools/ctl/timeline_page.h"
#include "tools/log/reader.h"

namespace ctl {

namespace {

using namespace ravelin_log;

constexpr char kTimelineName[] = "timeline";
constexpr int kStatusNotDone = 1;

struct TimelineOptions {
    std::vector<std::string> logs;
    std::string date;
    std::string output;
};

int DrawTimeline(const TimelineOptions& options) {
    RefuseToOverwrite(options.logs, options.output);
    Reader reader;
    ReaderOptions reader_options;
    reader_options.date = options.date;
    std::string problem;
    if (!reader.Open(options.logs, reader_options, &problem)) {
        Complain(kTimelineName, problem);
        return kStatusNotDone;
    }
    TimelineBuilder builder;
    Line line;
    while (reader.Next(&line)) builder.Take(line);
    for (const std::string& complaint : reader.complaints()) Complain(kTimelineName, complaint);
    const Timeline timeline = builder.Finish();
    if (!timeline.history.ledger.has_lines) Complain(kTimelineName, "no line of the daemon was found");
    if (!WriteOutput(options.output, TimelinePage(TimelineData(timeline, reader)), &problem)) {
        Complain(kTimelineName, problem);
        return kStatusNotDone;
    }
    return reader.is_whole() ? kStatusDone : kStatusNotDone;
}

}  // namespace

Command TimelineCommand() {
    Command command;
    command.name = kTimelineName;
    command.summary = "draws the log as a page for a browser";
    command.about =
        "Reads the daemon's log, in all the forms that explain takes, and writes a page that shows over "
        "time: the link "
        "with its outages and their causes, signal, SIM, what the daemon counted and tried, resets, upgrades "
        "and "
        "temperature. It can be zoomed, each mark shows the lines of the log behind it, and it prints.\n"
        "\n"
        "The page is one file. It needs no network and asks for none: it can be sent, kept, and opened from "
        "a stick. It "
        "holds lines of the log, and with them what those tell of a SIM.";
    command.exit_statuses = {
        {kStatusDone, "the page was written, whatever the log says"},
        {kStatusNotDone,
         "the page can't be written, or a log can't be read, or not to its end: what can is drawn"}};
    command.declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<TimelineOptions>();
        takes.Argument("LOG", &options->logs, "logs, in any order; - is standard input").Required();
        takes
            .Value("-o,--output", "FILE", &options->output,
                   "where the page goes; a plain file of that name is replaced, - is standard output")
            .Required();
        takes.Value("--date", "DAY", &options->date,
                    "day of the first line of logs without dates, 2026-11-22; \"file\": by when the file "
                    "was changed last");
        return [options] { return DrawTimeline(*options); };
    };
    return command;
}

}  // namespace ctl
