// Completion of ravelinctl's command line for bash.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace ctl {

// Names of values for which the shell offers files, or folders only.
constexpr const char* kFileNames[] = {"FILE", "LOG", "PIPE", "PORT"};
constexpr const char* kFolderNames[] = {"FOLDER"};

/// A script that bash-completion loads at the first need.
std::string BashCompletion(const CLI::App& tool);

}  // namespace ctl
