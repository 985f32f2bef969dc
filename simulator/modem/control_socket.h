// The control socket: a unix stream socket that takes one knob a line. To each line come back the lines of
// its reply, if it has any, and one that says "ok" or "error: " and the reason.
#pragma once

#include <poll.h>

#include <functional>
#include <string>
#include <vector>

namespace modem_sim {

class ControlSocket {
  public:
    /// Turns a knob: the bytes that go back, as ReplyBytes makes them.
    using Turn = std::function<std::string(const std::string& line)>;

    explicit ControlSocket(Turn turn) : turn_(std::move(turn)) {}
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// A socket that a dead run left at `path` is replaced; one that still answers is an error.
    bool Listen(const std::string& path, std::string* error);

    /// Adds what has to be waited for.
    void AddTo(std::vector<pollfd>* wanted) const;

    /// Takes in what has come; never blocks.
    void Serve();

  private:
    struct Client {
        int socket;
        std::string heard;
    };

    void AcceptClients();
    /// False when the client is done with.
    bool ServeClient(Client& client);

    const Turn turn_;
    std::string path_;
    int listener_ = -1;
    std::vector<Client> clients_;
};

std::string ReplyBytes(bool is_ok, const std::string& reply);

/// The other side: sends each line, prints what comes back. 0 when all were fine, 1 when one wasn't or nobody
/// answers.
int SendLines(const std::string& path, const std::vector<std::string>& lines);

}  // namespace modem_sim
