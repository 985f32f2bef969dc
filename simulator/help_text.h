// What a tool prints for --help and --version. The texts are made by cmake/help_text.cmake from the tool's
// .help file.
#pragma once

extern const char kHelpText[];
extern const char kVersionText[];
