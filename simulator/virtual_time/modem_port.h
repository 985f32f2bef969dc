// The modem model behind a virtual port.
#pragma once

#include <functional>
#include <string>

#include "simulator/modem/modem_model.h"
#include "simulator/virtual_time/journal.h"
#include "simulator/virtual_time/port_peer.h"

namespace virtual_time {

class ModemPort : public PortPeer {
  public:
    explicit ModemPort(const modem_sim::ModemOptions& options);

    void Write(std::string_view bytes, int64_t now_us) override;
    bool Readable(int64_t now_us) override;
    std::string Read(size_t size, int64_t now_us) override;
    void Advance(int64_t now_us) override;
    std::optional<int64_t> NextEventUs() override;
    bool Present() override;
    int64_t Generation() override;
    std::string OtherPath() override;

    const modem_sim::Modem& modem() const { return modem_; }

    /// Turns a knob, as Modem::Control.
    bool Turn(const std::string& line, std::string* reply, int64_t now_us);

    // Called when the port comes or goes.
    std::function<void(bool present)> on_presence;

    /// Called with each call that another modem must be given again to be where this one is.
    std::function<void(JournalEntry::Kind kind, int64_t at_us, int64_t number, std::string_view bytes)>
        on_call;
    /// Gives it such a call again. Those of other kinds don't matter.
    void Repeat(const JournalEntry& entry);

  private:
    /// For all that may change the modem.
    modem_sim::Modem& changing_modem() {
        has_next_event_ = false;
        return modem_;
    }
    bool Fetch(int64_t now_us);
    void Tell(JournalEntry::Kind kind, int64_t at_us, int64_t number, std::string_view bytes = "") const {
        if (on_call) on_call(kind, at_us, number, bytes);
    }

    /// Whether nothing has happened by then, unless somebody calls.
    bool IsQuiet(int64_t now_us);

    modem_sim::Modem modem_;
    int64_t next_event_us_ = 0;
    bool has_next_event_ = false;  // whether that is still true
    std::string fetched_;          // from the model, to see whether there is anything
    int64_t fetched_generation_ = 0;
    bool was_present_ = true;
};

}  // namespace virtual_time
