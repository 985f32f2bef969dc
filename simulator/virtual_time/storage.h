// Places whose file system is full or read-only. Only the program's own calls meet that; the scenario writes
// where it likes.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace virtual_time {

class Storage {
  public:
    enum class State {
        kWritable,
        kFull,      // files can be opened, made and emptied, and nothing gets in
        kReadOnly,  // no file can be opened for writing, made or removed
    };

    /// From now on, for the path and all below it.
    void Set(const std::string& path, State state);

    State Of(std::string_view path) const;
    bool IsReadOnly(std::string_view path) const { return Of(path) == State::kReadOnly; }

  private:
    std::map<std::string, State> states_;
};

/// fopen on a file system that is full: what is read comes from the file, and a write fails with ENOSPC.
/// `path` is the real one, and `mode` one that writes.
FILE* OpenWithoutRoom(const char* path, const char* mode);

}  // namespace virtual_time
