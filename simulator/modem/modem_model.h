// A modem that doesn't exist: bytes in, bytes out, with the state of a real one behind the commands (power,
// radio, SIM, registration, data call). Two users: the tool modem_sim, which puts it behind a pty in real
// time, and the virtual-time runs, which drive it on their own clock.
//
// The model does no I/O and has no clock: each call is told the time in milliseconds, counted from anywhere,
// and a time that runs backwards counts as the last one. The same calls with the same times give the same
// bytes. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace modem_sim {

class ModemInside;

struct ModemOptions {
    std::string family = "quectel_qcom";  ///< one of Modem::Families()
    std::string model;                    ///< any text; empty for the family's first model
};

class Modem {
  public:
    /// A modem that has been on for a while: booted, SIM ready, registered, echo on, no data call. An unknown
    /// family ends the process: ask IsFamily() first.
    explicit Modem(const ModemOptions& options, int64_t now_ms = 0);
    ~Modem();
    Modem(const Modem&) = delete;
    Modem& operator=(const Modem&) = delete;

    static std::vector<std::string> Families();
    static bool IsFamily(const std::string& name);
    /// The usual models of a family; its dialect takes any other name too. Empty for an unknown family.
    static std::vector<std::string> Models(const std::string& family);

    /// Bytes that the host wrote to the port, in any pieces. Lost while the port is gone, as on a real cable.
    void Receive(std::string_view bytes_from_host, int64_t now_ms);

    /// At most `max_bytes` of what is due for the host by now, in order; empty when there is nothing.
    std::string TakeOutput(int64_t now_ms, size_t max_bytes);

    /// When something happens by itself: output falls due, the modem has booted, a search for the network
    /// ends, the port comes back. It lies in the past while due output waits to be taken. Empty: nothing
    /// until someone calls.
    std::optional<int64_t> NextEventMs() const;

    /// Lets everything happen that is due by now. Receive, TakeOutput and Control do it too.
    void Advance(int64_t now_ms);

    /// Turns one knob; the words are those of `modem_sim --help`, e.g. "csq 12" or "link down". An empty line
    /// and a line that begins with '#' do nothing. False when the line makes no sense. `reply`, where given,
    /// gets the reason then, and the text asked for with "status"; otherwise it becomes empty.
    bool Control(const std::string& line, std::string* reply, int64_t now_ms);

    /// The reset pin: call and registration are gone at once, the port vanishes for a while, and the modem
    /// boots. Until it has booted it hears and says nothing; then it reports itself, with echo on and the
    /// radio on.
    void HardReset(int64_t now_ms);
    void PowerOff(int64_t now_ms);
    void PowerOn(int64_t now_ms);

    /// Whether the port is there. Gone while unplugged, without power and in the first part of a boot; an
    /// open descriptor of a port that went away is dead for good.
    bool present() const;

    /// Another number each time that the port comes back: a descriptor belongs to one generation.
    int64_t port_generation() const;

    /// Path that "plug PATH" asked for; a bare device name where the modem took another by itself, and the
    /// port is in the folder where it was; empty when the port comes back where it was.
    const std::string& port_path() const;

    /// Where a port is now that was at `first_path`, which may be empty.
    std::string PortPathFrom(const std::string& first_path) const;

    /// How long a host in the network behind the modem takes to answer; empty when it doesn't.
    std::optional<int64_t> RoundTripMs(const std::string& host) const;
    bool HasCall() const;

    /// State and knobs, one "name: value" a line.
    std::string Status() const;

    /// Commands that the dialect doesn't know, as they came, the oldest first; they were answered with ERROR.
    /// The count goes on when the list is full.
    const std::vector<std::string>& unknown_commands() const;
    size_t unknown_command_count() const;

    /// Every knob, in the order of --help.
    static std::vector<std::string> KnobNames();

  private:
    std::unique_ptr<ModemInside> inside_;
};

}  // namespace modem_sim
