// A modem that doesn't exist: bytes in, bytes out, with the state of a real one behind the commands (power,
// radio, SIM, registration, data call). Two users: the tool modem_sim, which puts it behind a pty in real
// time, and the virtual-time runs, which drive it on their own clock.
//
// The model does no I/O and has no clock: each call is given the time in milliseconds, counted from anywhere,
// and a time that runs backwards counts as the last one. The same calls with the same times give the same
// bytes. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem/device.h"
#include "simulator/modem/output_queue.h"

namespace modem_sim {

struct ModemOptions {
    std::string family = "quectel_qcom";  // one of Modem::Families()
    std::string model;                    // any text; empty for the family's first model
};

class Modem : private Device::Host {
  public:
    /// A modem that has been on for a while: booted, SIM ready, registered, echo on, no data call. An unknown
    /// family ends the process: ask IsFamily() first.
    explicit Modem(const ModemOptions& options, int64_t now_ms = 0);
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
    ///
    /// After "reset", the reset pin, call and registration are gone at once, the port vanishes for a while,
    /// and the modem boots. Until it has booted it hears and says nothing; then it reports itself, with echo
    /// on and the radio on.
    bool Control(const std::string& line, std::string* reply, int64_t now_ms);

    /// Whether the port is there. Gone while unplugged, without power and in the first part of a boot; an
    /// open descriptor of a port that went away is dead for good.
    bool present() const { return device_.present(); }

    /// Another number each time that the port comes back: a descriptor belongs to one generation.
    int64_t port_generation() const { return device_.port_generation(); }

    /// Path that "plug PATH" asked for; a bare device name where the modem took another by itself, and the
    /// port is in the folder where it was; empty when the port comes back where it was.
    const std::string& port_path() const { return port_path_; }

    /// Where a port is now that was at `first_path`, which may be empty.
    std::string PortPathFrom(const std::string& first_path) const;

    /// How long a host in the network behind the modem takes to answer; empty when it doesn't.
    std::optional<int64_t> RoundTripMs(const std::string& host) const;
    bool HasCall() const { return device_.call() == CallState::kUp; }

    /// State and knobs, one "name: value" a line.
    std::string Status() const;

    /// Commands that the dialect doesn't know, as they came, the oldest first; they were answered with ERROR.
    /// The count goes on when the list is full.
    const std::vector<std::string>& unknown_commands() const { return unknown_commands_; }
    size_t unknown_command_count() const { return unknown_command_count_; }

    /// Every knob, in the order of --help.
    static std::vector<std::string> KnobNames();

  private:
    friend class Knobs;  // what Control does: knobs.cpp

    /// What goes wrong between modem and host; all of it off at the start.
    struct LineFaults {
        int64_t delay_ms = 0;      // every answer comes that much later
        size_t piece_bytes = 0;    // answers come in pieces of that size; 0 whole
        int64_t piece_gap_ms = 0;  // between two pieces
        size_t pad_bytes = 0;      // shorter answers are filled up to that length
        bool percent = false;      // conversions of printf in each answer
        bool nul = false;          // a NUL byte in the middle of each answer
        size_t cut_bytes = 0;      // answers end after so many bytes; 0 whole
        bool merge = false;        // each second answer comes with the one before it, in one block
        bool stale = false;        // each command gets the answer to the one before it
        std::string chatter;       // said in front of the result of each answer; empty for nothing
        Fault mute = Fault::kNone;
        bool recorded =
            false;  // plays a modem that was recorded: no echo, and nothing unsolicited but by knobs
        int64_t flood_bytes_per_second = 0;
    };

    // The device's way to the host. What it says is lost when nobody is there to hear or to speak.
    void Say(const std::string& bytes) override;
    void PortLost() override;
    void Restarted() override;

    bool CanTalk() const;
    void HearCharacter(char character);
    void RunLine();
    std::string AnswerTo(const std::string& command, int64_t* takes_ms);
    std::string WithFaults(std::string answer) const;
    void SendAnswer(std::string bytes, int64_t takes_ms);
    /// As the knob of the technology's word has it.
    std::string Worded(std::string bytes) const;
    void SetMerge(bool merge);
    /// What the modem says because a knob wants it.
    void SayAloud(const std::string& bytes);
    void SayGarbage(size_t count);
    void SetFlood(int64_t bytes_per_second);
    void FloodOnce();
    void ForgetTraffic();
    void TakeNextPortName();

    Device device_;
    OutputQueue output_;
    LineFaults faults_;
    std::string technology_word_;  // in place of "LTE"; empty for "LTE" itself
    std::string last_answer_;
    std::string held_answer_;                       // waits for the next one, to come with it
    std::map<std::string, std::string> overrides_;  // normalised command -> bytes of its answer
    std::minstd_rand random_;
    std::string port_path_;  // see port_path()
    size_t next_port_name_ = 0;
    std::string line_;
    bool line_is_too_long_ = false;
    int64_t last_answer_ms_ = 0;  // answers don't overtake each other
    bool is_answering_ = false;
    std::string said_meanwhile_;  // what a command brought about is reported after its answer
    std::optional<int64_t> next_flood_ms_;
    int64_t flood_start_ms_ = 0;
    int64_t flood_sent_bytes_ = 0;
    std::vector<std::string> unknown_commands_;
    size_t unknown_command_count_ = 0;
};

}  // namespace modem_sim
