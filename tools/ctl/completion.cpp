#include "tools/ctl/completion.h"

#include <algorithm>
#include <iterator>

namespace ctl {

namespace {

/// In single quotes for the shell.
std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

template <size_t N>
bool Has(const char* const (&names)[N], const std::string& name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// The command that fills COMPREPLY with what may stand for a value; empty when nothing can be offered.
std::string Offer(const std::string& value, const std::vector<std::string>& words) {
    if (!words.empty()) {
        std::string list;
        for (const std::string& word : words) list += (list.empty() ? "" : " ") + word;
        return "_ravelinctl_words " + Quote(list);
    }
    if (Has(kFolderNames, value)) return "_ravelinctl_files -d";
    if (Has(kFileNames, value)) return "_ravelinctl_files -f";
    return "";
}

/// What is done once the command is known: the value of an option, an option, or an argument.
std::string CommandCase(const DeclaredCommand& command) {
    std::string options = "-h --help";
    std::string values, argument;
    for (const Option& option : command.takes.all()) {
        const std::vector<std::string>& words = option.check.offered;
        if (option.is_argument()) {
            if (argument.empty()) argument = Offer(option.names.front(), words);
            continue;
        }
        std::string pattern;
        for (const std::string& name : option.names) {
            options += " " + name;
            pattern += (pattern.empty() ? "" : " | ") + name;
        }
        if (option.value_name.empty()) continue;
        const std::string offer = Offer(option.value_name, words);
        values += "        " + pattern + ")\n" + (offer.empty() ? "" : "            " + offer + "\n") +
                  "            return ;;\n";
    }
    std::string text = "    " + command.command.name + ")\n";
    if (!values.empty()) text += "        case $before in\n" + values + "        esac\n";
    text += "        if [[ $word == -* ]]; then\n            _ravelinctl_words " + Quote(options) + "\n";
    if (!argument.empty()) text += "        else\n            " + argument + "\n";
    return text + "        fi ;;\n";
}

}  // namespace

std::string BashCompletion(const std::vector<DeclaredCommand>& commands) {
    std::string names, cases;
    for (const DeclaredCommand& each : commands) {
        names += each.command.name + " ";
        cases += CommandCase(each);
    }
    return "# bash completion of ravelinctl, made from its own --help; don't edit.\n"
           "\n"
           "# A colon parts words of a command line for bash, and not for us.\n"
           "_ravelinctl_words() {\n"
           "    local left=\"\"\n"
           "    [[ $word != *:* || $COMP_WORDBREAKS != *:* ]] || left=${word%\"${word##*:}\"}\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$1\" -- \"$word\")\n"
           "    COMPREPLY=(\"${COMPREPLY[@]#\"$left\"}\")\n"
           "}\n"
           "\n"
           "_ravelinctl_files() {\n"
           "    compopt -o filenames 2>/dev/null\n"
           "    mapfile -t COMPREPLY < <(compgen \"$1\" -- \"$word\")\n"
           "}\n"
           "\n"
           "_ravelinctl() {\n"
           "    # The words as they were typed: those that bash has cut at = and : are put together again.\n"
           "    local line=${COMP_LINE:0:COMP_POINT} words command=\"\" word before=\"\" each\n"
           "    read -ra words <<<\"$line\"\n"
           "    [[ $line != *[[:blank:]] ]] || words+=(\"\")\n"
           "    word=${words[-1]}\n"
           "    [[ ${#words[@]} -lt 2 ]] || before=${words[-2]}\n"
           "    if [[ $word == --*=* ]]; then\n"
           "        before=${word%%=*}\n"
           "        word=${word#*=}\n"
           "    fi\n"
           "    COMPREPLY=()\n"
           "    for each in \"${words[@]:1:${#words[@]}-2}\"; do\n"
           "        [[ $each == -* ]] || { command=$each && break; }\n"
           "    done\n"
           "    case $command in\n"
           "    \"\")\n"
           "        _ravelinctl_words " +
           Quote(names + "--help --version") + " ;;\n" + cases +
           "    esac\n"
           "}\n"
           "complete -F _ravelinctl ravelinctl\n";
}

}  // namespace ctl
