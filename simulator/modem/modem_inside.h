// The inside of Modem: the device, the line between it and the host, and what knobs do to that line. Seen by
// modem_model.cpp and knobs.cpp only.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem/device.h"
#include "simulator/modem/modem_model.h"
#include "simulator/modem/output_queue.h"

namespace modem_sim {

/// What goes wrong between modem and host; all of it off at the start.
struct LineFaults {
    int64_t delay_ms = 0;      ///< every answer comes that much later
    size_t piece_bytes = 0;    ///< answers come in pieces of that size; 0 whole
    int64_t piece_gap_ms = 0;  ///< between two pieces
    size_t pad_bytes = 0;      ///< shorter answers are filled up to that length
    bool percent = false;      ///< conversions of printf in each answer
    bool nul = false;          ///< a NUL byte in the middle of each answer
    Fault mute = Fault::kNone;
    int64_t flood_bytes_per_second = 0;
};

class ModemInside : private Device::Host {
  public:
    ModemInside(const Family& family, const std::string& model, int64_t now_ms);

    void Receive(std::string_view bytes);
    void Advance(int64_t now_ms);
    std::optional<int64_t> NextEventMs() const;

    /// Unsolicited bytes for the host, unless nobody is there to hear or to speak.
    void Say(const std::string& bytes) override;
    void SetFlood(int64_t bytes_per_second);
    void SayGarbage(size_t count);
    std::string Status() const;
    size_t KnobHolder() const { return knob_holder.value_or(device.selected_card()); }
    SimCard& KnobCard() { return device.card_in(KnobHolder()); }

    Device device;
    OutputQueue output;
    LineFaults faults;
    std::map<std::string, std::string> overrides;  ///< normalised command -> bytes of its answer
    std::minstd_rand random;
    std::string port_path;              ///< see Modem::port_path
    std::optional<size_t> knob_holder;  ///< whose SIM a knob means; empty for the selected one
    std::vector<std::string> unknown_commands;
    size_t unknown_command_count = 0;

  private:
    void PortLost() override;
    void Restarted() override;
    void TakeNextPortName();
    void ForgetTraffic();
    bool CanTalk() const;
    void HearCharacter(char character);
    void RunLine();
    std::string AnswerTo(const std::string& command, int64_t* takes_ms);
    void SendAnswer(std::string bytes, int64_t takes_ms);
    void FloodOnce();

    size_t next_port_name_ = 0;
    std::string line_;
    bool line_is_too_long_ = false;
    int64_t last_answer_ms_ = 0;  ///< answers don't overtake each other
    bool is_answering_ = false;
    std::string said_meanwhile_;  ///< what a command brought about is told behind its answer
    std::optional<int64_t> next_flood_ms_;
    int64_t flood_start_ms_ = 0;
    int64_t flood_sent_bytes_ = 0;
};

/// Turns the knob that `line` names. False with the reason in `*reply` when the line makes no sense.
bool TurnKnob(ModemInside& modem, std::string_view line, std::string* reply);
std::vector<std::string> ListKnobs();

}  // namespace modem_sim
