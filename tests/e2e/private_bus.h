// A real bus of a test's own, at the address that the library and the tools look for.
#pragma once

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

/// Beyond what the slowest machine needs for anything: only used up by what never comes.
constexpr std::chrono::seconds kPatience{120};

/// Polls. False: not within our patience.
inline bool Eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

/// Doesn't run until Start. BUS_CONFIG names the bus daemon's configuration.
class PrivateBus {
  public:
    PrivateBus() {
        char name[] = "/tmp/private_bus.XXXXXX";
        folder_ = mkdtemp(name);
        setenv("RAVELIN_BUS_ADDRESS", Address().c_str(), 1);
    }
    ~PrivateBus() {
        Stop();
        rmdir(folder_.c_str());
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    std::string Address() const { return "unix:path=" + Socket(); }
    const std::string& Folder() const { return folder_; }

    /// False: it doesn't come up.
    bool Start() {
        bus_ = fork();
        if (bus_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);  // also when the test is killed
            const std::string address = "--address=" + Address();
            freopen("/dev/null", "w", stderr);
            execlp("dbus-daemon", "dbus-daemon", "--config-file=" BUS_CONFIG, address.c_str(), "--nofork",
                   "--nopidfile", nullptr);
            _exit(127);
        }
        return Eventually([this] { return IsListening(); });
    }

    void Stop() {
        if (bus_ > 0) {
            kill(bus_, SIGTERM);
            waitpid(bus_, nullptr, 0);
            unlink(Socket().c_str());
        }
        bus_ = -1;
    }

    /// While the bus is stopped: waits for somebody who wants to connect, and sends him away.
    bool TurnOneAway() const {
        const sockaddr_un address = SocketAddress();
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        pollfd caller = {listener, POLLIN, 0};
        const int patience_ms = std::chrono::milliseconds(kPatience).count();
        const bool has_come =
            bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            listen(listener, 1) == 0 && poll(&caller, 1, patience_ms) == 1;
        if (has_come) close(accept(listener, nullptr, nullptr));
        unlink(Socket().c_str());
        close(listener);
        return has_come;
    }

    /// Whether somebody on the bus has the name.
    bool IsOwned(const std::string& name) const {
        const std::string command = "dbus-send --bus=" + Address() +
                                    " --print-reply --dest=org.freedesktop.DBus / "
                                    "org.freedesktop.DBus.GetNameOwner string:" +
                                    name + " >/dev/null 2>&1";
        return system(command.c_str()) == 0;
    }

  private:
    std::string Socket() const { return folder_ + "/bus"; }

    sockaddr_un SocketAddress() const {
        sockaddr_un address = {AF_UNIX, ""};
        snprintf(address.sun_path, sizeof address.sun_path, "%s", Socket().c_str());
        return address;
    }

    bool IsListening() const {
        const sockaddr_un address = SocketAddress();
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        return connected;
    }

    std::string folder_;
    pid_t bus_ = -1;
};
