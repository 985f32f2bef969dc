// Makes a story shorter while it still breaks the same law: whole faults are left out first, then single
// statements, then the quiet time between what is left.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace soak {

/// Whether a text still breaks the law, and when; empty when it doesn't, or can't be run.
using StoryTest = std::function<std::optional<int64_t>(const std::string& text)>;

struct MinimiseOptions {
    // The law goes by the faults that the comments name: a fault's statements stand and fall together.
    bool keeps_faults_whole = false;
    // What must be quiet between two faults for the law to be judged at all.
    int64_t quiet_ms = 60000;
    // Hears of each step.
    std::function<void(const std::string& line)> tell;
};

/// The shortest text found; `text` itself where nothing can be left out.
std::string MinimiseStory(const std::string& text, const MinimiseOptions& options, const StoryTest& test);

}  // namespace soak
