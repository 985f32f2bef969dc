#include "simulator/virtual_time/storage.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "simulator/virtual_time/own_heap.h"
#include "simulator/virtual_time/private_folder.h"

namespace virtual_time {

namespace {

int FlagsOf(const char* mode) {
    const bool reads = strchr(mode, '+') != nullptr;
    const int access = reads ? O_RDWR : O_WRONLY;
    if (mode[0] == 'w') return access | O_CREAT | O_TRUNC;
    return mode[0] == 'a' ? access | O_CREAT | O_APPEND : access;
}

struct FullFile {
    int fd;
};

ssize_t ReadFile(void* cookie, char* to, size_t size) {
    return read(static_cast<FullFile*>(cookie)->fd, to, size);
}

ssize_t RefuseToWrite(void*, const char*, size_t) {
    errno = ENOSPC;
    return 0;  // in this call's words: an error
}

int Seek(void* cookie, off64_t* position, int whence) {
    *position = lseek(static_cast<FullFile*>(cookie)->fd, static_cast<off_t>(*position), whence);
    return *position < 0 ? -1 : 0;
}

int Close(void* cookie) {
    const ForTheWorld memory;
    const int result = close(static_cast<FullFile*>(cookie)->fd);
    delete static_cast<FullFile*>(cookie);
    return result;
}

}  // namespace

// What was said before of places below the path is over.
void Storage::Set(const std::string& path, State state) {
    for (auto place = states_.begin(); place != states_.end();) {
        place = IsPathIn(place->first, path) ? states_.erase(place) : std::next(place);
    }
    states_[path] = state;
}

// The nearest place above decides. Places are sorted, and one that lies in another comes after it.
Storage::State Storage::Of(std::string_view path) const {
    State state = State::kWritable;
    for (const auto& [place, its_state] : states_) {
        if (IsPathIn(path, place)) state = its_state;
    }
    return state;
}

FILE* OpenWithoutRoom(const char* path, const char* mode) {
    constexpr mode_t kPermissions = 0666;  // fopen's own
    const int fd = open(path, FlagsOf(mode) | O_CLOEXEC, kPermissions);
    if (fd < 0) return nullptr;
    auto* file = new FullFile{fd};
    FILE* stream = fopencookie(file, mode, {ReadFile, RefuseToWrite, Seek, Close});
    if (stream == nullptr) Close(file);
    return stream;
}

}  // namespace virtual_time
