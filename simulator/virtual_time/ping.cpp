// What a pipeline around ping makes of the network behind the simulated modem.
#include "simulator/virtual_time/ping.h"

#include <cctype>
#include <cstdlib>
#include <optional>
#include <sstream>

namespace virtual_time {

namespace {

constexpr int64_t kMsPerSecond = 1000;
/// After the last of its requests ping waits that long for an answer.
constexpr int64_t kLinger_seconds = 10;
/// The name server, and what it takes to give it up.
constexpr char kNameServer[] = "8.8.8.8";
constexpr int64_t kNameWait_seconds = 10;

struct Ping {
    std::string host;
    int64_t count = 0;
    std::optional<int64_t> deadline_seconds;
    int64_t slowest_ms = INT64_MAX;
};

bool ParsePing(const std::string& command, Ping* ping) {
    constexpr char kFilter[] = "$1<";
    std::istringstream words(command.substr(0, command.find('|')));
    std::string word;
    if (!(words >> word) || word != "ping" || !(words >> ping->host)) return false;
    while (words >> word) {
        int64_t number = 0;
        if (!(words >> number)) return false;
        if (word == "-c") ping->count = number;
        if (word == "-w") ping->deadline_seconds = number;
    }
    const size_t filter = command.find(kFilter);
    if (filter != std::string::npos) {
        ping->slowest_ms = strtoll(command.c_str() + filter + sizeof kFilter - 1, nullptr, 10);
    }
    return ping->count > 0;
}

bool IsName(const std::string& host) {
    return host.find_first_not_of("0123456789.") != std::string::npos;
}

int64_t Replies(const Ping& ping, int64_t round_trip_ms) {
    if (round_trip_ms >= ping.slowest_ms) return 0;
    if (!ping.deadline_seconds) return ping.count;
    int64_t replies = 0;
    while (replies < ping.count &&
           replies * kMsPerSecond + round_trip_ms < *ping.deadline_seconds * kMsPerSecond) {
        ++replies;
    }
    return replies;
}

}  // namespace

bool AnswerPing(const std::string& command, const modem_sim::Modem& modem, ShellAnswer* answer) {
    Ping ping;
    if (!ParsePing(command, &ping)) return false;
    answer->output = "0\n";
    answer->seconds_before_line = 0;
    if (!modem.HasCall()) return true;  // no route: ping gives up at once
    if (IsName(ping.host) && !modem.RoundTripMs(kNameServer)) {
        answer->seconds_before_line = kNameWait_seconds;
        return true;
    }
    const std::optional<int64_t> round_trip_ms = modem.RoundTripMs(ping.host);
    const int64_t last_request_seconds = ping.count - 1;
    if (round_trip_ms) answer->output = std::to_string(Replies(ping, *round_trip_ms)) + "\n";
    answer->seconds_before_line = ping.deadline_seconds.value_or(
        last_request_seconds + (round_trip_ms ? *round_trip_ms / kMsPerSecond : kLinger_seconds));
    return true;
}

}  // namespace virtual_time
