#include "tools/ctl/command_line.h"

#include <cstdio>
#include <utility>
#include <variant>

#include <CLI/CLI.hpp>

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

CLI::Option* AddTo(CLI::App* app, const std::string& names, bool* flag) {
    return app->add_flag(names, *flag);
}

template <typename Value>
CLI::Option* AddTo(CLI::App* app, const std::string& names, Value* value) {
    return app->add_option(names, *value);
}

void Add(const Option& option, CLI::App* app) {
    std::string names;
    for (const std::string& name : option.names) names += (names.empty() ? "" : ",") + name;
    CLI::Option* added = std::visit([&](auto* target) { return AddTo(app, names, target); }, option.target);
    added->required(option.is_required);
    if (option.check.fault) added->check(CLI::Validator(option.check.fault, ""));
}

/// All commands as one tree of CLI11, and the words of one start. It is what takes long to compile, so nobody
/// else sees it.
class Tree {
  public:
    explicit Tree(const std::vector<DeclaredCommand>& commands);

    /// As CommandLine::Run.
    int Run(const std::vector<std::string>& words);

  private:
    int Refuse(const std::string& fault) const;
    // What is wrong with the words that nothing took; empty when all are taken.
    std::string LeftOver() const;
    CLI::App* Chosen() const;

    const std::vector<DeclaredCommand>& commands_;
    CLI::App app_;
    std::string generated_;  // what the hidden command was asked to make
};

Tree::Tree(const std::vector<DeclaredCommand>& commands) : commands_(commands), app_("", kToolName) {
    app_.set_help_flag("-h,--help");
    app_.set_version_flag("--version", std::string(kToolName) + " (ravelin-mobile) " RAVELIN_VERSION);
    // Our own words for what is left over and what is missing.
    app_.allow_extras();
    app_.require_subcommand(0, 1);
    for (const DeclaredCommand& each : commands_) {
        CLI::App* app = app_.add_subcommand(each.command.name);
        app->set_help_flag("-h,--help");
        app->allow_extras();
        for (const Option& option : each.takes.all()) Add(option, app);
        for (const Option& option : each.takes.all()) {
            for (const std::string& other : option.excluded) {
                app->get_option(option.names.back())->excludes(app->get_option(other));
            }
        }
    }
    CLI::App* generate = app_.add_subcommand(kGenerate);
    generate->add_option("WHAT", generated_)
        ->required()
        ->check(CLI::Validator(OneOf({"help", "bash"}).fault, ""));
}

CLI::App* Tree::Chosen() const {
    const std::vector<CLI::App*> chosen = app_.get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
}

int Tree::Refuse(const std::string& fault) const {
    const CLI::App* chosen = Chosen();
    const std::string name = chosen == nullptr ? kToolName : kToolName + (" " + chosen->get_name());
    fflush(stdout);
    fprintf(stderr, "%s: %s; see --help\n", name.c_str(), Shown(fault).c_str());
    return kStatusWrongCommandLine;
}

std::string Tree::LeftOver() const {
    const std::vector<std::string> words = app_.remaining(true);
    const CLI::App* chosen = Chosen();
    if (words.empty()) return chosen == nullptr ? "a command is missing" : "";
    const std::string& word = words.front();
    if (word.size() > 1 && word[0] == '-') return "unknown option " + word.substr(0, word.find('='));
    return (chosen == nullptr ? "no command is called " : "unexpected argument ") + Quoted(word);
}

int Tree::Run(const std::vector<std::string>& words) {
    try {
        app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        const std::string left_over = LeftOver();
        if (!left_over.empty()) return Refuse(left_over);
        for (const DeclaredCommand& each : commands_) {
            if (app_.got_subcommand(each.command.name)) return each.run();
        }
        const std::string made = generated_ == "bash" ? BashCompletion(commands_) : WholeHelp(commands_);
        fputs(made.c_str(), stdout);
        return kStatusDone;
    } catch (const CLI::CallForHelp&) {
        const CLI::App* chosen = Chosen();
        std::string help = ToolHelp(commands_);
        for (const DeclaredCommand& each : commands_) {
            if (chosen != nullptr && chosen->get_name() == each.command.name) help = CommandHelp(each);
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

}  // namespace

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

CommandLine::CommandLine(std::vector<Command> commands) {
    for (Command& command : commands) {
        OptionSet takes;
        ctl::Run run = command.declare(takes);
        commands_.push_back({std::move(command), std::move(takes), std::move(run)});
    }
}

int CommandLine::Run(const std::vector<std::string>& words) const {
    return Tree(commands_).Run(words);
}

}  // namespace ctl
