// The language of scenarios, records, and the judgement over them. A scenario proves something only if its
// expectations can fail, so each way to fail has a test.

#include "simulator/virtual_time/scenario.h"

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/expectations.h"
#include "simulator/virtual_time/record.h"

namespace {

using virtual_time::CheckExpectations;
using virtual_time::Expectation;
using virtual_time::MatchesPattern;
using virtual_time::ParseRecord;
using virtual_time::ParseScenario;
using virtual_time::RecordEntry;
using virtual_time::Scenario;
using virtual_time::ScenarioEvent;

// A scenario with what must be there, and these lines.
Scenario Parse(const std::string& lines) {
    Scenario scenario;
    std::string problem;
    const bool is_good = ParseScenario("x", "modem quectel_qcom EG25\nuntil 100\nsee ends <any>\n" + lines,
                                       &scenario, &problem);
    EXPECT_TRUE(is_good) << problem;
    return scenario;
}

std::string ProblemOf(const std::string& text) {
    Scenario scenario;
    std::string problem;
    return ParseScenario("x", text, &scenario, &problem) ? "" : problem;
}

// Language

TEST(ScenarioLanguage, GivenPartIsRead) {
    const Scenario scenario = Parse(
        "knob csq 12\n"
        "port /dev/ttyACM0\n"
        "port-link /dev/ttyUSB-modem\n"
        "options -d \"/dev/x y\" -Dl 7\n"
        "settings\n"
        "    ENABLE=true\n"
        "      INDENTED=1\n"
        "    APN=<3*ab>\n"
        "cpuinfo Hardware : MX6\n"
        "folder /media/x\n"
        "shell \"ping  8.8.8.8\" prints \"3\\n\" takes 2\n"
        "shell ping pings\n"
        "bus fails\n"
        "supervise 2.5\n");
    EXPECT_EQ("quectel_qcom", scenario.modem_family);
    EXPECT_EQ("EG25", scenario.modem_model);
    EXPECT_EQ((std::vector<std::string>{"csq 12"}), scenario.knobs);
    EXPECT_EQ("/dev/ttyUSB-modem", scenario.port_link);
    EXPECT_EQ("/dev/ttyACM0", scenario.port);
    EXPECT_EQ((std::vector<std::string>{"-d", "/dev/x y", "-Dl", "7"}), scenario.options);
    ASSERT_GE(scenario.files.size(), 3u);  // settings, cpuinfo, version
    EXPECT_EQ("/run/network/ifcfg-lte", scenario.files[0].path);
    EXPECT_EQ("ENABLE=true\n  INDENTED=1\nAPN=ababab\n", scenario.files[0].text);
    EXPECT_EQ("Hardware : MX6\n", scenario.files[1].text);
    EXPECT_EQ((std::vector<std::string>{"/media/x"}), scenario.folders);
    ASSERT_EQ(2u, scenario.shell.size());
    EXPECT_EQ("ping  8.8.8.8", scenario.shell[0].part);
    EXPECT_EQ("3\n", scenario.shell[0].prints);
    EXPECT_EQ(2, scenario.shell[0].takes_seconds);
    EXPECT_FALSE(scenario.shell[0].pings);
    EXPECT_TRUE(scenario.shell[1].pings);
    EXPECT_TRUE(scenario.bus_fails);
    EXPECT_EQ(2500000, scenario.restart_after_us);
    EXPECT_EQ(100000000, scenario.until_us);
}

TEST(ScenarioLanguage, SettingsCanBeMissingOrEmptyOrTheDefault) {
    const auto settings_of = [](const Scenario& scenario) {
        for (const auto& file : scenario.files) {
            if (file.path == virtual_time::kSettingsFile) return "has " + file.text;
        }
        return std::string("none");
    };
    EXPECT_EQ("none", settings_of(Parse("settings none\n")));
    EXPECT_EQ("has ", settings_of(Parse("settings empty\n")));
    EXPECT_EQ("has ENABLE=true\n", settings_of(Parse("")));
}

TEST(ScenarioLanguage, EventsAreRead) {
    const Scenario scenario = Parse(
        "at 120 link down\n"
        "at 3.5 fifo SoftReset:1\n"
        "at 4 fifo \"a\\0b\"\n"
        "at 5 settings\n"
        "    ENABLE=false\n"
        "at 6 remove /run/network/x\n"
        "at 7 call FF 6A\n"
        "every 10 from 20 to 40 csq 5\n"
        "at 8 shell tool fails\n"
        "at 9 resources\n"
        "at 9 kill hup\n"
        "at 9 clock -1.5\n"
        "at 9 readonly /run/network\n"
        "at 10 bus away\n"
        "at 11 bus back\n"
        "at 12 pipe /run/network/x\n");
    using Kind = ScenarioEvent::Kind;
    ASSERT_EQ(17u, scenario.events.size());
    EXPECT_EQ(Kind::kKnob, scenario.events[0].kind);
    EXPECT_EQ("link down", scenario.events[0].subject);
    EXPECT_EQ(120000000, scenario.events[0].at_us);
    EXPECT_EQ("SoftReset:1\n", scenario.events[1].text);
    EXPECT_EQ(3500000, scenario.events[1].at_us);
    EXPECT_EQ(std::string("a\0b", 3), scenario.events[2].text);  // in quotes: exactly these bytes
    EXPECT_EQ("ENABLE=false\n", scenario.events[3].text);
    EXPECT_EQ("\xFF\x6A", scenario.events[5].text);
    EXPECT_EQ(20000000, scenario.events[6].at_us);
    EXPECT_EQ(40000000, scenario.events[8].at_us);
    EXPECT_TRUE(scenario.events[9].shell.fails);
    EXPECT_EQ(Kind::kResources, scenario.events[10].kind);
    EXPECT_EQ(Kind::kKill, scenario.events[11].kind);
    EXPECT_EQ(SIGHUP, scenario.events[11].signal);
    EXPECT_EQ(Kind::kClock, scenario.events[12].kind);
    EXPECT_EQ(-1500000, scenario.events[12].by_us);
    EXPECT_EQ(Kind::kStorage, scenario.events[13].kind);
    EXPECT_EQ("/run/network", scenario.events[13].subject);
    EXPECT_EQ(virtual_time::Storage::State::kReadOnly, scenario.events[13].storage);
    EXPECT_EQ(Kind::kBusAway, scenario.events[14].kind);
    EXPECT_EQ(Kind::kBusBack, scenario.events[15].kind);
    EXPECT_EQ(Kind::kPipe, scenario.events[16].kind);
    EXPECT_EQ("/run/network/x", scenario.events[16].subject);
}

TEST(ScenarioLanguage, ExpectationsAreRead) {
    const Scenario scenario = Parse(
        "see 60..70 logs Task Check connection. offline 1/10 times\n"
        "also runs \" /ubi/x kill_dhcp\"\n"
        "never ..50 sends AT+<any>\n"
        "count 3 5.. sends \"AT\\r\\n\"\n"
        "see 9 shows /run/network/ravelin_status Online=TRUE\n");
    ASSERT_EQ(6u, scenario.expectations.size());
    const Expectation& log = scenario.expectations[1];
    EXPECT_EQ(60000000, log.from_us);
    EXPECT_EQ(70000000, log.to_us);
    EXPECT_EQ("Task", log.place);
    EXPECT_EQ("Check connection. offline 1/10 times", log.text);
    EXPECT_EQ(" /ubi/x kill_dhcp", scenario.expectations[2].text);
    EXPECT_EQ(0, scenario.expectations[3].from_us);
    EXPECT_EQ(50000000, scenario.expectations[3].to_us);
    EXPECT_EQ(3, scenario.expectations[4].count);
    EXPECT_EQ("AT\\r\\n", scenario.expectations[4].text);  // as the record shows it
    ASSERT_EQ(1u, scenario.events.size());                 // the file is looked at by itself
    EXPECT_EQ(ScenarioEvent::Kind::kShow, scenario.events[0].kind);
    EXPECT_EQ(9000000, scenario.events[0].at_us);
}

TEST(ScenarioLanguage, TimesCountFromWhatTheySay) {
    using virtual_time::TimeBase;
    const Scenario scenario = Parse(
        "mark online publishes /run/x Online=TRUE\n"
        "mark asked logs network_daemon/main.cpp:main hello <any>\n"
        "at online+5.5 link down\n"
        "every 10 from asked+20 to asked+30 csq 5\n"
        "see +4.073 sends AT\n"
        "see +1..2 sends AT\n"
        "never asked+..3 sends AT\n"
        "see online+7 shows /run/x a\n"
        "see online+7 shows /run/x b\n"
        "see +7 shows /run/x c\n");
    ASSERT_EQ(2u, scenario.marks.size());
    EXPECT_EQ("online", scenario.marks[0].name);
    EXPECT_EQ("/run/x Online=TRUE", scenario.marks[0].text);
    EXPECT_EQ("network_daemon/main.cpp:main", scenario.marks[1].place);
    EXPECT_EQ("hello <any>", scenario.marks[1].text);
    ASSERT_EQ(4u, scenario.events.size());  // the knobs, and one look at the file for two lines of it
    EXPECT_EQ(0, scenario.events[0].mark);
    EXPECT_EQ(5500000, scenario.events[0].at_us);
    EXPECT_EQ(1, scenario.events[2].mark);
    EXPECT_EQ(30000000, scenario.events[2].at_us);
    EXPECT_EQ(ScenarioEvent::Kind::kShow, scenario.events[3].kind);
    EXPECT_EQ(0, scenario.events[3].mark);
    const Expectation& exact = scenario.expectations[1];
    EXPECT_EQ(TimeBase::kLastSeen, exact.base);
    EXPECT_EQ(4073000, exact.from_us);
    EXPECT_EQ(4073000, exact.to_us);
    EXPECT_EQ(2000000, scenario.expectations[2].to_us);
    const Expectation& marked = scenario.expectations[3];
    EXPECT_EQ(TimeBase::kMark, marked.base);
    EXPECT_EQ(1, marked.mark);
    EXPECT_EQ(0, marked.from_us);
    EXPECT_EQ(3000000, marked.to_us);
    EXPECT_EQ(TimeBase::kStart, scenario.expectations[0].base);
}

TEST(ScenarioLanguage, MistakesAreToldWithTheirLine) {
    struct Mistake {
        const char* text;
        const char* problem;
    };
    const Mistake mistakes[] = {
        {"modem none\nuntil 5\n", "nothing is expected"},
        {"modem none\nsee ends <any>\n", "\"until SECONDS\" is missing"},
        {"until 5\nsee ends <any>\n", "\"modem FAMILY"},
        {"modem none\nfrobnicate\n", "x:2: unknown word \"frobnicate\""},
        {"modem none\nat x link down\n", "x:2: seconds are wanted"},
        {"modem none\nat 5 link down\n", "there is no modem with a knob \"link\""},
        {"modem none\nat 5\n", "what happens is missing"},
        {"modem none\nat +5 link down\n", "seconds are wanted"},
        {"modem none\nat soon+5 link down\n", "no mark \"soon\" above this line"},
        {"modem none\nsee soon+5 sends AT\n", "no mark \"soon\" above this line"},
        {"modem none\nsee + sends AT\n", "not \"+\""},
        {"modem none\nmark\n", "a name of small letters"},
        {"modem none\nmark 5 sends AT\n", "a name of small letters"},
        {"modem none\nmark a AT\n", "no kind of entry: \"AT\""},
        {"modem none\nmark a sends AT\nmark a sends ATZ\n", "x:3: there is a mark \"a\" already"},
        {"modem quectel_qcom\nmark a sends AT\nevery 1 from a+1 to 9 csq 5\n",
         "every SECONDS from TIME to TIME"},
        {"modem none\nsee 5 mumbles x\n", "no kind of entry: \"mumbles\""},
        {"modem none\nsee soon logs x y\n", "not \"soon\""},
        {"modem none\nsee logs Task\n", "the function and the text"},
        {"modem none\ncount sends AT\n", "a number is wanted"},
        {"modem none\nat 5 call FF6\n", "bytes in hexadecimal"},
        {"modem none\nat 5 resources all\n", "nothing is wanted after"},
        {"modem none\nat 5 kill 9\n", "term, kill, int or hup is wanted"},
        {"modem none\nat 5 full\n", "a path is wanted"},
        {"modem none\nat 5 bus gone\n", "away or back is wanted"},
        {"modem none\nport-link\n", "a path is wanted"},
        {"modem none\nat 5 writable all\n", "a path is wanted"},
        {"modem none\nat 5 clock 3600\n", "+SECONDS or -SECONDS is wanted"},
        {"modem none\nat 5 clock -\n", "+SECONDS or -SECONDS is wanted"},
        {"modem none\nsupervise 0\n", "seconds until the next start are wanted"},
        {"modem none\nsupervise\n", "seconds until the next start are wanted"},
        {"modem none\nsettings\nuntil 5\n", "the settings are missing"},
        {"modem none\nshell ping mumbles\n", "not \"mumbles\""},
        {"    APN=x\nmodem none\n", "x:1: an indented line with nothing above it"},
        {"modem none\nuntil 1e300\n", "x:2: seconds are wanted"},
        {"modem none\nuntil 10000000000.1\n", "x:2: seconds are wanted"},
        {"modem none\nsee 1..9e18 sends AT\n", "not \"1..9e18\""},
        {"modem none\nshell ping takes 10000000001\n", "x:2: whole seconds are wanted"},
        {"modem none\nshell ping slowly 99999999999999999999\n", "x:2: whole seconds for each line"},
        {"modem none\ncount 2147483648 sends AT\n", "x:2: a number is wanted"},
        {"modem none\noptions <9999999999*x>\n", "x:2: the texts are too long"},
        {"modem none\nfile /a\n  <9000000*x>\nfile /b\n  <9000000*x>\n", "x:4: the texts are too long"},
        {"modem zte\nevery 0.001 from 0 to 100 csq 5\n", "x:2: these are too many events"},
        {"modem zte\nat 1 fifo \"<9000000*x>\"\nat 2 fifo \"<9000000*x>\"\n", "x:3: the texts are too long"},
        {"modem zte\nevery 1 from 1 to 99 fifo \"<200000*x>\"\n", "x:2: the texts are too long"},
    };
    for (const Mistake& mistake : mistakes) {
        const std::string problem = ProblemOf(mistake.text);
        EXPECT_NE(std::string::npos, problem.find(mistake.problem)) << mistake.text << "gave: " << problem;
    }
}

TEST(ScenarioLanguage, EndsOfTheRangesAreTaken) {
    Scenario scenario;
    std::string problem;
    const std::string text =
        "modem zte\nuntil 10000000000\noptions <4000000*x><0*y><99999999999*>\n"
        "shell ping takes 10000000000 slowly 0\nevery 1 from 1 to 99999 csq 5\nat 0 csq 5\n"
        "count 2147483647 sends AT\n";
    EXPECT_TRUE(ParseScenario("x", text, &scenario, &problem)) << problem;
    EXPECT_EQ(10'000'000'000'000'000, scenario.until_us);
    EXPECT_EQ(std::string(4000000, 'x'), scenario.options.at(0));
    EXPECT_EQ(10'000'000'000, scenario.shell.at(0).takes_seconds);
    EXPECT_EQ(100000u, scenario.events.size());
    EXPECT_EQ(INT32_MAX, scenario.expectations.at(0).count);
}

// Record

TEST(Record, EntriesComeBackAsTheyWere) {
    const std::vector<RecordEntry> entries = {
        {0, "sends", "AT"},
        {62005000, "hears", "\\r\\nOK\\r\\n"},
        {123456789000000, "publishes", "/run/x y"},
        {5000, "prints", ""},
        {5000, "prints", "  blanks in front"},
    };
    std::string text;
    for (const RecordEntry& entry : entries) text += virtual_time::FormatEntry(entry);
    const std::vector<RecordEntry> again = ParseRecord(text);
    ASSERT_EQ(entries.size(), again.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].at_us, again[i].at_us);
        EXPECT_EQ(entries[i].kind, again[i].kind);
        EXPECT_EQ(entries[i].text, again[i].text);
    }
}

TEST(Record, PatternsMatchWholeTexts) {
    EXPECT_TRUE(MatchesPattern("AT+CSQ", "AT+CSQ"));
    EXPECT_FALSE(MatchesPattern("AT+CSQ", "AT+CSQ?"));
    EXPECT_FALSE(MatchesPattern("AT+CSQ", "xAT+CSQ"));
    EXPECT_TRUE(MatchesPattern("AT<any>", "AT"));
    EXPECT_TRUE(MatchesPattern("<any>b<any>d", "abcd"));
    EXPECT_FALSE(MatchesPattern("<any>b<any>d", "abcde"));
    EXPECT_TRUE(MatchesPattern("<any>", ""));
}

// Judgement

const char kRecord[] =
    "       1.000  sends      AT\n"
    "       2.000  logs       network_daemon/cellular_task.cpp:Task:99 No response! Reset device...\n"
    "       2.000  debugs     network_daemon/main.cpp:main:9 detail\n"
    "       3.000  sends      AT+CSQ\n"
    "       4.000  sends      AT\n"
    "     100.000  ends       still running\n";

std::vector<std::string> Judge(const std::string& expectations, const std::string& record = kRecord) {
    Scenario scenario;
    std::string problem;
    EXPECT_TRUE(ParseScenario("x", "modem none\nuntil 100\n" + expectations, &scenario, &problem)) << problem;
    return CheckExpectations(scenario, ParseRecord(record));
}

TEST(Judgement, WhatIsThereIsFound) {
    const auto problems = Judge(
        "see 1 sends AT\n"
        "see 2 logs Task No response! Reset device...\n"
        "see 1..3 sends AT+CSQ\n"
        "see 4 sends AT\n"
        "also 1 sends AT\n"
        "also 2 logs network_daemon/cellular_task.cpp:Task No response! <any>\n"
        "also debugs main detail\n"
        "never sends ATZ\n"
        "count 2 sends AT\n"
        "count 1 2.. sends AT\n"
        "see ends still running\n");
    EXPECT_TRUE(problems.empty()) << problems[0];
}

TEST(Judgement, EachWayToBeUnmetIsFound) {
    for (const char* expectation : {
             "see sends ATZ",                                                         // no such text
             "see 1.001 sends AT",                                                    // another time
             "see 1.1..3.9 sends AT",                                                 // another range
             "see 2 debugs Task No response! Reset device...",                        // another level
             "see 2 logs main No response! Reset device...",                          // another function
             "see 2 logs network_daemon/main.cpp:Task No response! Reset device...",  // another file
             "see 2 logs Task No response!",                                          // a part only
             "also sends ATZ",
             "never sends AT",
             "never 4 sends AT",
             "count 1 sends AT",
             "count 3 sends AT",
             "count 1 sends ATZ",
         }) {
        EXPECT_EQ(1u, Judge(std::string(expectation) + "\nalso ends still running\n").size()) << expectation;
    }
}

TEST(Judgement, SeeKeepsTheOrderAndUsesEachEntryOnce) {
    EXPECT_EQ(1u, Judge("see sends AT+CSQ\nsee 1 sends AT\n").size());
    EXPECT_EQ(0u, Judge("see sends AT\nsee sends AT\n").size());
    EXPECT_EQ(1u, Judge("see sends AT\nsee sends AT\nsee sends AT\n").size());
}

TEST(Judgement, RelativeTimesCountFromWhatWasSeenLast) {
    const auto problems = Judge(
        "see +1 sends AT\n"  // nothing was seen yet: from the start
        "see +1 logs Task No response! Reset device...\n"
        "see +0 debugs main detail\n"
        "see +0.5..1.5 sends AT+CSQ\n"
        "never +0..0.999 sends AT\n"
        "count 1 +1.. sends AT\n"
        "see +1 sends AT\n");
    EXPECT_TRUE(problems.empty()) << problems[0];
    for (const char* expectation :
         {"see +0.999 sends AT+CSQ", "see +3 sends AT+CSQ", "see +0..1.5 sends AT+CSQ",
          "never +2 sends AT+CSQ", "count 1 +..1 sends AT+CSQ"}) {
        EXPECT_EQ(1u, Judge("see sends AT\n" + std::string(expectation) + "\n").size()) << expectation;
    }
}

TEST(Judgement, AMissGoesOnWhereTheTextStood) {
    const auto problems = Judge(
        "see +1 sends AT\n"
        "see +1.5 sends AT+CSQ\n"  // it stood 2 s after
        "see +1 sends AT\n");
    ASSERT_EQ(1u, problems.size());
    EXPECT_NE(std::string::npos, problems[0].find("x:4: expected\n    see +1.5 sends AT+CSQ"));
    // Of several such entries the nearest; and where there is none, nothing moves.
    EXPECT_EQ(1u, Judge("see +3.9 sends AT\nsee +96 ends still running\n").size());
    EXPECT_EQ(1u, Judge("see +1 sends AT\nsee +1 sends ATZ\nsee +3 sends AT\n").size());
}

TEST(Judgement, TimesCanCountFromAMark) {
    const std::string marks =
        "mark asked sends AT+CSQ\n"
        "mark reset logs Task No response! <any>\n";
    const auto problems = Judge(marks +
                                "see asked+0 sends AT+CSQ\n"
                                "see asked+1 sends AT\n"
                                "also reset+0 logs Task <any>\n"
                                "count 2 reset+1..2 sends <any>\n"
                                "never reset+2.001.. sends <any>\n");
    EXPECT_TRUE(problems.empty()) << problems[0];
    EXPECT_EQ(1u, Judge(marks + "see asked+1.001 sends AT\n").size());
    const auto lost = Judge("mark lost sends ATZ\nalso lost+1 sends AT\nnever lost+0.. sends AT\n");
    ASSERT_EQ(2u, lost.size());  // the mark itself, and what counts from it
    EXPECT_NE(std::string::npos, lost[0].find("x:3: the mark \"lost\" was never reached"));
}

TEST(Judgement, TheNearestIsShown) {
    const auto late = Judge("see 3.5 sends AT\n");
    ASSERT_EQ(1u, late.size());
    EXPECT_NE(std::string::npos, late[0].find("x:3: expected\n    see 3.5 sends AT"));
    EXPECT_LT(late[0].find("4.000  sends      AT\n"), late[0].find("1.000  sends      AT\n"));
    const auto similar = Judge("see logs Task No response!\n");
    ASSERT_EQ(1u, similar.size());
    EXPECT_NE(std::string::npos, similar[0].find("No response! Reset device..."));
    EXPECT_NE(std::string::npos, Judge("see runs reboot\n")[0].find("Nothing at all of that kind"));
}

TEST(Judgement, AnEndThatNobodyExpectsFails) {
    const std::string crash = "       1.000  sends      AT\n       2.000  ends       signal 11\n";
    EXPECT_EQ(1u, Judge("see sends AT\n", crash).size());
    EXPECT_EQ(0u, Judge("see sends AT\nsee ends signal 11\n", crash).size());
    EXPECT_EQ(1u, Judge("see sends AT\nsee ends exit 0\n", crash).size());
    EXPECT_EQ(1u, Judge("see sends AT\n", "       1.000  sends      AT\n").size());  // no end at all
}

TEST(Judgement, ACrashThatASupervisorMendsIsFound) {
    const auto judge_end = [](const std::string& before, const std::string& end,
                              const std::string& expectations) {
        return Judge("supervise 5\nsee ends still running\n" + expectations,
                     before + "       2.000  ends       " + end +
                         "\n       7.000  world      starts again\n     100.000  ends       still running\n");
    };
    const std::string killed = "       2.000  world      kill term\n";
    EXPECT_EQ(0u, judge_end("", "exit 255", "").size());
    EXPECT_EQ(0u, judge_end(killed, "signal 15", "").size());
    EXPECT_EQ(1u, judge_end("", "signal 11", "").size());
    EXPECT_EQ(1u, judge_end("", "died with status 1", "").size());
    EXPECT_EQ(0u, judge_end("", "signal 11", "also ends signal 11\n").size());
    EXPECT_EQ(1u, judge_end("", "signal 11", "never 50.. ends signal 11\n").size());
}

TEST(Judgement, AScenarioThatIsBrokenFails) {
    const std::string broken =
        "       1.000  broken     modem: no knob \"x\"\n     100.000  ends       still running\n";
    EXPECT_EQ(1u, Judge("see ends still running\n", broken).size());
}

TEST(RecordKinds, HelpOfTheToolExplainsEachAndNoOther) {
    std::ifstream help(RAVELIN_SOURCE_DIR "/simulator/virtual_time/scenario_run.help");
    std::vector<std::string> words;
    bool among_kinds = false;
    for (std::string line; std::getline(help, line);) {
        if (line.compare(0, 1, " ") != 0) among_kinds = line.compare(0, 10, "What a rec") == 0;
        const size_t margin = line.find_first_not_of(' ');
        if (among_kinds && margin == 2) words.push_back(line.substr(margin, line.find(' ', margin) - margin));
    }
    EXPECT_EQ(words, virtual_time::RecordKinds());
}

}  // namespace
