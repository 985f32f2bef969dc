#include "simulator/soak/story.h"

#include <cstdio>

#include "simulator/text/text.h"

namespace soak {

namespace {

constexpr char kIndentation[] = "    ";

}  // namespace

int64_t Setup::recovery_ms() const {
    return RecoveryBoundSeconds(family_timing(), timing, board) * kSecond_ms;
}

std::string SettingsBlock(const std::vector<Setting>& settings, const char* key, const char* value) {
    std::string text;
    bool is_new = key != nullptr;
    const auto append = [&text](const std::string& name, const std::string& its_value) {
        text += kIndentation + name + "=" + its_value + "\n";
    };
    for (const Setting& setting : settings) {
        const bool is_meant = key != nullptr && setting.key == key;
        is_new = is_new && !is_meant;
        if (!is_meant) {
            append(setting.key, setting.value);
        } else if (value != nullptr) {
            append(setting.key, value);
        }
    }
    if (is_new && value != nullptr) append(key, value);
    return text;
}

std::string ResetScriptRule(int64_t takes_seconds) {
    const std::string takes = takes_seconds > 0 ? "takes " + std::to_string(takes_seconds) + " " : "";
    return kResetScriptWords + takes + "turns reset";
}

std::string Seconds(int64_t ms) {
    char text[40];
    snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(ms / kSecond_ms),
             static_cast<long long>(ms % kSecond_ms));
    std::string seconds = text;
    while (seconds.back() == '0') seconds.pop_back();
    if (seconds.back() == '.') seconds.pop_back();
    return seconds;
}

void Story::At(int64_t at_ms, const std::string& what, const std::string& block) {
    text_ += "at " + Seconds(at_ms) + " " + what + "\n" + block;
}

void Story::Every(int64_t step_ms, int64_t from_ms, int64_t to_ms, const std::string& what) {
    text_ += "every " + Seconds(step_ms) + " from " + Seconds(from_ms) + " to " + Seconds(to_ms) + " " +
             what + "\n";
}

void Story::Settings(int64_t at_ms, const char* key, const char* value) {
    At(at_ms, "settings", SettingsBlock(setup.settings, key, value));
}

void Story::Call(int64_t at_ms, const std::string& bytes) {
    At(at_ms, "call " + simulator_text::ToHex(bytes));
}

void Story::Fault(const std::string& name, int64_t from_ms, int64_t to_ms) {
    text_ += "\n" + (kFaultWord + name) + " from " + Seconds(from_ms) + " to " + Seconds(to_ms) + "\n";
}

std::string Story::Take() {
    return std::move(text_);
}

}  // namespace soak
