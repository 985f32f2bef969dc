// A file that is there as a whole or not at all.
#pragma once

#include <string>

namespace ctl {

/// Writes `text` to a file of that name, whose former content, if it was a plain file, is kept until the new
/// one is complete. "-" is standard output. False with `problem`, one line, when it can't be done; then
/// nothing has changed.
bool WriteOutput(const std::string& name, const std::string& text, std::string* problem);

/// Whether both names lead to the same file.
bool AreSameFile(const std::string& name, const std::string& other);

}  // namespace ctl
