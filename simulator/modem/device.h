// What a modem is behind its commands: power, radio, SIM, registration, data call, and the times that all of
// it takes. Knows no command and no text but for the registration reports that every modem words alike;
// dialect rows and knobs read and change it through the members here.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace modem_sim {

struct Family;

enum class Power { kOff, kBooting, kOn };

/// The values are those of +CFUN.
enum class Radio { kMinimum = 0, kFull = 1, kFlight = 4 };

enum class CardState { kAbsent, kUnpowered, kBusy, kLocked, kBlocked, kReady };

/// kCut: it was up and the network ended it.
enum class CallState { kDown, kDialling, kUp, kCut };

enum class DialResult { kStarted, kNoService, kRefused };

/// The three registrations that a modem reports apart: +CREG, +CGREG, +CEREG.
enum Domain { kCircuit, kPacket, kEps, kDomainCount };
constexpr const char* kDomainNames[kDomainCount] = {"CREG", "CGREG", "CEREG"};

/// What a family may report unsolicited.
enum class Event { kBooted, kCardReady, kCardGone, kCallUp, kCallDown };

/// What a family may report about the radio unsolicited.
enum class RadioReport { kSignal, kTechnology };

/// Stat values of a registration, as the standard numbers them.
constexpr int kStatIdle = 0;
constexpr int kStatHome = 1;
constexpr int kStatSearching = 2;
constexpr int kStatDenied = 3;
constexpr int kStatRoaming = 5;

/// The network of one SIM, as far as two SIMs differ in it.
struct Subscription {
    std::array<int, kDomainCount> stat = {kStatHome, kStatHome, kStatHome};  // once a search is over
    bool reaches_all = true;                                                 // every host answers through it
    std::vector<std::string> hosts;                                          // otherwise those that do
    int64_t round_trip_ms = 40;
};

struct SimCard {
    bool inserted = true;
    bool wants_pin = false;
    bool pin_entered = false;
    int pin_tries_left = 3;
    int busy_asks_left = 0;  // this many asks more are answered with "busy"
    std::string pin = "1234";
    std::string iccid;
    std::string imsi;
    Subscription network;
};

constexpr size_t kCardCount = 2;

/// What the air brings, whichever SIM is used.
struct Surroundings {
    int csq = 23;
    int rsrp_dbm = -95;
    int rsrq_db = -11;
    int rssi_dbm = -67;
    int sinr_db = 14;
    int band = 3;
    int channel = 1650;
    int cell_id = 211;  // physical cell id
    std::string area_code = "5A1C";
    std::string cell_address = "B3F2A10";
    std::string operator_name = "CHINA MOBILE";
    std::string network = "FDD LTE";
    int temperature_celsius = 38;
};

/// How long things take.
struct Timing {
    int64_t boot_ms = 5000;
    int64_t port_gone_ms = 3000;  // the USB port after a reset; not longer than the boot
    int64_t sim_start_ms = 600;
    int64_t search_ms = 3000;
    int64_t dial_ms = 800;
};

/// What the host has set and a restart or "ATZ" forgets.
struct Session {
    bool echo = true;                                  // the family says what a start gives
    int error_mode = 0;                                // +CMEE
    std::array<int, kDomainCount> report = {0, 0, 0};  // n of +CREG, +CGREG, +CEREG
    int operator_format = 0;                           // 0 long name, 2 digits
};

constexpr int kContextsMax = 16;

struct Context {
    std::string type = "IPV4V6";
    std::string apn;
    std::string user;
    std::string password;
    int authentication = 0;
};

/// Until when a fault made by a knob lasts.
enum class Fault { kNone, kStays, kUntilReset };

class Device {
  public:
    /// Where the device speaks to.
    class Host {
      public:
        virtual ~Host() = default;
        virtual void Say(const std::string& bytes) = 0;
        virtual void PortLost() = 0;
        /// The modem's memory is as fresh as on the first day, whatever the port does.
        virtual void Restarted() = 0;
    };

    /// On and registered for a while; an empty `model` is the family's first. `family` and `host` stay valid
    /// for the life of the device.
    Device(const Family& family, const std::string& model, Host* host, int64_t now_ms);

    // Time
    int64_t now_ms() const { return now_ms_; }
    std::optional<int64_t> NextTimerMs() const;
    /// Moves the clock to `now_ms` at most; stops after the first timer that is due. False when none was.
    bool AdvanceToNextTimer(int64_t now_ms);

    // Power and port
    Power power() const { return power_; }
    bool present() const;
    int64_t port_generation() const { return port_generation_; }
    bool plugged() const { return plugged_; }
    void SetPlugged(bool plugged);
    void Reset();
    void PowerOff();
    void PowerOn();
    /// A reset by command, late enough for the answer to get out.
    void RestartSoon();
    void ResetSession();

    // SIM
    /// Two cards fit, of which the selector pin connects one.
    const SimCard& card() const { return cards_[selected_card_]; }
    SimCard& card() { return cards_[selected_card_]; }
    SimCard& card_in(size_t holder) { return cards_[holder]; }
    size_t selected_card() const { return selected_card_; }
    /// For a modem that is on, one card goes and another comes.
    void SelectCard(size_t holder);
    CardState card_state() const;
    /// One "is the SIM ready?", which a busy card counts.
    CardState AskCard();
    /// False when the PIN is wrong. After three wrong ones the card is blocked.
    bool EnterPin(const std::string& pin);
    /// A card put in place of the one there, or none; as when the holder is opened and closed.
    void ChangeCard(size_t holder, bool inserted, bool wants_pin, int busy_asks);

    // Radio and registration
    Radio radio() const { return radio_; }
    void SetRadio(Radio radio);
    int Stat(Domain domain) const;
    bool IsRegistered(Domain domain) const;
    bool HasService() const;  // registered anywhere
    bool HasPacketService() const;
    bool IsRoaming() const { return HasPacketStat(kStatRoaming); }
    bool IsDenied() const { return HasPacketStat(kStatDenied); }
    void SetStat(size_t holder, Domain domain, int stat);
    /// Another radio technology.
    void SetNetwork(const std::string& network);
    bool IsSearching() const { return timers_[kSearchDone].has_value(); }

    // Data call
    CallState call() const { return call_; }
    DialResult Dial();
    void HangUp();
    void CutCall();
    /// The network brings the call up with no dial. False without service.
    bool RaiseCall();
    /// `refusals` refused dials, then none; with kStays and kUntilReset it doesn't count.
    void RefuseDials(Fault fault, int refusals);
    std::string DialText() const;
    /// Whether `host` answers through the call.
    bool Reaches(const std::string& host) const;

    const Family& family;
    std::string model;
    std::string firmware;
    bool reports_technology = true;  // unsolicited, where the family does
    Surroundings air;
    Timing timing;
    Session session;
    std::map<int, Context> contexts;
    int usb_mode = 0;
    int usb_mode_after_boot = 0;
    // What a dialect stores for its own commands, by names of its own.
    std::map<std::string, std::string> settings;
    /// Empty where nothing was stored.
    std::string Setting(const std::string& name) const;

  private:
    enum Timer {
        kPortBack,
        kBootDone,
        kCardStarted,
        kSearchDone,
        kDialDone,
        kRestart,
        kSignalReport,
        kTimerCount
    };

    void Start(Timer timer, int64_t after_ms);
    void Stop(Timer timer) { timers_[timer].reset(); }
    void Fire(Timer timer);
    void StopAll();
    void Boot();
    bool CanSearch() const;
    bool HasPacketStat(int stat) const;
    void EndCall(CallState end);
    /// Draws the consequences of a change: the last step of whatever changes the state.
    void Settle();
    void SettlePort();
    void SettleCard();
    void SettleSearch();
    void SettleCall();
    void ReportRegistration();
    void Announce(Event event);
    void Report(RadioReport report);
    void StartSignalReports();

    Host* const host_;
    int64_t now_ms_;
    std::array<std::optional<int64_t>, kTimerCount> timers_;
    Power power_ = Power::kOn;
    bool plugged_ = true;
    Radio radio_ = Radio::kFull;
    std::array<SimCard, kCardCount> cards_;
    size_t selected_card_ = 0;
    CallState call_ = CallState::kDown;
    Fault dial_fault_ = Fault::kNone;
    int dial_refusals_left_ = 0;

    // What Settle() saw last.
    int64_t port_generation_ = 1;
    bool was_present_ = true;
    CardState last_card_state_ = CardState::kReady;
    bool could_search_ = true;
    std::array<int, kDomainCount> reported_stat_ = {kStatHome, kStatHome, kStatHome};
};

}  // namespace modem_sim
