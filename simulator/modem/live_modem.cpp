// A modem in real time: the model, its pty and its control socket in one loop of one thread.
#include "simulator/modem/live_modem.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr size_t kTake_bytes = 4096;
/// A closed port can't be waited for (it is always "hung up"), so it is looked at that often.
constexpr int kClosedPortLook_ms = 20;
/// Nothing hangs on it; the loop just never sleeps without a limit.
constexpr int kLongestWait_ms = 60 * 1000;

int64_t MonotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

LiveModem::LiveModem(const ModemOptions& options, const std::string& link_path, bool log)
    : link_path_(link_path),
      log_(log),
      start_ms_(MonotonicMs()),
      modem_(options),
      control_([this](const std::string& line) {
          std::string reply;
          const bool is_ok = Turn(line, &reply);
          return ReplyBytes(is_ok, reply);
      }),
      pin_([this](int level) {
          std::string reply;
          Turn(level == 1 ? "select 1" : "select 2", &reply);
      }) {}

int64_t LiveModem::NowMs() const {
    return MonotonicMs() - start_ms_;
}

bool LiveModem::Turn(const std::string& line, std::string* reply) {
    Log("knob", line);
    const bool is_ok = modem_.Control(line, reply, NowMs());
    // whoever turned the knob shall find the port as it is from now on
    return is_ok && (!is_running_ || FollowPort(reply));
}

bool LiveModem::Run(int stop_fd, std::string* error) {
    if (!FollowPort(error)) return false;
    is_running_ = true;
    TellPort();
    for (bool stop = false; !stop;) {
        modem_.Advance(NowMs());
        std::string complaint;
        if (!FollowPort(&complaint)) fprintf(stderr, "modem_sim: %s\n", complaint.c_str());
        HearHost();
        SpeakToHost();
        WaitForNews(stop_fd, &stop);
        control_.Serve();
        pin_.Serve();
    }
    port_.Close();
    return true;
}

void LiveModem::TellPort() const {
    const std::string path = modem_.PortPathFrom(link_path_);
    if (port_.is_open()) printf("modem at %s\n", (path.empty() ? port_.slave_path() : path).c_str());
    fflush(stdout);
}

bool LiveModem::FollowPort(std::string* error) {
    const bool is_another = port_.is_open() && modem_.port_generation() != port_generation_;
    if (port_.is_open() && (is_another || !modem_.present())) {
        port_.Close();
        unwritten_.clear();
        Log("port", "gone");
    }
    if (port_.is_open() || !modem_.present()) return true;
    const std::string path = modem_.PortPathFrom(link_path_);
    if (!port_.Open(path, error)) {
        // not tried again before the user says where to plug it
        modem_.Control("unplug", nullptr, NowMs());
        return false;
    }
    port_generation_ = modem_.port_generation();
    host_is_there_ = false;
    Log("port", path.empty() ? port_.slave_path() : path + " -> " + port_.slave_path());
    return true;
}

void LiveModem::HearHost() {
    if (!port_.is_open()) return;
    // bytes can be there although the host has gone again
    for (std::string bytes = port_.Read(); !bytes.empty(); bytes = port_.Read()) {
        NoteHost(true);
        Log("host ", bytes);
        modem_.Receive(bytes, NowMs());
    }
    NoteHost(port_.HostIsThere());
}

void LiveModem::NoteHost(bool is_there) {
    if (is_there == host_is_there_) return;
    host_is_there_ = is_there;
    if (!is_there) port_.DropUnread();  // first: whoever reads in the log that it is closed may open it anew
    Log("port", is_there ? "opened" : "closed");
}

void LiveModem::SpeakToHost() {
    for (;;) {
        if (unwritten_.empty()) {
            unwritten_ = modem_.TakeOutput(NowMs(), kTake_bytes);
            if (unwritten_.empty()) return;
            Log(host_is_there_ ? "modem" : "lost ", unwritten_);
        }
        // words to a port that nobody has open are lost
        const size_t count = host_is_there_ ? port_.Write(unwritten_) : unwritten_.size();
        unwritten_.erase(0, count);
        if (!unwritten_.empty()) return;
    }
}

int LiveModem::WaitMs() const {
    int64_t wait_ms = kLongestWait_ms;
    const auto next_ms = modem_.NextEventMs();
    if (next_ms && unwritten_.empty()) wait_ms = std::clamp<int64_t>(*next_ms - NowMs(), 0, kLongestWait_ms);
    if (port_.is_open() && !host_is_there_) wait_ms = std::min<int64_t>(wait_ms, kClosedPortLook_ms);
    return static_cast<int>(wait_ms);
}

void LiveModem::WaitForNews(int stop_fd, bool* stop) {
    std::vector<pollfd> wanted = {{stop_fd, POLLIN, 0}};
    if (port_.is_open() && host_is_there_) {
        wanted.push_back(
            {port_.master(), static_cast<short>(unwritten_.empty() ? POLLIN : POLLIN | POLLOUT), 0});
    }
    control_.AddTo(&wanted);
    pin_.AddTo(&wanted);
    poll(wanted.data(), wanted.size(), WaitMs());
    *stop = wanted[0].revents != 0;
}

void LiveModem::Log(const char* what, const std::string& text) const {
    if (!log_) return;
    const int64_t now_ms = NowMs();
    printf("%6lld.%03lld %s %s\n", static_cast<long long>(now_ms / 1000),
           static_cast<long long>(now_ms % 1000), what, Escape(text).c_str());
    fflush(stdout);
}

}  // namespace modem_sim
