#include "simulator/virtual_time/private_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace virtual_time {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMovedPlaces[] = {
    "/run/network", "/ubi", "/etc/init.d", "/proc/cpuinfo", "/proc/version", "/sys/class/gpio", "/media"};

constexpr char kFolderName[] = "virtual-time-";

bool BeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// Memory if it can be had: the daemon rewrites its status files with every pass, and a file system on a disk
// writes each of them out. A name with a blank or a colon won't do: LD_PRELOAD would cut it.
std::string TemporaryPlace() {
    const char* told = getenv("TMPDIR");
    if (told != nullptr && told[0] != '\0' && strpbrk(told, " :") == nullptr) return told;
    return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp";
}

// A descriptor that holds the folder's lock; -1 if somebody else has it or there is none.
int LockFolder(const std::string& folder, int flags) {
    const int fd = open((folder + "/.lock").c_str(), O_RDWR | O_CLOEXEC | flags, 0600);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0) return fd;
    if (fd >= 0) close(fd);
    return -1;
}

// How long a folder with a free lock is left alone: its process may be between making and locking it.
constexpr std::chrono::seconds kYouth{60};

// Whether `folder` was made long before `own`, by the clock of the file system.
bool IsOld(const fs::path& folder, const fs::path& own) {
    std::error_code error;
    const fs::file_time_type made = fs::last_write_time(folder / ".lock", error);
    if (error) return false;
    const fs::file_time_type now = fs::last_write_time(own, error);
    return !error && now - made > kYouth;
}

// A process that dies (a death test, a crash, a kill) leaves its folder; the next one that comes by clears it
// away. The lock of a folder in use is held; one without a lock file is just being made.
void RemoveAbandonedFolders(const std::string& place, const std::string& own) {
    std::error_code error;
    fs::directory_iterator entry(place, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& folder = entry->path();
        if (!BeginsWith(folder.filename().string(), kFolderName) || !IsOld(folder, own)) continue;
        const int fd = LockFolder(folder.string(), 0);
        if (fd < 0) continue;
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        close(fd);
    }
}

}  // namespace

bool IsPathIn(std::string_view path, std::string_view place) {
    return BeginsWith(path, place) && (path.size() == place.size() || path[place.size()] == '/');
}

bool IsModemPortPath(std::string_view path) {
    return BeginsWith(path, "/dev/ttyUSB") || BeginsWith(path, "/dev/ttyACM");
}

PrivateFolder::PrivateFolder(const std::string& root) : root_(root) {
    if (!root_.empty()) return;
    root_ = TemporaryPlace() + "/" + kFolderName + "XXXXXX";
    if (mkdtemp(root_.data()) == nullptr) {
        perror(root_.c_str());
        abort();
    }
    lock_fd_ = LockFolder(root_, O_CREAT);
    RemoveAbandonedFolders(TemporaryPlace(), root_);
}

PrivateFolder::~PrivateFolder() {
    if (lock_fd_ < 0) return;
    std::error_code ignored;
    fs::remove_all(root_, ignored);
    close(lock_fd_);
}

bool PrivateFolder::Moves(std::string_view path) {
    if (path == "/dev" || path == "/dev/" || IsModemPortPath(path)) return true;
    return std::any_of(std::begin(kMovedPlaces), std::end(kMovedPlaces),
                       [path](std::string_view place) { return IsPathIn(path, place); });
}

std::string PrivateFolder::Real(std::string_view path) const {
    // the folder itself may lie in one of the places
    return Moves(path) && !IsPathIn(path, root_) ? Inside(path) : std::string(path);
}

std::string PrivateFolder::Inside(std::string_view path) const {
    std::string inside;
    inside.reserve(root_.size() + 1 + path.size());
    return inside.append(root_).append(1, '/').append(path);
}

void PrivateFolder::Write(const std::string& path, const std::string& text) const {
    std::error_code ignored;
    fs::create_directories(fs::path(Inside(path)).parent_path(), ignored);
    std::ofstream file(Inside(path), std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        fprintf(stderr, "virtual time: can't write %s\n", path.c_str());
        abort();
    }
}

std::string PrivateFolder::Read(const std::string& path) const {
    std::string text;
    FILE* file = fopen(Inside(path).c_str(), "rb");
    if (file == nullptr) return text;
    char piece[4096];
    for (size_t count; (count = fread(piece, 1, sizeof(piece), file)) > 0;) text.append(piece, count);
    fclose(file);
    return text;
}

bool PrivateFolder::Exists(const std::string& path) const {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(Inside(path), ignored));
}

void PrivateFolder::MakeFolder(const std::string& path) const {
    std::error_code ignored;
    fs::create_directories(Inside(path), ignored);
}

void PrivateFolder::MakePipe(const std::string& path) const {
    constexpr mode_t kMode = 0660;
    Remove(path);
    mkfifo(Inside(path).c_str(), kMode);
}

void PrivateFolder::Remove(const std::string& path) const {
    std::error_code ignored;
    fs::remove_all(Inside(path), ignored);
}

}  // namespace virtual_time
