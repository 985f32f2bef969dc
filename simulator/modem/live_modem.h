// A modem in real time: the model, its pty and its control socket in one loop of one thread.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/modem/control_socket.h"
#include "simulator/modem/modem_model.h"
#include "simulator/modem/pin_file.h"
#include "simulator/modem/pty_port.h"

namespace modem_sim {

class LiveModem {
  public:
    /// An empty link path makes no link. With `log`, traffic and events go to standard output.
    LiveModem(const ModemOptions& options, const std::string& link_path, bool log);

    /// As Modem::Control. While it runs, the port has come or gone when this returns; a port that can't be
    /// made makes it false and leaves the modem unplugged.
    bool Turn(const std::string& line, std::string* reply);

    bool Listen(const std::string& control_path, std::string* error) {
        return control_.Listen(control_path, error);
    }

    /// The SIM selector pin: 1 selects holder 1, 0 holder 2.
    bool WatchPin(const std::string& path, std::string* error) { return pin_.Watch(path, error); }

    /// Runs until `stop_fd` becomes readable. False with the reason when the port can't be made.
    bool Run(int stop_fd, std::string* error);

  private:
    int64_t NowMs() const;
    /// Opens or closes the pty as the modem's port comes and goes. False with the reason when it can't be
    /// made.
    bool FollowPort(std::string* error);
    void TellPort() const;
    void HearHost();
    void NoteHost(bool is_there);
    void SpeakToHost();
    void WaitForNews(int stop_fd, bool* stop);
    int WaitMs() const;
    void Log(const char* what, const std::string& text) const;

    const std::string link_path_;
    const bool log_;
    const int64_t start_ms_;
    Modem modem_;
    PtyPort port_;
    ControlSocket control_;
    PinFile pin_;
    int64_t port_generation_ = 0;
    bool is_running_ = false;
    bool host_is_there_ = false;
    std::string unwritten_;  // taken from the modem, not yet taken by the host
};

}  // namespace modem_sim
