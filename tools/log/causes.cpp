#include "tools/log/causes.h"

#include <algorithm>

#include "tools/log/pages.h"

namespace ravelin_log {
namespace {

constexpr char kNoSimText[] = "no SIM that was ready";
constexpr char kPortGoneText[] = "the modem's port was gone";
constexpr char kCommandText[] = "a script asked for a reset";
constexpr char kOcppText[] = "the OCPP service was offline, and pings unanswered";

template <typename Table>
const char* FindText(const Table& table, const std::string& word) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const auto& r) { return word == r.word; });
    return row != table.end() ? row->text : nullptr;
}

}  // namespace

// clang-format off
const std::array<CauseRow, 14> kCauses = {{
    {cause::kModemMute, "the modem didn't answer",
     "The modem stopped answering. Look at its power supply and USB cable, and at its firmware. A port "
     "that was gone for a moment looks the same: the kernel's log tells which.",
     kRecoveryPage},
    {cause::kPortGone, kPortGoneText,
     "The modem's port was gone. See the kernel's log (dmesg | grep -i usb), the power of the modem, and "
     "whether the port's name stays the same (a udev rule gives it one).",
     kBringUpPage},
    {cause::kSim, kNoSimText,
     "The SIM wasn't ready: no card, no contact, or a PIN. The daemon never enters a PIN: take it off "
     "with a phone.",
     kLogPage},
    {cause::kNoService, "no service",
     "There was no service. Look at antenna and cable, at the bands that the operator has here, and at "
     "the operator's own state.",
     kRecoveryPage},
    {cause::kDenied, "refused by the network",
     "The network refused the SIM (registration state 3). No reset mends that: ask the operator about the "
     "contract, the SIM's lock to a device, and roaming.",
     kLogPage},
    {cause::kLinkDown, "the modem called the link down",
     "The modem called the data call down, and nothing says why: the operator ends calls, or the signal "
     "is weak. Level 7 of CheckConnection (-Df CheckConnection) shows the answers.",
     kExplainingPage},
    {cause::kDataPath, "link up, no answer to pings",
     "The link was up, and nothing answered. Look at the operator's network, the APN, and whether the "
     "pinged addresses can be reached through it at all.",
     kRecoveryPage},
    {cause::kDialFailed, "the dial failed",
     "The dial was refused or led to no link. Look at APN, user name and password in the settings, and at "
     "the contract.",
     kConfigurationPage},
    {cause::kDhcp, "no address by DHCP",
     "The modem's link was up, and the DHCP client got no address: look at the interface's name and "
     "if-lte.",
     kConfigurationPage},
    {cause::kDisabled, "switched off in the settings",
     "The link was switched off by ENABLE=false. With one SIM it may take 34 checks, five and a half "
     "minutes, until it is back once it is switched on again: the radio stays off until the next soft "
     "reset.",
     kConfigurationPage},
    {cause::kCommand, kCommandText,
     "A script asked for the reset through the pipe: each costs half a minute without a link.",
     kRecoveryPage},
    {cause::kOcpp, kOcppText,
     "The OCPP service was offline beyond a threshold while no ping was answered. If only the service "
     "was, look there.",
     kRecoveryPage},
    {cause::kRestart, "the daemon began anew",
     "The daemon began anew in the middle. A power cut, a kill and a crash look alike in this log: what "
     "started it again knows (journalctl -u ravelin-mobile, or the lines of ravelin-supervise).",
     kSupervisionPage},
    {cause::kUnknown, "cause unknown",
     "For an outage without a known cause the lines before it are missing. See which log to keep.",
     kExplainingPage},
}};

const std::array<ReasonRow, 12> kReasons = {{
    {cause::kCommand, kCommandText},
    {cause::kModemMute, "three times no answer to AT+CSQ"},
    {cause::kPortGone, kPortGoneText},
    {cause::kSim, kNoSimText},
    {cause::kNoService, "34 checks without service"},
    {reason::kNoServiceRounds, "the third round of 34 checks without service"},
    {reason::kNoServiceTwoSims, "no service with two SIMs: count 3, 7 or 9"},
    {reason::kReconnect, "every fifth attempt to connect is a reset"},
    {cause::kDataPath, "the network check failed: count 3, 7 or 9"},
    {cause::kOcpp, kOcppText},
    {reason::kGuard, "ravelin-guard asked for it: online, and nothing came through"},
    {cause::kUnknown, "for a reason that the log doesn't show"},
}};
// clang-format on

std::string TopOf(const std::string& word) {
    return word.substr(0, word.find('/'));
}

std::string CauseText(const std::string& word) {
    const std::string top = TopOf(word);
    const char* text = FindText(kCauses, top);
    if (text == nullptr) return word;
    return top == word ? text : text + (" (" + word.substr(top.size() + 1) + ")");
}

std::string ReasonText(const std::string& word) {
    const char* text = FindText(kReasons, word);
    return text != nullptr ? text : word;
}

}  // namespace ravelin_log
