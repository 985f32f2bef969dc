// A scenario as it is written: the charge point it is set in, and what happens there.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/soak/time_units.h"
#include "simulator/soak/timing.h"

namespace soak {

constexpr char kStatusPath[] = "/run/network/ravelin_status";

struct Setting {
    std::string key;
    std::string value;
};

/// What is drawn once for a story and stays.
struct Setup {
    std::string family;
    std::string model;
    std::string port = "/dev/ttyUSB2";
    std::string device = port;  // as the daemon is told
    ModemTiming timing;
    BoardTiming board;
    bool can_upgrade = false;  // a model that can, with the tool in its place
    std::vector<Setting> settings;

    const FamilyTiming& family_timing() const { return *TimingOf(family); }
    /// The longest that the ladder needs in this setting.
    int64_t recovery_ms() const;
};

/// The lines of a settings file, each with its indentation and line end, with `key` changed, added, or taken
/// away where `value` is null.
std::string SettingsBlock(const std::vector<Setting>& settings, const char* key = nullptr,
                          const char* value = nullptr);

/// What becomes of a reset script: it takes its time and resets the modem.
constexpr char kResetScriptWords[] = "shell \"Reset4G.sh start\" ";
std::string ResetScriptRule(int64_t takes_seconds);

/// "12.5" for 12500.
std::string Seconds(int64_t ms);

/// The writer of what happens: one statement after the other.
class Story {
  public:
    explicit Story(const Setup& setup_of_story) : setup(setup_of_story) {}

    const Setup& setup;

    /// "at T WHAT"; `block` are indented lines below it.
    void At(int64_t at_ms, const std::string& what, const std::string& block = "");
    /// "every STEP from FROM to TO WHAT".
    void Every(int64_t step_ms, int64_t from_ms, int64_t to_ms, const std::string& what);
    void Settings(int64_t at_ms, const char* key = nullptr, const char* value = nullptr);
    void Call(int64_t at_ms, const std::string& bytes);  // a frame on the bus

    /// A comment line, by which everybody knows what is wrong from when to when.
    void Fault(const std::string& name, int64_t from_ms, int64_t to_ms);

    void Append(const std::string& statements) { text_ += statements; }
    std::string Take();

  private:
    std::string text_;
};

/// The comment line of a fault, as Story writes it.
constexpr char kFaultWord[] = "# fault ";

}  // namespace soak
