// The serial port that the tool offers: a pty, and a link to it.
#include "simulator/modem/pty_port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace modem_sim {

namespace {

constexpr size_t kRead_bytes = 4096;
constexpr size_t kPath_bytes = 4096;
constexpr std::string_view kSlaveFolder = "/dev/pts/";

std::string ErrorText(const std::string& what) {
    return what + ": " + strerror(errno);
}

/// Target of a symbolic link; empty when it is none.
std::string LinkTarget(const std::string& path) {
    char target[kPath_bytes];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : std::string();
}

}  // namespace

bool PtyPort::Open(const std::string& link_path, std::string* error) {
    Close();
    if (MakeMaster(error) && MakeLink(link_path, error)) return true;
    Close();
    return false;
}

bool PtyPort::MakeMaster(std::string* error) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char path[kPath_bytes];
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, path, sizeof path) != 0) {
        *error = ErrorText("can't make a pty");
        return false;
    }
    slave_path_ = path;
    // Raw before the host comes, and opened once: from then on the master shows when nobody has the port
    // open.
    const int slave = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios attributes{};
    if (slave < 0 || tcgetattr(slave, &attributes) != 0) {
        *error = ErrorText(slave_path_);
        if (slave >= 0) close(slave);
        return false;
    }
    cfmakeraw(&attributes);
    tcsetattr(slave, TCSANOW, &attributes);
    close(slave);
    return true;
}

bool PtyPort::MakeLink(const std::string& link_path, std::string* error) {
    if (link_path.empty()) return true;
    if (LinkTarget(link_path).compare(0, kSlaveFolder.size(), kSlaveFolder) == 0) unlink(link_path.c_str());
    if (symlink(slave_path_.c_str(), link_path.c_str()) != 0) {
        *error = ErrorText(link_path);
        return false;
    }
    link_path_ = link_path;
    return true;
}

void PtyPort::Close() {
    // someone may have put another thing in the link's place
    if (!link_path_.empty() && LinkTarget(link_path_) == slave_path_) unlink(link_path_.c_str());
    link_path_.clear();
    if (master_ >= 0) close(master_);
    master_ = -1;
}

bool PtyPort::HostIsThere() const {
    pollfd look = {master_, POLLIN, 0};
    return poll(&look, 1, 0) >= 0 && (look.revents & POLLHUP) == 0;
}

void PtyPort::DropUnread() const {
    // flushing the master doesn't reach what the slave's side holds already
    const int slave = open(slave_path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave < 0) return;
    tcflush(slave, TCIFLUSH);
    close(slave);
}

std::string PtyPort::Read() const {
    char bytes[kRead_bytes];
    const ssize_t count = read(master_, bytes, sizeof bytes);
    return count > 0 ? std::string(bytes, static_cast<size_t>(count)) : std::string();
}

size_t PtyPort::Write(std::string_view bytes) const {
    const ssize_t count = write(master_, bytes.data(), bytes.size());
    return count > 0 ? static_cast<size_t>(count) : 0;
}

}  // namespace modem_sim
