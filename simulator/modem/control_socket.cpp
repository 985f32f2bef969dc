// The control socket of the tool, and the client that scripts use.
#include "simulator/modem/control_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace modem_sim {

namespace {

constexpr size_t kClientsMax = 16;
constexpr size_t kLineMax_bytes = 16UL * 1024;
constexpr size_t kRequest_bytes = 4096;
constexpr int kBacklog = 8;
constexpr std::string_view kOkLine = "ok";
constexpr std::string_view kErrorWord = "error: ";

bool MakeAddress(const std::string& path, sockaddr_un* address, std::string* error) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address->sun_path) {
        *error = "a socket's path has 1 to " + std::to_string(sizeof address->sun_path - 1) +
                 " characters: " + path;
        return false;
    }
    memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

bool IsSocket(const std::string& path) {
    struct stat about {};
    return lstat(path.c_str(), &about) == 0 && S_ISSOCK(about.st_mode);
}

/// A connected socket, or -1.
int Connect(const sockaddr_un& address) {
    const int connected = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connected < 0) return -1;
    if (connect(connected, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return connected;
    }
    close(connected);
    return -1;
}

/// Cuts the first line off `*text`, its line end too. False when no whole line is there.
bool TakeLine(std::string* text, std::string* line) {
    const size_t end = text->find('\n');
    if (end == std::string::npos) return false;
    *line = text->substr(0, end);
    if (!line->empty() && line->back() == '\r') line->pop_back();
    text->erase(0, end + 1);
    return true;
}

bool SendAll(int connected, const std::string& bytes) {
    return send(connected, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

/// Prints the lines of one reply. True when it ends with "ok".
bool PrintReply(int connected, std::string* heard) {
    for (;;) {
        std::string line;
        while (TakeLine(heard, &line)) {
            const bool is_error = line.compare(0, kErrorWord.size(), kErrorWord) == 0;
            fprintf(is_error ? stderr : stdout, "%s\n", line.c_str());
            fflush(stdout);
            if (is_error) return false;
            if (line == kOkLine) return true;
        }
        char bytes[kRequest_bytes];
        const ssize_t count = recv(connected, bytes, sizeof bytes, 0);
        if (count <= 0) {
            fprintf(stderr, "the simulator has gone\n");
            return false;
        }
        heard->append(bytes, static_cast<size_t>(count));
    }
}

}  // namespace

ControlSocket::~ControlSocket() {
    for (const Client& client : clients_) close(client.socket);
    if (listener_ < 0) return;
    close(listener_);
    unlink(path_.c_str());
}

bool ControlSocket::Listen(const std::string& path, std::string* error) {
    sockaddr_un address;
    if (!MakeAddress(path, &address, error)) return false;
    const int other_run = Connect(address);
    if (other_run >= 0) {
        close(other_run);
        *error = path + ": another simulator listens there";
        return false;
    }
    if (IsSocket(path)) unlink(path.c_str());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, kBacklog) != 0) {
        *error = path + ": " + strerror(errno);
        if (listener >= 0) close(listener);
        return false;
    }
    listener_ = listener;
    path_ = path;
    return true;
}

void ControlSocket::AddTo(std::vector<pollfd>* wanted) const {
    if (listener_ >= 0) wanted->push_back({listener_, POLLIN, 0});
    for (const Client& client : clients_) wanted->push_back({client.socket, POLLIN, 0});
}

void ControlSocket::Serve() {
    if (listener_ < 0) return;
    AcceptClients();
    const auto is_done = [this](Client& client) {
        if (ServeClient(client)) return false;
        close(client.socket);
        return true;
    };
    clients_.erase(std::remove_if(clients_.begin(), clients_.end(), is_done), clients_.end());
}

void ControlSocket::AcceptClients() {
    for (;;) {
        const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted < 0) return;
        if (clients_.size() < kClientsMax) {
            clients_.push_back({accepted, ""});
        } else {
            close(accepted);
        }
    }
}

bool ControlSocket::ServeClient(Client& client) {
    char bytes[kRequest_bytes];
    const ssize_t count = recv(client.socket, bytes, sizeof bytes, 0);
    if (count == 0) return false;
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    client.heard.append(bytes, static_cast<size_t>(count));
    std::string line;
    while (TakeLine(&client.heard, &line)) {
        if (!SendAll(client.socket, turn_(line))) return false;
    }
    return client.heard.size() <= kLineMax_bytes;
}

std::string ReplyBytes(bool is_ok, const std::string& reply) {
    if (!is_ok) return std::string(kErrorWord) + reply + "\n";
    return reply + std::string(kOkLine) + "\n";
}

int SendLines(const std::string& path, const std::vector<std::string>& lines) {
    sockaddr_un address;
    std::string error;
    if (!MakeAddress(path, &address, &error)) {
        fprintf(stderr, "modem_sim: %s\n", error.c_str());
        return 1;
    }
    const int connected = Connect(address);
    if (connected < 0) {
        fprintf(stderr, "modem_sim: no simulator listens at %s: %s\n", path.c_str(), strerror(errno));
        return 1;
    }
    bool all_are_fine = true;
    std::string heard;
    for (const std::string& line : lines) {
        const bool is_sent = SendAll(connected, line + "\n");
        if (!is_sent || !PrintReply(connected, &heard)) all_are_fine = false;
    }
    close(connected);
    return all_are_fine ? 0 : 1;
}

}  // namespace modem_sim
