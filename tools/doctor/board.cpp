#include "tools/doctor/board.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <utility>

namespace doctor {

namespace {

constexpr unsigned kFirstPtyMajor = 136;
constexpr unsigned kLastPtyMajor = 143;
constexpr size_t kNamesInFolderLimit = 100000;

/// Closes a descriptor at the end of its scope.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int fd() const { return fd_; }
    bool is_open() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }

  private:
    int fd_;
};

bool IsAbsence(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO;
}

/// The numbers of pseudo terminals begin anew in each file system of theirs.
bool IsPty(dev_t device) {
    return major(device) >= kFirstPtyMajor && major(device) <= kLastPtyMajor;
}

std::string PathOf(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace

bool FileFacts::is_file() const {
    return exists && S_ISREG(mode);
}
bool FileFacts::is_folder() const {
    return exists && S_ISDIR(mode);
}
bool FileFacts::is_link() const {
    return exists && S_ISLNK(mode);
}
bool FileFacts::is_pipe() const {
    return exists && S_ISFIFO(mode);
}
bool FileFacts::is_character_device() const {
    return exists && S_ISCHR(mode);
}
bool FileFacts::is_executable() const {
    return (mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}
bool FileFacts::others_write() const {
    return owner != 0 || (mode & S_IWOTH) != 0 || ((mode & S_IWGRP) != 0 && group != 0);
}

bool IsSame(const FileFacts& one, const FileFacts& other) {
    if (!one.exists || !other.exists) return false;
    if (one.folder_device == other.folder_device && one.number == other.number) return true;
    return one.is_character_device() && other.is_character_device() && one.device == other.device &&
           !IsPty(one.device);
}

Board::Board(std::string root) : root_(std::move(root)) {
    while (!root_.empty() && root_.back() == '/') root_.pop_back();
    if (!root_.empty()) root_fd_ = open(root_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

Board::~Board() {
    if (root_fd_ >= 0) close(root_fd_);
}

int Board::Name(const std::string& path, int more_flags) const {
    if (path.find('\0') != std::string::npos) {
        errno = ENOENT;
        return -1;
    }
    const int flags = O_PATH | O_CLOEXEC | more_flags;
    if (is_live()) return open(path.c_str(), flags);
    open_how how = {};
    how.flags = static_cast<uint64_t>(flags);
    how.resolve = RESOLVE_IN_ROOT;
    const long fd = syscall(SYS_openat2, root_fd_, path.c_str(), &how, sizeof how);
    if (fd >= 0 || errno != ENOSYS) return static_cast<int>(fd);
    return open((root_ + path).c_str(), flags);  // a kernel before 5.6: links lead out of the folder
}

FileFacts Board::Look(const std::string& path, Link link) const {
    FileFacts facts;
    const Descriptor file(Name(path, link == Link::kItself ? O_NOFOLLOW : 0));
    struct stat status = {};
    if (!file.is_open() || fstat(file.fd(), &status) != 0) {
        facts.error = IsAbsence(errno) ? 0 : errno;
        return facts;
    }
    facts.exists = true;
    facts.mode = status.st_mode;
    facts.owner = status.st_uid;
    facts.group = status.st_gid;
    facts.links = status.st_nlink;
    facts.size_bytes = static_cast<uint64_t>(status.st_size);
    facts.folder_device = status.st_dev;
    facts.number = status.st_ino;
    facts.device = status.st_rdev;
    facts.changed_seconds = status.st_mtime;
    return facts;
}

SpaceFacts Board::Space(const std::string& path) const {
    SpaceFacts facts;
    const Descriptor file(Name(path, 0));
    struct statvfs system = {};
    if (!file.is_open() || fstatvfs(file.fd(), &system) != 0) return facts;
    facts.known = true;
    facts.read_only = (system.f_flag & ST_RDONLY) != 0;
    // Some file systems don't count: all zeros.
    facts.full = (system.f_blocks > 0 && system.f_bfree == 0) || (system.f_files > 0 && system.f_ffree == 0);
    return facts;
}

FileText Board::Read(const std::string& path, size_t limit) const {
    FileText text;
    const Descriptor named(Name(path, 0));
    struct stat status = {};
    if (!named.is_open() || fstat(named.fd(), &status) != 0) {
        text.error = errno;
        return text;
    }
    if (!S_ISREG(status.st_mode)) {
        text.error = EINVAL;
        return text;
    }
    // The very file that has been looked at, whatever its name stands for by now.
    const Descriptor file(open(PathOf(named.fd()).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.is_open()) {
        text.error = errno;
        return text;
    }
    char piece[4096];
    while (text.bytes.size() <= limit) {
        const ssize_t count = read(file.fd(), piece, sizeof piece);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) {
            text.error = errno;
            return text;
        }
        if (count == 0) break;
        text.bytes.append(piece, static_cast<size_t>(count));
    }
    text.read = true;
    text.is_whole = text.bytes.size() <= limit;
    if (!text.is_whole) text.bytes.resize(limit);
    return text;
}

std::optional<std::vector<std::string>> Board::List(const std::string& path) const {
    const Descriptor named(Name(path, O_DIRECTORY));
    if (!named.is_open()) return std::nullopt;
    Descriptor folder(open(PathOf(named.fd()).c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!folder.is_open()) return std::nullopt;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(folder.fd()), closedir);
    if (entries == nullptr) return std::nullopt;
    folder.Release();
    std::vector<std::string> names;
    while (const dirent* entry = readdir(entries.get())) {
        const std::string name = static_cast<const char*>(entry->d_name);
        if (name != "." && name != "..") names.push_back(name);
        if (names.size() >= kNamesInFolderLimit) break;
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool Board::IsClosed(const std::string& folder) const {
    const FileFacts facts = Look(folder);
    return facts.error != 0 || (facts.is_folder() && !List(folder));
}

std::string Board::LinkText(const std::string& path) const {
    const Descriptor link(Name(path, O_NOFOLLOW));
    if (!link.is_open()) return "";
    char text[PATH_MAX];
    const ssize_t length = readlinkat(link.fd(), "", text, sizeof text);
    return length > 0 ? std::string(text, static_cast<size_t>(length)) : "";
}

}  // namespace doctor
