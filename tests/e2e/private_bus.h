// A real bus of a test's own, at the address that the library and the tools look for.
#pragma once

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

/// Polls. False: not within the limit.
inline bool Eventually(const std::function<bool()>& condition,
                       std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
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

  private:
    std::string Socket() const { return folder_ + "/bus"; }

    bool IsListening() const {
        sockaddr_un address = {AF_UNIX, ""};
        snprintf(address.sun_path, sizeof address.sun_path, "%s", Socket().c_str());
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        return connected;
    }

    std::string folder_;
    pid_t bus_ = -1;
};
