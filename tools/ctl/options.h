// What a command of ravelinctl takes: options and arguments. The command only says what there is;
// command_line.cpp alone reads the words, help.cpp and completion.cpp show what there is.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace ctl {

/// In quotation marks, as what is wrong quotes a word.
std::string Quoted(const std::string& text);

/// A look at a value.
struct Check {
    // What is wrong with the value; empty if nothing is. It follows the name of the option, e.g. "--lines
    // wants a number from 1 to 9, not "x"".
    std::function<std::string(const std::string& value)> fault;
    // Words for the value that the shell offers; none for most.
    std::vector<std::string> offered = {};
};

/// Of --wait, with any command.
constexpr int kMostWait_seconds = 24 * 3600;

/// A whole number; `most` of INT_MAX is no limit.
Check Number(int least, int most);
/// One of these words.
Check OneOf(const std::vector<std::string>& words);
/// Any text, for which the shell offers these words.
Check AnyTextLike(const std::vector<std::string>& words);

/// Where a value goes. The last takes as many as there are.
using Target = std::variant<bool*, int*, std::string*, std::vector<std::string>*>;

struct Option {
    std::vector<std::string> names;  // "-l" and "--log", or "LOG" of an argument
    std::string value_name;          // "FILE"; empty for flags and arguments
    std::string description;
    Target target;
    bool is_required = false;
    Check check = {};
    std::vector<std::string> excluded = {};

    bool is_argument() const { return names.front()[0] != '-'; }
    bool is_list() const { return std::holds_alternative<std::vector<std::string>*>(target); }

    Option& Required();
    Option& Checked(const Check& by);
    /// It can't be combined with that option.
    Option& Excludes(const std::string& name);
};

/// In the order of the help.
class OptionSet {
  public:
    /// True if it is given. `names` is one, or two separated by a comma: "-l,--log". The reference is valid
    /// until the next one is added.
    Option& Flag(const std::string& names, bool* target, const std::string& description);
    /// With a value. Where it is a file or folder, a name of kFileNames or kFolderNames (completion.h) makes
    /// the shell complete it.
    Option& Value(const std::string& names, const std::string& value_name, Target target,
                  const std::string& description);
    Option& Argument(const std::string& name, Target target, const std::string& description);

    const std::vector<Option>& all() const { return all_; }

  private:
    std::vector<Option> all_;
};

}  // namespace ctl
