// The files that the program has open for writing, and what they hold when it closes them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace virtual_time {

struct WrittenFile {
    FILE* stream;
    std::string path;    // the program's
    bool is_from_empty;  // was emptied when it was opened
    int64_t opened_at_us;
};

class WrittenFiles {
  public:
    /// Nothing when the mode is one for reading only.
    void Opened(FILE* stream, const char* path, const char* mode, int64_t now_us);

    /// Forgets the file; nothing for a stream that isn't one of them.
    std::optional<WrittenFile> Take(FILE* stream);

  private:
    std::vector<WrittenFile> files_;
};

/// What the file will hold once its stream is closed. Nothing where only a look into the closed file tells.
std::optional<std::string> TextBeforeClose(const WrittenFile& file, int64_t now_us);

}  // namespace virtual_time
