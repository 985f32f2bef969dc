#include "tools/ctl/options.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace ctl {

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

Check Number(int least, int most) {
    return {[least, most](const std::string& text) -> std::string {
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
    }};
}

Check OneOf(const std::vector<std::string>& words) {
    return {[words](const std::string& text) -> std::string {
                std::string known;
                for (const std::string& word : words) {
                    if (word == text) return "";
                    known += " " + word;
                }
                return "knows no " + Quoted(text) + "; there is:" + known;
            },
            words};
}

Check AnyTextLike(const std::vector<std::string>& words) {
    return {{}, words};
}

Option& Option::Required() {
    is_required = true;
    return *this;
}

Option& Option::Checked(const Check& by) {
    check = by;
    return *this;
}

Option& Option::Excludes(const std::string& name) {
    excluded.push_back(name);
    return *this;
}

Option& OptionSet::Flag(const std::string& names, bool* target, const std::string& description) {
    return Value(names, "", target, description);
}

Option& OptionSet::Value(const std::string& names, const std::string& value_name, Target target,
                         const std::string& description) {
    const size_t comma = names.find(',');
    std::vector<std::string> spellings = {names.substr(0, comma)};
    if (comma != std::string::npos) spellings.push_back(names.substr(comma + 1));
    return all_.emplace_back(Option{spellings, value_name, description, target});
}

Option& OptionSet::Argument(const std::string& name, Target target, const std::string& description) {
    return Value(name, "", target, description);
}

}  // namespace ctl
