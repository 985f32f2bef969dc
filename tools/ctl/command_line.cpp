#include "tools/ctl/command_line.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tools/ctl/commands.h"
#include "tools/ctl/completion.h"
#include "tools/ctl/help.h"
#include "tools/ctl/terminal.h"

namespace ctl {

namespace {

constexpr char kGenerate[] = "generate";

/// Thrown by RefuseCommandLine.
struct Refusal {
    std::string fault;
};

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

/// A check that says nothing of itself in the help but the words that it offers.
CLI::Validator Check(const std::vector<std::string>& words, std::function<std::string(std::string&)> check) {
    std::string offered;
    for (const std::string& word : words) offered += (offered.empty() ? "" : ",") + word;
    return CLI::Validator(std::move(check), offered.empty() ? "" : "{" + offered + "}");
}

/// What CLI11 says, in our words: of the checks above it is "NAME: WHAT", and of other faults the first line.
std::string FaultOf(const CLI::ParseError& error) {
    const std::string what = error.what();
    const size_t colon = what.find(": ");
    const std::string name = what.substr(0, colon);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        if (what.find("missing") != std::string::npos) return name + " wants a value";
        return name.substr(0, name.find(' ')) + " takes no such value";
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return name.substr(0, name.find(' ')) + " is missing";
    }
    if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr && colon != std::string::npos) {
        return name + " " + what.substr(colon + 2);
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
        const size_t other = what.find(" excludes ");
        return what.substr(0, other) + " can't be combined with " + what.substr(other + 10);
    }
    if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr) {
        const size_t other = what.find(" requires ");
        return what.substr(0, other) + " is only for " + what.substr(other + 10);
    }
    return what;
}

}  // namespace

CLI::Validator Number(int least, int most) {
    return Check({}, [least, most](std::string& text) -> std::string {
        char* end = nullptr;
        errno = 0;
        const long value = strtol(text.c_str(), &end, 10);
        const bool is_number =
            !text.empty() && (text[0] == '-' || (text[0] >= '0' && text[0] <= '9')) && *end == '\0';
        if (is_number && errno == 0 && value >= least && value <= most) return "";
        const std::string range = most == INT_MAX
                                      ? ", " + std::to_string(least) + " or more"
                                      : " from " + std::to_string(least) + " to " + std::to_string(most);
        return "wants a number" + range + ", not " + Quoted(text);
    });
}

CLI::Validator OneOf(const std::vector<std::string>& words) {
    return Check(words, [words](std::string& text) -> std::string {
        std::string known;
        for (const std::string& word : words) {
            if (word == text) return "";
            known += " " + word;
        }
        return "knows no " + Quoted(text) + "; there is:" + known;
    });
}

CLI::Validator AnyTextLike(const std::vector<std::string>& words) {
    return Check(words, [](std::string&) { return std::string(); });
}

void RefuseCommandLine(const std::string& fault) {
    throw Refusal{fault};
}

void Complain(const std::string& name, const std::string& text) {
    fflush(stdout);
    fprintf(stderr, "%s %s: %s\n", kToolName, name.c_str(), Shown(text).c_str());
}

std::vector<Command> AllCommands() {
    return {
#define COMMAND(Name) Name##Command(),
#include "tools/ctl/commands.inc"
#undef COMMAND
    };
}

CommandLine::CommandLine(std::vector<Command> commands)
    : commands_(std::move(commands)), app_("", kToolName) {
    app_.set_help_flag("-h,--help", "this text");
    app_.set_version_flag("--version", std::string(kToolName) + " (ravelin-mobile) " RAVELIN_VERSION,
                          "name and version");
    // Our own words for what is left over and what is missing.
    app_.allow_extras();
    app_.require_subcommand(0, 1);
    for (const Command& command : commands_) {
        CLI::App* app = app_.add_subcommand(command.name, command.summary);
        app->set_help_flag("-h,--help", "this text");
        app->allow_extras();
        runs_.push_back(command.declare(*app));
    }
    CLI::App* generate = app_.add_subcommand(kGenerate, "")->group("");
    generate->add_option("WHAT", generated_)->required()->check(OneOf({"help", "bash"}));
}

CLI::App* CommandLine::Chosen() const {
    const std::vector<CLI::App*> chosen = app_.get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
}

int CommandLine::Refuse(const std::string& fault) const {
    const CLI::App* chosen = Chosen();
    const std::string name = chosen == nullptr ? kToolName : kToolName + (" " + chosen->get_name());
    fflush(stdout);
    fprintf(stderr, "%s: %s; see --help\n", name.c_str(), Shown(fault).c_str());
    return kStatusWrongCommandLine;
}

std::string CommandLine::LeftOver() const {
    const std::vector<std::string> words = app_.remaining(true);
    const CLI::App* chosen = Chosen();
    if (words.empty()) return chosen == nullptr ? "a command is missing" : "";
    const std::string& word = words.front();
    if (word.size() > 1 && word[0] == '-') return "unknown option " + word.substr(0, word.find('='));
    return (chosen == nullptr ? "no command is called " : "unexpected argument ") + Quoted(word);
}

int CommandLine::Run(const std::vector<std::string>& words) {
    try {
        app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        const std::string left_over = LeftOver();
        if (!left_over.empty()) return Refuse(left_over);
        for (size_t i = 0; i < commands_.size(); ++i) {
            if (app_.got_subcommand(commands_[i].name)) return runs_[i]();
        }
        const std::string made = generated_ == "bash" ? BashCompletion(app_) : WholeHelp(app_, commands_);
        fputs(made.c_str(), stdout);
        return kStatusDone;
    } catch (const CLI::CallForHelp&) {
        const CLI::App* chosen = Chosen();
        std::string help = ToolHelp(app_, commands_);
        for (const Command& command : commands_) {
            if (chosen != nullptr && chosen->get_name() == command.name) help = CommandHelp(*chosen, command);
        }
        fputs(help.c_str(), stdout);
        return kStatusDone;
    } catch (const CLI::CallForVersion& version) {
        printf("%s\n", version.what());
        return kStatusDone;
    } catch (const CLI::ParseError& error) {
        // What wasn't known at all is the better hint.
        const bool is_missing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
        const std::string left_over = is_missing ? LeftOver() : "";
        return Refuse(left_over.empty() ? FaultOf(error) : left_over);
    } catch (const Refusal& refusal) {
        return Refuse(refusal.fault);
    }
}

}  // namespace ctl
