#include "tools/metrics/metrics_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace metrics {

namespace {

constexpr mode_t kMode = 0644;

/// Zero or the errno of what failed.
int Fill(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t count = write(fd, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        done += static_cast<size_t>(count);
    }
    // Before the rename: a power cut behind it must not leave an empty file under the name.
    return fchmod(fd, kMode) == 0 && fsync(fd) == 0 ? 0 : errno;
}

}  // namespace

std::string ReplaceFile(const std::string& path, const std::string& text) {
    const size_t name_start = path.rfind('/') + 1;
    // A hidden name with another ending: the collector takes every *.prom that it sees.
    std::string temporary = path.substr(0, name_start) + "." + path.substr(name_start) + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return std::string("can't be written: ") + strerror(errno);
    int error = Fill(fd, text);
    if (close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && rename(temporary.c_str(), path.c_str()) == 0) return "";
    if (error == 0) error = errno;
    unlink(temporary.c_str());
    return std::string("can't be written: ") + strerror(error);
}

}  // namespace metrics
