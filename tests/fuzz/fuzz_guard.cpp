// Any bytes as what ravelin-guard reads: its settings, its budget, what it shows, tables of interfaces and
// routes, and answers to its probes. The first byte says which; what was taken is written and read again.
#include <algorithm>
#include <string>
#include <string_view>

#include "tests/fuzz/fuzz_check.h"
#include "tools/guard/files.h"
#include "tools/guard/ledger.h"
#include "tools/guard/packet.h"
#include "tools/guard/settings.h"
#include "tools/guard/shown.h"

namespace {

constexpr int64_t kNow = 1'000'000;
constexpr char kBoot[] = "8a0b3c1e-boot";

void CheckSettings(const std::string& text) {
    const guard::Settings settings = guard::ParseSettings(text);
    for (const std::string& problem : settings.problems) {
        FUZZ_CHECK(std::none_of(problem.begin(), problem.end(),
                                [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }));
    }
    FUZZ_CHECK(settings.probes.size() <= guard::kMostProbes);
    FUZZ_CHECK(settings.rules.hard_per_hour >= 0 && settings.rules.hard_per_hour <= guard::kMostPerHour);
    FUZZ_CHECK(settings.rules.hard_per_day >= 0 && settings.rules.hard_per_day <= guard::kMostPerDay);
    FUZZ_CHECK(settings.rules.pause_limit_seconds >= settings.rules.pause_seconds);
    FUZZ_CHECK(settings.rules.failed_seconds >= 120 && settings.rules.interval_seconds >= 60);
    FUZZ_CHECK(settings.CanAct() == settings.WhyNot().empty());
    if (settings.CanAct()) FUZZ_CHECK(settings.problems.empty() && settings.probes.size() >= 2);
    FUZZ_CHECK(settings.interface.find('/') == std::string::npos);
    for (const guard::Probe& probe : settings.probes) {
        if (probe.kind == guard::ProbeKind::kDns) FUZZ_CHECK(guard::IsDnsName(probe.name));
    }
    FUZZ_CHECK(guard::ParseSettings(text).ProbesNumber() == settings.ProbesNumber());
}

/// Whatever is read again stays the same, and no reset is ever forgotten sooner by it.
void CheckLedger(const std::string& text) {
    const auto ledger = guard::ParseLedger(text, kBoot, kNow);
    if (!ledger) return;
    FUZZ_CHECK(ledger->hard.size() <= guard::kMostPerDay);
    FUZZ_CHECK(std::is_sorted(ledger->hard.begin(), ledger->hard.end()));
    for (const int64_t moment : ledger->hard) {
        FUZZ_CHECK(moment <= kNow && moment > kNow - guard::kDay_seconds);
    }
    const std::string again = guard::PrintLedger(*ledger, kBoot, kNow);
    const auto read = guard::ParseLedger(again, kBoot, kNow);
    FUZZ_CHECK(read && guard::PrintLedger(*read, kBoot, kNow) == again);
    const auto other_boot = guard::ParseLedger(again, "another", kNow);
    FUZZ_CHECK(other_boot && other_boot->hard.size() == ledger->hard.size());
    for (size_t length = 0; length < again.size(); length += 7) {
        FUZZ_CHECK(!guard::ParseLedger(again.substr(0, length), kBoot, kNow));
    }
}

void CheckShown(const std::string& text) {
    const auto shown = guard::ParseShown(text);
    if (!shown) return;
    const std::string again = guard::PrintShown(*shown);
    const auto read = guard::ParseShown(again);
    FUZZ_CHECK(read && guard::PrintShown(*read) == again);
}

/// A line more takes no route away, and one without its interface is none.
void CheckRoutes(const std::string& text) {
    constexpr uint32_t kHost = 0x08080808;
    if (guard::ParseRoute(text, "wwan0", kHost)) {
        FUZZ_CHECK(text.find("wwan0") != std::string::npos);
        FUZZ_CHECK(guard::ParseRoute(text + "\n" + text, "wwan0", kHost));
        FUZZ_CHECK(guard::ParseRoute("wwan0 x\n" + text, "wwan0", kHost));
    }
    guard::ParseRoute(text, text.substr(0, 15), kHost);
}

/// An answer is one only to its own question.
void CheckPackets(const std::string& bytes) {
    const std::string question = guard::DnsQuestion(0x1234, "a.example");
    const std::string other = guard::DnsQuestion(0x1235, "a.example");
    for (const uint32_t expected : {0U, 0x01020304U}) {
        const guard::ProbeVerdict verdict = guard::JudgeDns(bytes, question, expected);
        FUZZ_CHECK(verdict == guard::ProbeVerdict::kSilent || verdict == guard::ProbeVerdict::kCaptive ||
                   verdict == guard::ProbeVerdict::kAnswered);
        if (verdict != guard::ProbeVerdict::kSilent) {
            FUZZ_CHECK(bytes.size() >= question.size());
            FUZZ_CHECK(guard::JudgeDns(bytes, other, expected) == guard::ProbeVerdict::kSilent);
        }
        // The answer after the true question, so that its records are reached.
        std::string answer = question + bytes;
        answer[2] = '\x81';
        answer[7] = '\x04';
        FUZZ_CHECK(guard::JudgeDns(answer, question, expected) != guard::ProbeVerdict::kSilent);
    }
    const bool is_reply = guard::IsEchoReply(bytes, false, 7, 9);
    if (is_reply) FUZZ_CHECK(bytes.size() >= 8 && !guard::IsEchoReply(bytes, false, 7, 10));
    guard::IsEchoReply(bytes, true, 7, 9);
    guard::IsEchoReply('\x45' + std::string(19, '\0') + bytes, true, 7, 9);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    switch (bytes[0]) {
        case 'S':
            CheckSettings(text);
            break;
        case 'L':
            CheckLedger(text);
            break;
        case 'W':
            CheckShown(text);
            break;
        case 'P':
            CheckPackets(text);
            break;
        case 'N':
            guard::ParseReceivedBytes(text, "wwan0");
            guard::ParseReceivedBytes(text, text.substr(0, 15));
            break;
        case 'R':
            CheckRoutes(text);
            break;
        default:
            break;
    }
    return 0;
}
