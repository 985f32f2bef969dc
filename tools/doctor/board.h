// The board as the doctor sees it: files below one folder, looked at in ways that change nothing and never
// wait. A file is opened only once it is known to be a plain one; a pipe, a port or another device never is.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace doctor {

/// What the system says about a path.
struct FileFacts {
    bool exists = false;
    int error = 0;  // errno where it couldn't be looked at; ENOENT and its like count as "isn't there"
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    uint64_t links = 0;
    uint64_t size_bytes = 0;
    dev_t folder_device = 0;  // of the file system
    ino_t number = 0;
    dev_t device = 0;  // that a device file stands for
    time_t changed_seconds = 0;

    bool is_file() const;
    bool is_folder() const;
    bool is_link() const;
    bool is_pipe() const;
    bool is_character_device() const;
    /// Some bit of execution is set; root needs no more.
    bool is_executable() const;
    /// Somebody besides root can change it.
    bool others_write() const;
};

/// Both are the same file, or two names of one device.
bool IsSame(const FileFacts& one, const FileFacts& other);

/// Of the file system that a path lies on.
struct SpaceFacts {
    bool known = false;
    bool read_only = false;
    bool full = false;
};

struct FileText {
    bool read = false;
    bool is_whole = false;  // not longer than the limit
    int error = 0;
    std::string bytes;
};

constexpr size_t kTextLimit_bytes = 1024 * 1024;

class Board {
  public:
    /// Paths are below `root`; links in it that begin with "/" are too. Empty or "/": the board that runs
    /// this.
    explicit Board(std::string root = "");
    virtual ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    /// This is the system itself, whose ports and bus can be reached.
    bool is_live() const { return root_.empty(); }

    /// With Link::kFollow of what a link leads to.
    enum class Link { kFollow, kItself };
    virtual FileFacts Look(const std::string& path, Link link = Link::kFollow) const;

    virtual SpaceFacts Space(const std::string& path) const;

    /// A plain file, up to `limit` bytes; of a longer one its beginning.
    virtual FileText Read(const std::string& path, size_t limit = kTextLimit_bytes) const;

    /// Names in a folder, sorted; null when it can't be read.
    virtual std::optional<std::vector<std::string>> List(const std::string& path) const;

    /// There is a folder, or may be one, and what is in it can't be seen.
    bool IsClosed(const std::string& folder) const;

    /// Where a link leads, as it stands there; empty when it is none.
    std::string LinkText(const std::string& path) const;

    bool Exists(const std::string& path) const { return Look(path).exists; }

  private:
    /// A descriptor that only names the file; negative with errno.
    int Name(const std::string& path, int more_flags) const;

    std::string root_;
    int root_fd_ = -1;
};

}  // namespace doctor
