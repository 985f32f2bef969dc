#include "simulator/virtual_time/private_folder.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace virtual_time {

namespace fs = std::filesystem;

namespace {

const char* const kMovedPlaces[] = {
    "/run/network", "/ubi", "/etc/init.d", "/proc/cpuinfo", "/proc/version", "/sys/class/gpio", "/media"};

bool BeginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// Memory if it can be had: the daemon rewrites its status files with every pass, and a file system on a disk
// writes each of them out.
std::string TemporaryPlace() {
    const char* told = getenv("TMPDIR");
    if (told != nullptr && told[0] != '\0') return told;
    return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp";
}

}  // namespace

bool IsModemPortPath(const std::string& path) {
    return BeginsWith(path, "/dev/ttyUSB") || BeginsWith(path, "/dev/ttyACM");
}

PrivateFolder::PrivateFolder(const std::string& root) : root_(root) {
    if (!root_.empty()) return;
    root_ = TemporaryPlace() + "/virtual-time-XXXXXX";
    if (mkdtemp(root_.data()) == nullptr) {
        perror(root_.c_str());
        abort();
    }
    made_here_ = true;
}

PrivateFolder::~PrivateFolder() {
    std::error_code ignored;
    if (made_here_) fs::remove_all(root_, ignored);
}

bool PrivateFolder::Moves(const std::string& path) {
    if (path == "/dev" || path == "/dev/" || IsModemPortPath(path)) return true;
    for (const char* place : kMovedPlaces) {
        const std::string start = place;
        if (path == start || BeginsWith(path, start + "/")) return true;
    }
    return false;
}

std::string PrivateFolder::Real(const std::string& path) const {
    const bool is_inside = BeginsWith(path, root_ + "/");  // the folder itself may lie in one of the places
    return Moves(path) && !is_inside ? Inside(path) : path;
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

void PrivateFolder::Remove(const std::string& path) const {
    std::error_code ignored;
    fs::remove_all(Inside(path), ignored);
}

}  // namespace virtual_time
