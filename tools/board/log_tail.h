// What comes to a log from now on: a file, which may be rotated or emptied, or the journal.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace board {

class LogTail {
  public:
    LogTail() = default;
    ~LogTail();
    LogTail(const LogTail&) = delete;
    LogTail& operator=(const LogTail&) = delete;

    enum class From { kStart, kEnd };

    /// From the present end of the file, or its start. False: problem() says why.
    bool OpenFile(const std::string& path, From from = From::kEnd);
    /// From now, what the daemon says there. False: there is none.
    bool OpenJournal();
    /// The log of the daemon that runs here: the file after its -DL, the journal, or that of syslog. False:
    /// none is found.
    bool OpenFound(const std::string& daemon_log);

    /// What people call it.
    const std::string& name() const { return name_; }
    const std::string& problem() const { return problem_; }

    /// The lines that have come since the last call, without their line ends.
    std::vector<std::string> NewLines();

  private:
    bool Fail(const std::string& problem);
    void ReadFile();
    void ReadJournal();
    bool IsExchanged() const;

    std::string name_, problem_;
    std::string path_;
    int fd_ = -1;
    ino_t inode_ = 0;
    off_t at_ = 0;
    bool is_journal_ = false;
    std::string since_;    // of the journal, for journalctl
    size_t shown_ = 0;     // bytes of the journal that were read already
    std::string pending_;  // what has no line end yet
};

}  // namespace board
