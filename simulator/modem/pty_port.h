// The serial port that the tool offers: the master side of a pty whose slave is linked under a name of the
// user's choice. To the host it looks like a port that can be opened, closed, opened again, and pulled out.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace modem_sim {

class PtyPort {
  public:
    PtyPort() = default;
    ~PtyPort() { Close(); }
    PtyPort(const PtyPort&) = delete;
    PtyPort& operator=(const PtyPort&) = delete;

    /// Makes a raw pty and links it at `link_path`; an empty path makes no link. A link that an earlier run
    /// left is replaced, anything else in the way is an error. False with the reason in `*error`.
    bool Open(const std::string& link_path, std::string* error);

    /// Takes the link away and hangs up on the host.
    void Close();

    bool is_open() const { return master_ >= 0; }
    int master() const { return master_; }
    const std::string& slave_path() const { return slave_path_; }

    /// Whether anyone has the port open.
    bool HostIsThere() const;

    /// Drops what the host has not read: the next one to open the port shall not find it.
    void DropUnread() const;

    /// What the host has written; empty when there is nothing or the host has gone.
    std::string Read() const;

    /// Number of bytes that the host's side took, 0 when it is full.
    size_t Write(std::string_view bytes) const;

  private:
    bool MakeMaster(std::string* error);
    bool MakeLink(const std::string& link_path, std::string* error);

    int master_ = -1;
    std::string slave_path_;
    std::string link_path_;  // empty while there is no link of ours
};

}  // namespace modem_sim
