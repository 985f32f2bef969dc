// A selector pin as a file, the way boards export their pins.
#include "simulator/modem/pin_file.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace modem_sim {

namespace {

constexpr size_t kNotices_bytes = 4096;

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

PinFile::~PinFile() {
    if (notices_ >= 0) close(notices_);
}

bool PinFile::Watch(const std::string& path, std::string* error) {
    path_ = path;
    name_ = path.substr(path.rfind('/') + 1);
    notices_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // The folder and not the file: the file may come later, or be replaced.
    if (notices_ < 0 ||
        inotify_add_watch(notices_, FolderOf(path).c_str(), IN_CLOSE_WRITE | IN_MOVED_TO) < 0) {
        *error = "the pin can't be watched: " + path + ": " + strerror(errno);
        return false;
    }
    TellLevel();
    return true;
}

void PinFile::AddTo(std::vector<pollfd>* wanted) const {
    if (notices_ >= 0) wanted->push_back({notices_, POLLIN, 0});
}

void PinFile::Serve() {
    if (notices_ < 0) return;
    bool is_written = false;
    alignas(inotify_event) char bytes[kNotices_bytes];
    for (ssize_t count; (count = read(notices_, bytes, sizeof bytes)) > 0;) {
        for (ssize_t at = 0; at < count;) {
            const auto* const notice = reinterpret_cast<const inotify_event*>(bytes + at);
            if (notice->len > 0 && name_ == notice->name) is_written = true;
            at += static_cast<ssize_t>(sizeof *notice + notice->len);
        }
    }
    if (is_written) TellLevel();
}

void PinFile::TellLevel() {
    std::ifstream file(path_);
    int level = -1;
    if (file >> level && (level == 0 || level == 1)) on_level_(level);
}

}  // namespace modem_sim
