// What `ravelinctl status` shows.
#include "tools/ctl/status_text.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/ctl_terminal.h"

namespace {

using board::BusState;
using board::Verdict;

constexpr time_t kWritten = 1767225910;  // Thu Jan  1 00:05:10 2026

board::StatusFile File(const std::string& name, const std::string& lines) {
    board::StatusFile file = board::ParseStatus(name, lines + "Now='Thu Jan  1 00:05:10 2026'\n");
    file.written = kWritten;
    file.modified = kWritten;
    return file;
}

ctl::Sight SightOf(const std::string& lines, long age) {
    ctl::Sight sight;
    sight.files.status = File(board::kStatusName, lines);
    sight.now = kWritten + age;
    sight.link = board::Judge(sight.files, sight.around, sight.now);
    return sight;
}

const char kOnline[] =
    "IMSI=460001112223334\nOnline=TRUE\nCarrier=\"CHINA MOBILE\"\nCSQ=20\nCGREG=0\nCEREG=1\n"
    "Uptime=01:02:05\nTempture=38\n";

TEST(StatusText, Online) {
    ctl::Sight sight = SightOf(kOnline, 3);
    sight.around.daemon = board::Presence::kThere;
    sight.process = 77;
    EXPECT_EQ(ctl::StatusText(sight, OfWidth(0)),
              "Link         online for 62 min\n"
              "Waits for    nothing\n"
              "Data         3 s old (Now='Thu Jan  1 00:05:10 2026')\n"
              "Daemon       there, process 77\n"
              "\nSignal\n"
              "RSSI         -73 dBm, good\n"
              "\nModem\n"
              "Operator     \"CHINA MOBILE\"\n"
              "Registered   LTE: registered, at home, when it dialled\n"
              "IMSI         460001112223334\n"
              "Temperature  38 degrees Celsius\n");
}

TEST(StatusText, FitsANarrowTerminal) {
    for (const int width : {20, 40, 60, 80}) {
        const std::string text = ctl::StatusText(SightOf(kOnline, 100000), OfWidth(width));
        for (size_t start = 0; start < text.size(); start = text.find('\n', start) + 1) {
            EXPECT_LE(ctl::Columns(text.substr(start, text.find('\n', start) - start)),
                      static_cast<size_t>(width))
                << text;
        }
    }
}

TEST(StatusText, WhatIsWrongIsSaid) {
    EXPECT_NE(ctl::StatusText(SightOf(kOnline, 7200), OfWidth(0))
                  .find("Link         not known: the data is too old; the file says online\n"),
              std::string::npos);
    ctl::Sight sight;
    sight.files.status = board::ParseStatus(board::kStatusName, "Online=TRUE\n");
    sight.link = board::Judge(sight.files, sight.around, kWritten);
    EXPECT_EQ(ctl::StatusText(sight, OfWidth(0)),
              "Link    not known\n"
              "Data    ravelin_status is half written: its last line isn't Now=\n"
              "Daemon  not known\n"
              "\nOdd\n"
              "!       ravelin_status is half written: its last line isn't Now=\n");
}

TEST(StatusText, TextsOfOthersAreEscaped) {
    ctl::Sight sight = SightOf(
        "Online=TRUE\nCarrier=\033]0;x\007\xC2\x9B"
        "2J\nNonsense\033[2J\n",
        3);
    sight.bus.state = BusState::kRefused;
    sight.bus.problem = "no\033[31m";
    sight.bus.items = {{"vendor", "\033[2J"}};
    for (const std::string& text : {ctl::StatusText(sight, OfWidth(0)), ctl::StatusJson(sight, false)}) {
        EXPECT_EQ(text.find('\033'), std::string::npos) << text;
        EXPECT_EQ(text.find('\007'), std::string::npos) << text;
    }
    EXPECT_NE(ctl::StatusText(sight, OfWidth(0)).find(" \\x1B]0;x\\x07\\xC2\\x9B2J\n"), std::string::npos);
}

TEST(StatusText, JsonHasAllButThePassword) {
    ctl::Sight sight = SightOf(kOnline, 3);
    sight.files.zte.name = board::k3630Name;
    sight.files.signal = File(board::kSignalName, "Password=secret\nSignalLevel=-95\n");
    sight.link = board::Judge(sight.files, sight.around, sight.now);
    const std::string json = ctl::StatusJson(sight, true);
    EXPECT_EQ(json.find("secret"), std::string::npos);
    EXPECT_EQ(
        json.find(
            "{\"verdict\":\"online\",\"exit_status\":0,\"online\":true,\"uptime_seconds\":3725,"
            "\"waits_for\":\"nothing\",\"age_seconds\":3,\"daemon\":\"unknown\",\"signal\":[{\"measure\":"
            "\"RSRP\",\"value\":-95,\"unit\":\"dBm\",\"quality\":\"fair\",\"source\":\"signal_status "
            "SignalLevel\"}"),
        0u)
        << json;
    EXPECT_NE(json.find("\"Password\":\"***\""), std::string::npos);
    EXPECT_NE(json.find("{\"name\":\"3630_status\",\"state\":\"missing\""), std::string::npos) << json;
    EXPECT_EQ(json.find('\n'), json.size() - 1);
}

TEST(StatusText, WhatIsNotKnownIsNull) {
    const std::string json = ctl::StatusJson(SightOf(kOnline, 7200), true);
    EXPECT_EQ(json.find("{\"verdict\":\"stale\",\"exit_status\":3,\"online\":null,\"uptime_seconds\":3725,"
                        "\"waits_for\":null,"),
              0u)
        << json;
}

TEST(StatusText, EachVerdictHasAStatusOfItsOwn) {
    std::vector<bool> seen(256);
    for (const ctl::ExitStatus& exit : ctl::StatusExits()) {
        EXPECT_FALSE(seen[static_cast<size_t>(exit.status)]) << exit.status;
        seen[static_cast<size_t>(exit.status)] = true;
    }
    for (int i = 0; i <= static_cast<int>(Verdict::kNoDaemon); ++i) {
        EXPECT_EQ(static_cast<int>(ctl::RowOf(static_cast<Verdict>(i)).verdict), i);
    }
}

TEST(StatusText, AChangeIsMoreThanAClockThatGoesOn) {
    const ctl::Sight sight = SightOf(kOnline, 3);
    ctl::Sight later = SightOf(kOnline, 5);
    later.files.status.lines.back().value = "'Thu Jan  1 00:05:12 2026'";
    EXPECT_EQ(ctl::Fingerprint(sight), ctl::Fingerprint(later));
    EXPECT_NE(ctl::Fingerprint(sight), ctl::Fingerprint(SightOf(kOnline, 500))) << "now it is too old";
    EXPECT_NE(ctl::Fingerprint(sight), ctl::Fingerprint(SightOf("Online=FALSE\n", 3)));
}

}  // namespace
