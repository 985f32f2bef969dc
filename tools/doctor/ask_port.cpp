#include "tools/doctor/ask_port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kQuestion[] = "AT\r\n";
constexpr int kTries = 3;
constexpr int kModemAnswerWait_ms = 1500;
constexpr size_t kAnswerLimit = 4096;
constexpr size_t kShownLimit = 80;

using Clock = std::chrono::steady_clock;

/// The port, for us alone from here on; its settings go back at the end.
class Port {
  public:
    explicit Port(const std::string& device)
        : fd_(open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
        if (fd_ < 0) {
            problem_ = std::string("it can't be opened: ") + strerror(errno);
        } else if (tcgetattr(fd_, &before_) != 0) {
            problem_ = "it is no terminal";
        } else if (int is_taken = 0; ioctl(fd_, TIOCGEXCL, &is_taken) == 0 && is_taken != 0) {
            problem_ = "another program keeps it for itself";
        } else {
            is_ours_ = true;
            ioctl(fd_, TIOCEXCL);
            SetUp();
        }
    }
    ~Port() {
        if (is_ours_) {
            tcflush(fd_, TCIOFLUSH);  // what a modem doesn't take would hold up the close
            tcsetattr(fd_, TCSANOW, &before_);
            ioctl(fd_, TIOCNXCL);
        }
        if (fd_ >= 0) close(fd_);
    }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    const std::string& problem() const { return problem_; }

    /// False when the port takes nothing.
    bool Send(const std::string& text) {
        pollfd writable = {fd_, POLLOUT, 0};
        return poll(&writable, 1, kModemAnswerWait_ms) > 0 &&
               write(fd_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

    /// Appends what comes until there is an OK or the time is over. False: the port has gone.
    bool Hear(std::string* text) {
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kModemAnswerWait_ms);
        while (text->size() < kAnswerLimit && !IsOk(*text)) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            pollfd readable = {fd_, POLLIN, 0};
            if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return true;
            char piece[256];
            const ssize_t count = read(fd_, piece, sizeof piece);
            if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EINTR);
            text->append(piece, static_cast<size_t>(count));
        }
        return true;
    }

    /// A line of OK, and not just the two letters somewhere.
    static bool IsOk(const std::string& text) {
        for (const std::string& line : Split(text, '\n')) {
            if (Trimmed(line) == "OK") return true;
        }
        return false;
    }

  private:
    /// Raw, at the daemon's speed.
    void SetUp() {
        termios line = before_;
        cfmakeraw(&line);
        cfsetispeed(&line, B115200);
        cfsetospeed(&line, B115200);
        line.c_cflag |= CLOCAL | CREAD;
        tcsetattr(fd_, TCSANOW, &line);
        tcflush(fd_, TCIFLUSH);
    }

    int fd_;
    termios before_ = {};
    bool is_ours_ = false;
    std::string problem_;
};

}  // namespace

PortAnswer AskPortForOk(const std::string& device) {
    PortAnswer answer;
    Port port(device);
    if (!port.problem().empty()) {
        answer.why_unasked = device + ": " + port.problem();
        return answer;
    }
    answer.asked = true;
    // The first one may end what another program had begun to type.
    for (int i = 0; i < kTries && !answer.is_ok; ++i) {
        if (!port.Send(kQuestion) || !port.Hear(&answer.text)) break;
        answer.is_ok = Port::IsOk(answer.text);
    }
    if (answer.text.size() > kShownLimit) answer.text.resize(kShownLimit);
    return answer;
}

}  // namespace doctor
