// A file that others may read at any time: it is there as a whole, the former one or the new one.
#pragma once

#include <string>
#include <vector>

namespace ctl {

/// Who may read a file that is new: whom the umask lets, as with any program, or everybody, whatever the
/// umask is. A former file of our own keeps its mode in the first case.
enum class Readers { kUsual, kEverybody };

/// Writes `text` to a file of that name, whose former content is kept until the new one is complete. It takes
/// the place of a plain file or of nothing: a link isn't followed, since whoever else can write to the folder
/// would choose what is overwritten, and devices and pipes stay. False with `problem`, one line, when it
/// can't be done; then nothing has changed. "-" is standard output, of which main tells what failed.
bool WriteOutput(const std::string& name, const std::string& text, std::string* problem,
                 Readers readers = Readers::kUsual);

/// Refuses a command line by which the output would take the place of a file that is read.
void RefuseToOverwrite(const std::vector<std::string>& inputs, const std::string& output);

/// Whether both names lead to the same file.
bool AreSameFile(const std::string& name, const std::string& other);

}  // namespace ctl
