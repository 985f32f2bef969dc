// ravelinctl capture: a scenario from a log of level 7.
#include <memory>
#include <string>
#include <vector>

#include "tools/capture/story.h"
#include "tools/capture/transcript.h"
#include "tools/ctl/command.h"
#include "tools/ctl/output_file.h"
#include "tools/log/reader.h"

namespace ctl {

namespace {

constexpr char kCaptureName[] = "capture";
constexpr int kStatusNoStory = 1;

struct CaptureOptions {
    std::vector<std::string> logs;
    std::string output = "-";
    std::string family;
    bool keeps_identities = false;
};

int Capture(const CaptureOptions& options) {
    RefuseToOverwrite(options.logs, options.output);
    ravelin_log::Reader reader;
    std::string problem;
    if (!reader.Open(options.logs, {}, &problem)) {
        Complain(kCaptureName, problem);
        return kStatusNoStory;
    }
    const capture::Transcript transcript = capture::ReadTranscript(reader);
    for (const std::string& complaint : reader.complaints()) Complain(kCaptureName, complaint);
    if (!transcript.has_lines) {
        Complain(kCaptureName, "no line of the daemon's log is in it");
        return kStatusNoStory;
    }
    capture::StoryOptions story_options;
    story_options.keeps_identities = options.keeps_identities;
    story_options.family = options.family;
    for (const std::string& log : options.logs) {
        const std::string name = log.substr(log.rfind('/') + 1);
        story_options.source += (story_options.source.empty() ? "" : ", ") + name;
    }
    const capture::Story story = capture::WriteStory(transcript, story_options);
    if (!story.problem.empty()) {
        Complain(kCaptureName, story.problem);
        return kStatusNoStory;
    }
    for (const std::string& kind : story.replaced) Complain(kCaptureName, "replaced: " + kind);
    for (const std::string& loss : story.losses) Complain(kCaptureName, "not carried over: " + loss);
    if (WriteOutput(options.output, story.text, &problem)) return kStatusDone;
    Complain(kCaptureName, problem);
    return kStatusNoStory;
}

}  // namespace

Command CaptureCommand() {
    Command command;
    command.name = kCaptureName;
    command.summary = "makes a scenario for scenario_run from a log of level 7";
    command.about =
        "Reads a log that the daemon wrote with -Dl 7 beside a real modem, and writes a scenario that "
        "scenario_run replays against the daemon: what the modem answered and said by itself, settings, "
        "pings, "
        "pipe, resets and restarts. What the daemon decided is expected of it again.\n"
        "\n"
        "Subscriber numbers, serial numbers, names of access points, users, passwords, addresses and cells "
        "are "
        "replaced, each everywhere by the same other one of its shape. What could not be carried over stands "
        "in the head of the scenario and on standard error.\n"
        "\n"
        "docs/field-logs.md says how a log is taken and how it becomes a test.";
    command.exit_statuses = {
        {kStatusDone, "the scenario was written"},
        {kStatusNoStory, "the log can't be read or tells too little, or the file can't be written"}};
    command.declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<CaptureOptions>();
        takes
            .Argument("LOG", &options->logs,
                      "a log, or several of one board in any order; - is standard input")
            .Required();
        takes.Value("-o,--output", "FILE", &options->output, "writes to FILE instead of standard output");
        takes
            .Value("--family", "FAMILY", &options->family,
                   "family of the modem, where the log doesn't tell it")
            .Checked(OneOf(capture::FamilyNames()));
        takes.Flag("--keep-identities", &options->keeps_identities, "replaces nothing");
        return [options] { return Capture(*options); };
    };
    return command;
}

}  // namespace ctl
