// Runs a story under the real daemon, and has its record judged.
#pragma once

#include <array>
#include <string>

#include "simulator/soak/judge.h"

namespace soak {

struct RunnerOptions {
    std::string daemon;
    std::string library;  // to load under it
    std::string folder;   // for texts that are run
    int days = 1;         // that the longest story has
};

/// Runs the scenario at `path` and judges it. False with a reason when it can't be read or run.
bool RunStory(const RunnerOptions& options, const std::string& path, Verdict* verdict, std::string* problem);

/// The same, and once more when it breaks a law: a violation proves something only where the second record is
/// the same. Where it isn't, the verdict says so, and both records are left beside the scenario, in the files
/// of RecordsOf().
bool RunStoryForEvidence(const RunnerOptions& options, const std::string& path, Verdict* verdict,
                         std::string* problem);

/// Where the first and the second record of the scenario at `path` are left.
std::array<std::string, 2> RecordsOf(const std::string& path);

/// What is told of a story whose second record differs.
std::string FormatDifference(const Verdict& verdict);

/// The same for a text, which is written to a file of `name` in the folder first.
bool RunText(const RunnerOptions& options, const std::string& name, const std::string& text, Verdict* verdict,
             std::string* problem);

std::string ReadFile(const std::string& path);
bool WriteFile(const std::string& path, const std::string& text);

}  // namespace soak
