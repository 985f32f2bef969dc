// Why the link was down and why the modem was reset: the words for programs, what they mean for people, and
// what to do about it. Nothing else in the tools explains such a word.
#pragma once

#include <array>
#include <string>

namespace ravelin_log {

/// Causes of outages; a finer one has a slash after one of these.
namespace cause {
constexpr char kModemMute[] = "modem-mute";
constexpr char kPortGone[] = "port-gone";
constexpr char kSim[] = "sim";
constexpr char kNoService[] = "no-service";
constexpr char kDenied[] = "denied";
constexpr char kLinkDown[] = "link-down";
constexpr char kDataPath[] = "data-path";
constexpr char kDialFailed[] = "dial-failed";
constexpr char kDhcp[] = "dhcp";
constexpr char kDisabled[] = "disabled";
constexpr char kCommand[] = "command";
constexpr char kOcpp[] = "ocpp";
constexpr char kRestart[] = "restart";
constexpr char kUnknown[] = "unknown";
}  // namespace cause

/// Reasons of resets that are no causes of outages, too.
namespace reason {
constexpr char kNoServiceRounds[] = "no-service-rounds";
constexpr char kNoServiceTwoSims[] = "no-service-two-sims";
constexpr char kReconnect[] = "reconnect";
constexpr char kGuard[] = "guard";  // ravelin-guard asked for it
}  // namespace reason

struct CauseRow {
    const char* word;
    const char* text;
    const char* advice;
    const char* page;  // where more stands
};
extern const std::array<CauseRow, 14> kCauses;  // in the order in which advice is given

struct ReasonRow {
    const char* word;
    const char* text;
};
extern const std::array<ReasonRow, 12> kReasons;

/// The word without what stands after its slash.
std::string TopOf(const std::string& word);

/// In words; what stands after the slash follows in brackets.
std::string CauseText(const std::string& word);
std::string ReasonText(const std::string& word);

}  // namespace ravelin_log
