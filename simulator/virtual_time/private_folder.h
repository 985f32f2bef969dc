// The fixed paths of the system, moved into a folder of a run's own: /run/network/x becomes
// FOLDER/run/network/x.
#pragma once

#include <string>
#include <string_view>

namespace virtual_time {

class PrivateFolder {
  public:
    /// Uses `root`, which must exist, or makes a new temporary folder when it is empty.
    explicit PrivateFolder(const std::string& root = "");
    /// Removes the folder with all that is in it if it was made here.
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::string& root() const { return root_; }

    /// Whether `path` is, or lies in, one of the places that move: /run/network, /ubi, /etc/init.d,
    /// /proc/cpuinfo, /proc/version, /sys/class/gpio, /media, and in /dev the folder itself and the serial
    /// ports of modems.
    static bool Moves(std::string_view path);

    /// Where `path` really is; unchanged when it doesn't move.
    std::string Real(std::string_view path) const;

    // Paths here are those that the daemon knows; what doesn't move is taken as a place in the folder all the
    // same.
    std::string Inside(std::string_view path) const;
    /// Writes a file, and makes the folders above it.
    void Write(const std::string& path, const std::string& text) const;
    /// Empty when there is none.
    std::string Read(const std::string& path) const;
    bool Exists(const std::string& path) const;
    void MakeFolder(const std::string& path) const;
    /// A new named pipe, in the place of what is there.
    void MakePipe(const std::string& path) const;
    /// A file, or a folder with all that is in it.
    void Remove(const std::string& path) const;

  private:
    std::string root_;
    int lock_fd_ = -1;  // held while the folder is in use; only of one that was made here
};

/// Whether the path is that of the place or of something below it.
bool IsPathIn(std::string_view path, std::string_view place);

/// Whether the path names a serial port of a modem: /dev/ttyUSB* or /dev/ttyACM*.
bool IsModemPortPath(std::string_view path);

}  // namespace virtual_time
