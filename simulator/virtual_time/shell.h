// The shell that isn't there: every text given to system() and popen() is noted with its time and answered by
// rules.
//
// A few commands act on the private folder, as the real ones would: "mkdir PATH -p", "rm -rf PATH" and
// "echo TEXT > PATH", each on places that move only. All others do nothing but what the rules say.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "simulator/virtual_time/private_folder.h"
#include "simulator/virtual_time/storage.h"

namespace virtual_time {

struct ShellAnswer {
    bool fails = false;               // popen gives no stream; system gives -1
    int exit_status = 0;              // system gives it
    std::string output;               // what a reader of popen gets
    int64_t seconds_before_line = 0;  // how long the reader waits for each line of it
    int64_t takes_seconds = 0;        // system returns, popen's output ends or is closed so much later
    std::function<void()> action;     // done when the command is run
    // Fills in what depends on the command and on the moment.
    std::function<void(const std::string& command, ShellAnswer* answer)> complete;
};

class Shell {
  public:
    struct Call {
        int64_t at_us;
        std::string command;
        bool is_popen;
    };

    Shell(const PrivateFolder& folder, const Storage& storage) : folder_(folder), storage_(storage) {}

    /// A command that holds `part` is answered so. The latest rule that fits wins; `times`, if not 0, is how
    /// often it is good for.
    void AddRule(const std::string& part, ShellAnswer answer, int times = 0);

    /// Tells of the command, does what it does to the folder and gives its answer; the action is the caller's
    /// to run.
    ShellAnswer Run(const std::string& command, bool is_popen, int64_t now_us);

    // Called with every command when it is run.
    std::function<void(const Call&)> on_call;

  private:
    struct Rule {
        std::string part;
        ShellAnswer answer;
        int times_left;  // negative: no end
    };

    // False when the command fails.
    bool ActOnFolder(const std::string& command);
    bool MakeFolder(const std::string& path);
    bool Remove(const std::string& path);
    bool Echo(const std::string& text, const std::string& path);

    const PrivateFolder& folder_;
    const Storage& storage_;
    std::vector<Rule> rules_;
};

}  // namespace virtual_time
