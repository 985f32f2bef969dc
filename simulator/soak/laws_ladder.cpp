// The ladder by itself: counts what the log says and knows by the counts which rung must come next. It shares
// nothing with the daemon but the words of its log; docs/recovery.md has the rules.
#include "simulator/soak/laws.h"

#include <cstdio>
#include <optional>

#include "simulator/soak/time_units.h"
#include "simulator/soak/vendors.h"

namespace soak {

namespace {

constexpr int64_t kAtOnce_ms = 20;  // a loop that never waits is charged some milliseconds
constexpr int64_t kAnyTime = INT64_MAX / 2;

// The rules
constexpr int64_t kServiceChecks = 34;
constexpr int64_t kLostChecks = 10;
constexpr int64_t kAttemptsPerReset = 5;
constexpr int64_t kGoodCsq = 10;
constexpr int64_t kDenied = 3;

/// Lines by which the ladder can be followed.
enum Line : uint64_t {
    kNone = 0,
    kServiceCount34 = 1 << 0,
    kServiceCount3 = 1 << 1,
    kSoftResets = 1 << 2,
    kNoServiceSoft = 1 << 3,
    kNoSim = 1 << 4,
    kNineChecks = 1 << 5,
    kFailedThirdTime = 1 << 6,
    kNineOfConnect = 1 << 7,
    kNineOfNetwork = 1 << 8,
    kAttempt = 1 << 9,
    kFifthAttempt = 1 << 10,
    kToSecondary = 1 << 11,
    kToPrimary = 1 << 12,
    kIgnored = 1 << 13,
    kWeak = 1 << 14,
    kOutage = 1 << 15,
    kOutageTimes = 1 << 16,
    kLost = 1 << 17,
    kSoftAsked = 1 << 18,
    kHardAsked = 1 << 19,
    kNoResponse = 1 << 20,
    kPortGone = 1 << 21,
    kGivesUp = 1 << 22,
    kDisabled = 1 << 23,
    kSoftReset = 1 << 24,
    kHardReset = 1 << 25,
    kHeldBack = 1 << 26,
    kByPin = 1 << 27,
    kByPower = 1 << 28,
    kByBoard = 1 << 29,
    kInterface = 1 << 30,
    kResetDone = uint64_t{1} << 31,
    kOpenFailed = uint64_t{1} << 32,
};

struct LineRow {
    Line line;
    std::string_view function;
    std::string_view start;  // of the message; a number may follow
};

constexpr LineRow kLines[] = {
    {kSoftResets, "Connect", "Check service softrest_times.  "},
    {kServiceCount34, "Connect", "Check service status.  "},  // or kServiceCount3, by its end
    {kNoServiceSoft, "Connect", "no service status,Soft reset once!"},
    {kNoSim, "Connect", "No SIM card detected!!!"},
    {kNineOfConnect, "Connect", "Check service status, 9 times, current m_Primary_SIM["},
    {kAttempt, "Connect", "Do connect.  "},
    {kFifthAttempt, "Connect", "m_reconnect_times=  "},
    {kNineChecks, "CheckNetworkDoubleSim", "CheckNetworkDoubleSim: check network "},
    {kFailedThirdTime, "CheckNetworkDoubleSim", "CEREG fail or Ping fail, need Switch SIM Card"},
    {kToSecondary, "SwitchSIMCard", "The wireless network signal is weak, Switch to a secondary SIM card!"},
    {kToPrimary, "SwitchSIMCard", "The wireless network signal is weak, Switch to a Primary SIM card!"},
    {kIgnored, "CheckNetwork", "Ping Check failed for first 2 times, ignore, check "},
    {kNineOfNetwork, "CheckNetwork", "CheckNetwork, "},
    {kWeak, "CheckNetwork", "The wireless network signal is weak,m_nCSQ="},
    {kOutage, "ORLAPROC", "########################## The response time of ping is more than 500ms"},
    {kOutageTimes, "isSoftReset", "isSoftReset? LastOFFLINE:"},
    {kLost, "Task", "Check connection. offline "},
    {kSoftAsked, "Task", "[FIFO] SoftReset run"},
    {kHardAsked, "Task", "[FIFO] DeviceReset run"},
    {kNoResponse, "Task", "No response! Reset device..."},
    {kPortGone, "Task", "Cinterion PLS83-W "},
    {kGivesUp, "Task", "Connect error! Reset device..."},
    {kDisabled, "Task", "LTE ENABLE=false !!!"},
    {kSoftReset, "SoftReset", "Soft reset!"},
    {kHardReset, "main", "kill udhcpc lte!!!"},
    {kHeldBack, "main", "[OTA] module ota run"},
    {kByPin, "main", "Reset4G.sh start pin_rst"},
    {kByPower, "main", "Reset4G.sh start pin_power"},
    {kByBoard, "main", "etc init.d S84Reset4G.sh start"},
    {kInterface, "main", "check interface lte!!!"},
    {kResetDone, "main", "Reset4G time="},
    {kOpenFailed, "main", "open device error. "},
};

// What comes only because a line before it said so.
constexpr uint64_t kNeedsCause = kNoServiceSoft | kNineOfConnect | kNineOfNetwork | kFifthAttempt |
                                 kNineChecks | kFailedThirdTime | kToSecondary | kToPrimary | kIgnored |
                                 kOutage | kGivesUp | kSoftReset | kHardReset | kHeldBack | kByPin |
                                 kByPower | kByBoard | kInterface | kResetDone;
constexpr uint64_t kFromDebugLines = kIgnored | kNineChecks | kFailedThirdTime | kOutage;
constexpr uint64_t kTaskEnds = kHardReset | kHeldBack;

class LadderLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        switch (entry.kind) {
            case EntryKind::kLogs:
            case EntryKind::kDebugs:
                if (const LineRow* row = FindLine()) TakeLine(*row);
                break;
            case EntryKind::kSends:
                SettleNetworkCheck();
                SettleRound();
                TakeQuestion(entry.text);
                break;
            case EntryKind::kHears:
                if (watch.now_ms < asked_ms_ + kSecond_ms) TakeAnswer(entry.text);
                break;
            case EntryKind::kAsks:
                if (StartsWith(entry.text, "ping  8.8.8.8  -c 3 -w 2 ")) network_check_is_open_ = true;
                break;
            case EntryKind::kEnds:
                NewRun();
                break;
            default:
                break;
        }
    }

  private:
    const LineRow* FindLine() const {
        for (const LineRow& row : kLines) {
            if (row.function == watch.log.function && StartsWith(watch.log.message, row.start)) return &row;
        }
        return nullptr;
    }

    std::string Quoted() const { return "\"" + std::string(watch.log.message) + "\""; }

    /// Some causes are seen in debug lines only, if the scenario lets the daemon show them.
    uint64_t NeedsCause() const {
        return truth.shows_network_checks ? kNeedsCause : kNeedsCause & ~kFromDebugLines;
    }

    // What must come next

    void Expect(uint64_t lines, int64_t after_ms = 0, int64_t before_ms = -1) {
        expected_ = lines;
        expected_after_ms_ = watch.now_ms + after_ms - 1;  // the record cuts microseconds off
        expected_before_ms_ = watch.now_ms + (before_ms < 0 ? after_ms : before_ms) + kAtOnce_ms;
        because_ = Quoted();
    }

    /// Anything may come, but not before.
    void Rest(int64_t ms) {
        rest_until_ms_ = watch.now_ms + ms - 1;
        because_ = Quoted();
    }

    void TakeLine(const LineRow& row) {
        Line line = row.line;
        const std::string_view after = watch.log.message.substr(row.start.size());
        if (line == kServiceCount34 && Contains(after, "/3 times")) line = kServiceCount3;
        if (watch.now_ms < rest_until_ms_) Violated(Quoted() + " comes too early after " + because_);
        rest_until_ms_ = kNever;
        if (expected_ != kNone) {
            if ((expected_ & line) == 0) {
                Violated(because_ + " is followed by " + Quoted());
            } else if (watch.now_ms < expected_after_ms_) {
                Violated(Quoted() + " comes too early after " + because_);
            } else if (watch.now_ms > expected_before_ms_) {
                Violated(Quoted() + " comes too late after " + because_);
            }
        } else if ((NeedsCause() & line) != 0) {
            Violated(Quoted() + " has no cause");
        }
        expected_ = kNone;
        Follow(line, NumberAt(after));
        last_line_ = line;
    }

    void Count(const char* what, int64_t* count, int64_t said, int64_t wanted) {
        if (said != wanted) {
            Violated(Quoted() + ": the count of " + what + " should be " + std::to_string(wanted));
        }
        *count = said;
    }

    void Follow(Line line, int64_t number) {
        const bool is_cinterion = watch.vendor == kVendorCinterion;
        const bool is_first = connects_ == 0;  // at the end of the start, where nobody looks at the outcome
        switch (line) {
            case kServiceCount3:
                ++connects_;
                Count("checks for service", &checks_, number, checks_ + 1);
                if (checks_ % 10 == 9) {
                    Expect(kNineChecks);
                } else if (checks_ % 4 == 3) {
                    Expect(kFailedThirdTime);
                } else {
                    Rest(5 * kSecond_ms);
                }
                break;
            case kSoftResets:
                ++connects_;
                ++checks_;
                Count("soft resets for lack of service", &soft_resets_, number, soft_resets_);
                round_is_open_ = soft_resets_ % 9 == 2;
                Expect(round_is_open_ ? kServiceCount34 | kGivesUp : uint64_t{kServiceCount34});
                break;
            case kServiceCount34:
                Count("checks for service", &checks_, number, checks_);
                if (round_is_open_) round_went_on_ = true;
                if (checks_ == kServiceChecks) {
                    Expect(kNoServiceSoft);
                } else {
                    Rest(5 * kSecond_ms);
                }
                break;
            case kNoServiceSoft:
                checks_ = 0;
                if (is_cinterion) {
                    Expect(kGivesUp);
                } else {
                    ++soft_resets_;
                    Expect(kSoftReset);
                }
                break;
            case kNoSim:
                ++connects_;
                checks_ = 0;
                if (!is_cinterion) {
                    Expect(kSoftReset, 10 * kSecond_ms);
                } else if (!is_first) {
                    Expect(kGivesUp, 10 * kSecond_ms);
                }
                break;
            case kNineChecks:
                if (last_line_ == kServiceCount3) {
                    checks_ = 0;
                    Expect(kNineOfConnect);
                } else {
                    weak_checks_ = 0;
                    Expect(kNineOfNetwork);
                }
                break;
            case kNineOfConnect:
            case kNineOfNetwork:
                if (!is_first || line == kNineOfNetwork) Expect(kGivesUp);
                break;
            case kFailedThirdTime:
                Expect(is_on_primary_ ? kToSecondary : kToPrimary);
                break;
            case kToSecondary:
            case kToPrimary:
                is_on_primary_ = line == kToPrimary;
                Expect(kSoftReset, 5 * kSecond_ms);
                break;
            case kAttempt:
                ++connects_;
                checks_ = 0;
                Count("attempts", &attempts_, number, attempts_ + 1);
                if (attempts_ % kAttemptsPerReset == 0) Expect(kFifthAttempt);
                break;
            case kFifthAttempt:
                Expect(kGivesUp);
                break;
            case kWeak:
                network_check_is_open_ = false;
                ++weak_checks_;
                if (weak_checks_ % 1000 < 3) {
                    Expect(kIgnored);
                } else if (weak_checks_ % 10 == 9) {
                    Expect(kNineChecks);
                } else if (weak_checks_ % 4 == 3) {
                    Expect(kFailedThirdTime);
                }
                break;
            case kIgnored:
                Count("failed network checks", &weak_checks_, number, weak_checks_);
                break;
            case kOutageTimes:
                TakeOutage();
                break;
            case kOutage:
                Expect(kSoftReset);
                break;
            case kLost:
                Count("lost checks", &lost_checks_, number, lost_checks_ + 1);
                if (lost_checks_ > kLostChecks) lost_checks_ = 0;
                break;
            case kSoftAsked:
                Expect(kSoftReset);
                break;
            case kNoResponse:
                // To a port that went away nothing can be sent.
                if (unanswered_ < 3 && watch.port_lost_ms < watch.port_opened_ms) {
                    Violated(Quoted() + " though AT+CSQ was answered");
                }
                Expect(kTaskEnds);
                break;
            case kPortGone:
                if (watch.port_lost_ms < watch.port_opened_ms) {
                    Violated(Quoted() + " though the port has been there all the time");
                }
                Expect(kTaskEnds);
                break;
            case kGivesUp:
                if (round_is_open_) {  // it was not the rung at 34 checks
                    checks_ = 0;
                    ++soft_resets_;
                    round_gave_up_ = true;
                }
                Expect(kTaskEnds);
                break;
            case kHardAsked:
                Expect(kTaskEnds);
                break;
            case kDisabled:
                Rest(20 * kSecond_ms);
                break;
            case kHeldBack:
                if (!watch.is_upgrading) Violated(Quoted() + " though no upgrade is running");
                Rest(10 * kSecond_ms);
                break;
            case kHardReset:
                Expect(ScriptLines(), 5 * kSecond_ms, is_cinterion ? kAnyTime : 10 * kSecond_ms);
                break;
            case kByPin:
            case kByPower:
            case kByBoard:
                Expect(kInterface, 5 * kSecond_ms, kAnyTime);
                break;
            case kInterface:
                Expect(kResetDone, 1 * kSecond_ms);
                break;
            case kResetDone:
                Count("hardware resets", &hard_resets_, number, hard_resets_ + 1);
                Expect(kSoftReset | kOpenFailed);
                break;
            case kSoftReset:
            case kOpenFailed:
            case kNone:
                break;
        }
        if (line != kServiceCount34 && line != kSoftResets) round_is_open_ = false;
    }

    /// The line of the reset that this modem gets on this board. While an upgrade runs, which may have been
    /// accepted a moment ago, there may be none.
    uint64_t ScriptLines() const {
        if (watch.vendor == kVendorCinterion) return kInterface;
        if (watch.board >= 2 && watch.board <= 4) return kByBoard;
        const bool by_power = watch.vendor == kVendorZte && hard_resets_ % 3 == 2;
        return (by_power ? kByPower : kByPin) | kInterface;
    }

    /// "isSoftReset? LastOFFLINE:%d,OFFLINE:%d"
    void TakeOutage() {
        const std::string_view text = watch.log.message;
        const int64_t last = NumberAfter(text, "isSoftReset? LastOFFLINE:");
        const size_t comma = text.find(",OFFLINE:");
        const int64_t now = comma == std::string_view::npos ? 0 : NumberAt(text.substr(comma + 9));
        bool is_due = now / 3600 > last / 3600;
        if (last <= 60) {
            is_due = now > 60;
        } else if (last <= 1800) {
            is_due = now > 1800;
        }
        if (is_due) Expect(kOutage);
    }

    // A network check of which nothing more is heard has passed.
    void SettleNetworkCheck() {
        if (network_check_is_open_) weak_checks_ = 0;
        network_check_is_open_ = false;
    }

    /// The third round without service: whether it goes on depends on the signal and the network's refusal,
    /// which the status file has said by the time of the next exchange.
    void SettleRound() {
        const bool went_on = round_went_on_, gave_up = round_gave_up_;
        round_went_on_ = round_gave_up_ = false;
        if (!went_on && !gave_up) return;
        const int64_t from_ms = watch.now_ms - 5 * 60 * kSecond_ms;
        for (const char* fault : {"folder_gone", "status_blocked", "files_full", "files_readonly"}) {
            if (truth.HasFaultWithin(fault, from_ms, watch.now_ms)) return;  // what it says may be old
        }
        const bool is_denied = Status("CEREG") == kDenied && Status("CGREG") == kDenied;
        const bool must_give_up = Status("CSQ") >= kGoodCsq && !is_denied;
        if (gave_up && !must_give_up) {
            Violated("hardware reset in the third round though the signal is bad or refused");
        }
        if (went_on && must_give_up) {
            Violated("the third round goes on though the signal is good and not refused");
        }
    }

    int64_t Status(const char* key) const {
        const auto line = watch.status.find(key);
        return line == watch.status.end() ? 0 : NumberAt(line->second, 0);
    }

    // The probe: how many of the last AT+CSQ had no answer that leaves no doubt.

    void TakeQuestion(std::string_view command) {
        asks_signal_ = command == "AT+CSQ";
        asked_ms_ = watch.now_ms;
        if (asks_signal_) ++unanswered_;
    }

    void TakeAnswer(std::string_view bytes) {
        int64_t csq = 0;
        if (asks_signal_ && ReadSignalAnswer(bytes, &csq)) unanswered_ = 0;
        asks_signal_ = false;
    }

    void NewRun() {
        expected_ = kNone;
        rest_until_ms_ = kNever;
        last_line_ = kNone;
        connects_ = checks_ = soft_resets_ = attempts_ = lost_checks_ = weak_checks_ = hard_resets_ =
            unanswered_ = 0;
        is_on_primary_ = network_check_is_open_ = round_is_open_ = round_went_on_ = round_gave_up_ = false;
        asks_signal_ = false;
    }

    uint64_t expected_ = kNone;
    int64_t expected_after_ms_ = 0;
    int64_t expected_before_ms_ = 0;
    int64_t rest_until_ms_ = kNever;
    std::string because_;
    Line last_line_ = kNone;

    int64_t connects_ = 0;  // calls of Connect in this run
    int64_t checks_ = 0;
    int64_t soft_resets_ = 0;
    int64_t attempts_ = 0;
    int64_t lost_checks_ = 0;
    int64_t weak_checks_ = 0;
    int64_t hard_resets_ = 0;
    bool is_on_primary_ = false;
    bool network_check_is_open_ = false;
    bool round_is_open_ = false;  // two soft resets for lack of service, and a check without it
    bool round_went_on_ = false;
    bool round_gave_up_ = false;
    bool asks_signal_ = false;
    int64_t asked_ms_ = kNever;
    int unanswered_ = 0;
};

}  // namespace

std::unique_ptr<Law> MakeLadderLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<LadderLaw>(watch, std::move(report));
}

}  // namespace soak
