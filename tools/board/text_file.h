// Small text files of a board, read without trust: whoever can write to their folder may have put anything in
// their place.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

namespace board {

enum class FileState {
    kRead,
    kMissing,
    kNoFile,       // a folder, link, pipe or device in its place
    kTooLarge,     // the beginning is there
    kNotReadable,  // not by us, or at all
};

struct TextFile {
    FileState state = FileState::kMissing;
    std::string text;
    std::string problem;  // in words, where it wasn't read: "is a pipe and no file"
    time_t modified = 0;
};

constexpr size_t kTextFileLimit_bytes = 64 * 1024;  // a status file has less than 2 KiB

/// Never waits, as for the writer of a pipe, follows no link in the file's place, and reads no more than
/// `limit_bytes`.
TextFile ReadTextFile(const std::string& path, size_t limit_bytes = kTextFileLimit_bytes);

/// False: errno says why, and some of the text may have been written.
bool WriteAll(int fd, const std::string& text);

/// What stands at a path, in words, link or not: "a pipe", "a symbolic link" ... and "a file"; "nothing".
std::string KindAt(const std::string& path);

}  // namespace board
