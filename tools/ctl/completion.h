// Completion of ravelinctl's command line for bash.
#pragma once

#include <string>
#include <vector>

#include "tools/ctl/command_line.h"

namespace ctl {

// Names of values for which the shell offers files, or folders only.
constexpr const char* kFileNames[] = {"FILE", "LOG", "PIPE", "PORT"};
constexpr const char* kFolderNames[] = {"FOLDER"};

/// A script that bash-completion loads at the first need.
std::string BashCompletion(const std::vector<DeclaredCommand>& commands);

}  // namespace ctl
