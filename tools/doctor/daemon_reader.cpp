#include "tools/doctor/daemon_reader.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>

#include "network_daemon/config/ini_store.h"

namespace doctor {

namespace {

/// A file of its own in memory with these bytes; negative when there can be none.
int MemoryFile(const std::string& bytes) {
    const int fd = memfd_create("settings", MFD_CLOEXEC);
    if (fd < 0) return fd;
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(fd, bytes.data() + written, bytes.size() - written);
        if (count <= 0) {
            close(fd);
            return -1;
        }
        written += static_cast<size_t>(count);
    }
    return fd;
}

/// The reader complains there about a file that it refuses; the doctor does so itself.
class QuietStandardError {
  public:
    QuietStandardError() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (kept_ >= 0 && nothing >= 0) dup2(nothing, STDERR_FILENO);
        if (nothing >= 0) close(nothing);
    }
    ~QuietStandardError() {
        if (kept_ < 0) return;
        dup2(kept_, STDERR_FILENO);
        close(kept_);
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

  private:
    int kept_;
};

// An entry that no line of a file can have: a key holds no line end.
constexpr char kSentinel[] = "\nZ=z\n";

}  // namespace

std::optional<std::string> SettingsReading::Find(const std::string& key) const {
    for (const auto& [name, value] : entries) {
        if (strcasecmp(name.c_str(), key.c_str()) == 0) return value;
    }
    return std::nullopt;
}

SettingsReading ReadSettings(const std::string& bytes) {
    SettingsReading reading;
    const int fd = MemoryFile(bytes);
    if (fd < 0) return reading;
    const QuietStandardError quiet;
    const std::unique_ptr<IniEntry, void (*)(IniEntry*)> table(
        ini_load(("/proc/self/fd/" + std::to_string(fd)).c_str()), ini_free);
    close(fd);
    reading.is_possible = true;
    reading.is_refused = table == nullptr;
    for (const IniEntry* entry = table.get(); entry != nullptr; entry = entry->next) {
        reading.entries.emplace_back(static_cast<const char*>(entry->key),
                                     static_cast<const char*>(entry->value));
    }
    return reading;
}

LineReading ReadSettingsLine(const std::string& line) {
    LineReading result;
    SettingsReading alone = ReadSettings(line);
    if (!alone.is_possible) return result;
    if (!alone.is_refused) {
        result.fate = LineReading::Fate::kTaken;
        result.entries = std::move(alone.entries);
    } else if (ReadSettings(line + kSentinel).is_refused) {
        result.fate = LineReading::Fate::kRefusesFile;
    }
    return result;
}

}  // namespace doctor
