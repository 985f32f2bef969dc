// The files that the program has open for writing, and what they hold when it closes them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace virtual_time {

struct WrittenFile {
    FILE* stream;        // null for a descriptor
    int fd;              // -1 for a stream
    std::string path;    // the program's
    bool is_from_empty;  // was emptied when it was opened
    int64_t opened_at_us;
    bool has_room = true;  // else a write to the descriptor fails
    std::string written;   // to the descriptor
};

class WrittenFiles {
  public:
    /// Nothing when the mode is one for reading only.
    void Opened(FILE* stream, const char* path, const char* mode, int64_t now_us);

    /// Nothing when the flags are for reading only, or when it is no file but a pipe or a device.
    void Opened(int fd, const char* path, int flags, int64_t now_us, bool has_room);

    /// Null for a descriptor that isn't one of them.
    WrittenFile* Find(int fd);

    /// Forgets the file; nothing for a stream or descriptor that isn't one of them.
    std::optional<WrittenFile> Take(FILE* stream);
    std::optional<WrittenFile> Take(int fd);

  private:
    std::optional<WrittenFile> Take(std::vector<WrittenFile>::iterator file);

    std::vector<WrittenFile> files_;
};

/// What the file will hold once it is closed. Nothing where only a look into the closed file tells.
std::optional<std::string> TextBeforeClose(const WrittenFile& file, int64_t now_us);

}  // namespace virtual_time
