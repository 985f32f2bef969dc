// Whole logs: order, days and years, restarts, what is no message, what is told twice, and how much memory it
// takes.
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/text/text.h"
#include "tools/log/reader.h"

namespace ravelin_log {
namespace {

#define IN_TASK " network_daemon/cellular_task.cpp:Task:123:"
#define IN_MAIN " network_daemon/main.cpp:main:80:"
#define BUILD "THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 2026"

class ReaderTest : public testing::Test {
  protected:
    ReaderTest() { EXPECT_NE(mkdtemp(folder_), nullptr); }
    ~ReaderTest() override {
        for (const std::string& path : paths_) unlink(path.c_str());
        rmdir(folder_);
    }

    std::string Write(const std::string& name, const std::string& text) {
        const std::string path = std::string(folder_) + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        paths_.push_back(path);
        return path;
    }

    static void Touch(const std::string& path, time_t seconds) {
        const timeval times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimes(path.c_str(), times), 0);
    }

    /// Kind, time, restart and message of each line: "said 3000 x", "said* 3000 x" for the first line of a
    /// run.
    std::vector<std::string> Told(const std::vector<std::string>& names, const ReaderOptions& options = {}) {
        Reader reader;
        std::string problem;
        EXPECT_TRUE(reader.Open(names, options, &problem)) << problem;
        std::vector<std::string> told;
        Line line;
        while (reader.Next(&line)) {
            const char* kind = line.kind == Line::Kind::kSaid   ? "said"
                               : line.kind == Line::Kind::kText ? "text"
                                                                : "other";
            told.push_back(std::string(kind) + (line.begins_run ? "* " : " ") +
                           reader.TimeText(line.time_ms) + " " + simulator_text::Escape(line.message));
        }
        complaints_ = reader.complaints();
        return told;
    }

    /// The first word of each of its lines.
    std::string KindsOf(const std::string& name) {
        std::string kinds;
        for (const std::string& line : Told({name})) kinds += line.substr(0, line.find_first_of("* ")) + " ";
        return kinds;
    }

    using Lines = std::vector<std::string>;
    char folder_[32] = "/tmp/log_reader_test.XXXXXX";
    std::vector<std::string> paths_;
    std::vector<std::string> complaints_;
};

TEST_F(ReaderTest, TellsMessagesFromTheModemsWords) {
    const std::string log = Write("log",
                                  "Trace level 7\n"
                                  "03:12:07.1" IN_TASK
                                  "Auto  hint:\r\n"
                                  "+CMT: \"+4912345\"\r\n"
                                  "No response! Reset device...\r\n"
                                  "03:12:08.20" IN_TASK "No response! Reset device...\r\n");
    EXPECT_EQ(Told({log}),
              (Lines{"text day 1, 00:00:00.000 Trace level 7",
                     "said day 1, 03:12:07.001 Auto  hint:", "text day 1, 03:12:07.001 +CMT: \"+4912345\"",
                     "text day 1, 03:12:07.001 No response! Reset device...",
                     "said day 1, 03:12:08.020 No response! Reset device..."}));
}

TEST_F(ReaderTest, BelievesNoHeaderWithinALocalLog) {
    const std::string log =
        Write("log", "03:12:07.1" IN_TASK
                     "Auto  hint:\n"
                     "Nov 22 03:12:07 board ravelin-mobile[1]: No response! Reset device...\n"
                     "03:12:08.20" IN_TASK "x\n");
    EXPECT_EQ(Told({log}), (Lines{"said day 1, 03:12:07.001 Auto  hint:",
                                  "text day 1, 03:12:07.001 "
                                  "Nov 22 03:12:07 board ravelin-mobile[1]: No response! Reset device...",
                                  "said day 1, 03:12:08.020 x"}));
}

TEST_F(ReaderTest, BelievesNoOtherProgramThatQuotesTheDaemon) {
    const std::string log =
        Write("log",
              "Nov 22 03:12:07 board ravelin-mobile[1]: a\n"
              "Nov 22 03:12:08 board ocpp[2]: 03:12:07.1" IN_TASK
              "Connect error! Reset device...\n"
              "Nov 22 03:12:08 board sshd[3]: Invalid user ravelin-mobile[1]: Soft reset!\n"
              "Nov 22 03:12:09 board ocpp[2]: " BUILD
              "\n"
              "Nov 22 03:12:09 board ocpp[2]: Soft reset!\n"
              "Nov 22 03:12:10 board ravelin-mobile[1]: b\n");
    EXPECT_EQ(KindsOf(log), "said other other other other said ");
    const std::string journal = Write("journal",
                                      "_TRANSPORT=stdout\nSYSLOG_IDENTIFIER=ravelin-mobile\n_PID=1\n"
                                      "MESSAGE=03:12:07.1" IN_TASK
                                      "a\n\n"
                                      "_TRANSPORT=stdout\nSYSLOG_IDENTIFIER=ocpp\n_PID=2\n"
                                      "MESSAGE=03:12:08.1" IN_TASK "Connect error! Reset device...\n\n");
    EXPECT_EQ(KindsOf(journal), "said other ");
}

TEST_F(ReaderTest, KnowsADaemonByAnotherNameByWhatItSays) {
    const std::string log = Write("log", "Nov 22 03:12:07 board lte[1]: 03:12:07.1" IN_TASK
                                         "a\n"
                                         "Nov 22 03:12:08 board ocpp[2]: 03:12:07.1" IN_TASK
                                         "Connect error! Reset device...\n"
                                         "Nov 22 03:12:09 board lte[1]: the modem's words\n");
    EXPECT_EQ(KindsOf(log), "said other text ");
}

TEST_F(ReaderTest, CountsDaysOfALocalLog) {
    const std::string log = Write("log", "23:59:59.1" IN_TASK
                                         "a\n"
                                         "00:00:01.1" IN_TASK
                                         "b\n"
                                         "00:00:00.999" IN_TASK
                                         "c\n"
                                         "12:00:00.0" IN_TASK
                                         "d\n"
                                         "11:30:00.0" IN_TASK
                                         "e\n"
                                         "09:00:00.0" IN_TASK "f\n");
    EXPECT_EQ(Told({log}), (Lines{"said day 1, 23:59:59.001 a", "said day 2, 00:00:01.001 b",
                                  "said day 2, 00:00:00.999 c", "said day 2, 12:00:00.000 d",
                                  "said day 2, 11:30:00.000 e", "said day 3, 09:00:00.000 f"}));
    ReaderOptions options;
    options.date = "2026-12-31";
    EXPECT_EQ(Told({log}, options)[1], "said 2027-01-01T00:00:01.001 b");
}

TEST_F(ReaderTest, MeasuresTimeAcrossAClockThatIsSet) {
    const std::string log = Write("log",
                                  "Jan  1 00:00:10 b ravelin-mobile[1]: a\n"
                                  "Jan  1 00:00:20 b ravelin-mobile[1]: b\n"
                                  "Nov 22 03:00:00 b ravelin-mobile[1]: c\n"
                                  "Nov 22 03:00:05 b ravelin-mobile[1]: d\n"
                                  "Nov 22 02:59:00 b ravelin-mobile[1]: e\n"
                                  "Nov 22 02:59:30 b ravelin-mobile[1]: f\n");
    Reader reader;
    std::string problem;
    ASSERT_TRUE(reader.Open({log}, {}, &problem));
    Line line;
    std::vector<int64_t> elapsed;
    std::vector<bool> jumped;
    while (reader.Next(&line)) {
        elapsed.push_back(line.elapsed_ms);
        jumped.push_back(line.jumped);
    }
    EXPECT_EQ(elapsed, (std::vector<int64_t>{0, 10000, 10000, 15000, 15000, 45000}));
    EXPECT_EQ(jumped, (std::vector<bool>{false, false, true, false, true, false}));
}

TEST_F(ReaderTest, FindsTheYearOfSyslog) {
    const std::string log = Write("log",
                                  "Dec 31 23:59:59 b ravelin-mobile[1]: a\n"
                                  "Jan  1 00:00:01 b ravelin-mobile[1]: b\n");
    Touch(log, DaysTo(2026, 1, 1) * 86400 + 10);
    EXPECT_EQ(Told({log}), (Lines{"said 2025-12-31T23:59:59.000 a", "said 2026-01-01T00:00:01.000 b"}));
    ReaderOptions options;
    options.date = "2020-12-31";
    EXPECT_EQ(Told({log}, options)[0], "said 2020-12-31T23:59:59.000 a");
}

TEST_F(ReaderTest, TakesTheDayOfTheFileWhenItsTimeIsThatOfTheLastLine) {
    const std::string log = Write("log", "23:00:00.0" IN_TASK "a\n01:00:00.0" IN_TASK "b\n");
    setenv("TZ", "UTC", 1);
    tzset();
    ReaderOptions options;
    options.date = "file";
    Touch(log, DaysTo(2026, 11, 22) * 86400 + 3601);
    EXPECT_EQ(Told({log}, options)[0], "said 2026-11-21T23:00:00.000 a");
    Touch(log, DaysTo(2026, 11, 22) * 86400 + 7201);
    EXPECT_EQ(Told({log}, options)[0], "said day 1, 23:00:00.000 a");
    EXPECT_EQ(complaints_.size(), 1U);
}

TEST_F(ReaderTest, OrdersFilesByTheirDates) {
    const std::string late = Write("a", "2026-11-22T03:00:00Z b ravelin-mobile[1]: late\n");
    const std::string early = Write("b", "2026-11-21T03:00:00Z b ravelin-mobile[1]: early\n");
    EXPECT_EQ(Told({late, early}),
              (Lines{"said 2026-11-21T03:00:00.000Z early", "said 2026-11-22T03:00:00.000Z late"}));
}

TEST_F(ReaderTest, OrdersLogsWithoutDatesByTheirRotation) {
    const std::string newest = Write("log", "02:00:00.0" IN_TASK "c\n");
    const std::string middle = Write("log.1", "01:00:00.0" IN_TASK "b\n");
    const std::string oldest = Write("log.2.gz", "");
    gzFile packed = gzopen(oldest.c_str(), "wb");
    ASSERT_NE(packed, nullptr);
    gzputs(packed, "23:00:00.0" IN_TASK "a\n");
    gzclose(packed);
    EXPECT_EQ(
        Told({newest, oldest, middle}),
        (Lines{"said day 1, 23:00:00.000 a", "said day 2, 01:00:00.000 b", "said day 2, 02:00:00.000 c"}));
}

TEST_F(ReaderTest, BringsALocalLogAndSyslogTogether) {
    const std::string local = Write("local", "04:00:00.20" IN_MAIN BUILD
                                             "\n"
                                             "04:00:01.500" IN_TASK
                                             "only here\n"
                                             "05:00:02.20" IN_TASK "b\n");
    const std::string syslog = Write("syslog", "2026-11-22T03:00:00+00:00 b ravelin-mobile[1]: " BUILD
                                               "\n"
                                               "2026-11-22T03:30:00+00:00 b kernel: usb\n"
                                               "2026-11-22T04:00:02+00:00 b ravelin-mobile[1]: b\n");
    EXPECT_EQ(Told({local, syslog}),
              (Lines{"said* 2026-11-22T03:00:00.000Z " BUILD, "said 2026-11-22T03:00:01.500Z only here",
                     "other 2026-11-22T03:30:00.000Z usb", "said 2026-11-22T04:00:02.000Z b"}));
}

TEST_F(ReaderTest, TellsALogByItselfThatHasNothingInCommonWithTheDatedOnes) {
    const std::string local = Write("local", "04:00:00.20" IN_TASK "a\n");
    const std::string syslog = Write("syslog", "2026-11-22T03:00:00+00:00 b ravelin-mobile[1]: b\n");
    EXPECT_EQ(Told({local, syslog}).size(), 2U);
    EXPECT_EQ(complaints_.size(), 1U);
}

TEST_F(ReaderTest, TellsTwinsOfTheJournalOnce) {
    const std::string log =
        Write("journal", "Nov 22 03:12:07 b ravelin-mobile[7]: " BUILD
                         "\n"
                         "Nov 22 03:12:07 b ravelin-mobile[7]: 03:12:07.1" IN_MAIN BUILD
                         "\n"
                         "Nov 22 03:12:08 b ravelin-mobile[7]: Check SIM!\n"
                         "Nov 22 03:12:08 b ravelin-mobile[7]: 03:12:08.1" IN_TASK
                         "Check SIM!\n"
                         "Nov 22 03:12:08 b ravelin-mobile[7]: No response! Reset device...\n"
                         "Nov 22 03:12:09 b ravelin-mobile[7]: 03:12:09.1" IN_TASK "Check SIM!\n");
    Touch(log, DaysTo(2026, 11, 22) * 86400 + 43200);
    EXPECT_EQ(Told({log}),
              (Lines{"said* 2026-11-22T03:12:07.000 " BUILD, "text 2026-11-22T03:12:08.000 Check SIM!",
                     "said 2026-11-22T03:12:08.000 Check SIM!",
                     "text 2026-11-22T03:12:08.000 No response! Reset device...",
                     "said 2026-11-22T03:12:09.000 Check SIM!"}));
}

TEST_F(ReaderTest, ReadsAnExportOfTheJournal) {
    const std::string log =
        Write("export", std::string("__CURSOR=s=1\n"
                                    "__REALTIME_TIMESTAMP=1795317127470000\n"
                                    "_TRANSPORT=syslog\nSYSLOG_IDENTIFIER=ravelin-mobile\n_PID=7\n"
                                    "MESSAGE=Soft reset!\n\n"
                                    "__CURSOR=s=2\n"
                                    "__REALTIME_TIMESTAMP=1795317128470000\n"
                                    "_TRANSPORT=stdout\nSYSLOG_IDENTIFIER=ravelin-mobile\n_PID=7\n"
                                    "MESSAGE=Soft reset!\n\n"
                                    "__CURSOR=s=3\n"
                                    "__REALTIME_TIMESTAMP=1795317129470000\n"
                                    "_TRANSPORT=syslog\nSYSLOG_IDENTIFIER=ravelin-mobile\n_PID=8\n"
                                    "MESSAGE\n") +
                            std::string("\x07\0\0\0\0\0\0\0", 8) +
                            "one\ntwo\n\n"
                            "__REALTIME_TIMESTAMP=1795317130470000\n"
                            "_TRANSPORT=stdout\nSYSLOG_IDENTIFIER=ravelin-mobile\n_PID=8\n"
                            "MESSAGE=04:12:09.1" IN_TASK "x\n\n");
    std::vector<std::string> told = Told({log});
    ASSERT_GE(told.size(), 3U);
    EXPECT_EQ(told[0], "said 2026-11-22T03:12:07.470Z Soft reset!");
    EXPECT_EQ(told[1], "text 2026-11-22T03:12:08.470Z Soft reset!");
    EXPECT_EQ(told[2], "said* 2026-11-22T03:12:09.470Z one");
    EXPECT_EQ(told.back(), "said 2026-11-22T03:12:10.470Z x");
}

TEST_F(ReaderTest, ReadsTheJournalAsJson) {
    const std::string log = Write(
        "json",
        "{\"__REALTIME_TIMESTAMP\":\"1795317127470000\",\"_TRANSPORT\":\"syslog\",\"SYSLOG_IDENTIFIER\":"
        "\"ravelin-mobile\",\"_PID\":\"7\",\"MESSAGE\":\"Soft reset!\"}\n"
        "{\"__REALTIME_TIMESTAMP\":\"1795317128470000\",\"SYSLOG_IDENTIFIER\":\"sshd\",\"MESSAGE\":\"x\"}\n"
        "{\"__REALTIME_TIMESTAMP\":\"1795317129470000\",\"_TRANSPORT\":\"syslog\",\"SYSLOG_IDENTIFIER\":"
        "\"ravelin-mobile\",\"MESSAGE\":[255,65]}\n"
        "{\"__REALTIME_TIMEST\n");
    EXPECT_EQ(Told({log}),
              (Lines{"said 2026-11-22T03:12:07.470Z Soft reset!", "other 2026-11-22T03:12:08.470Z x",
                     "said 2026-11-22T03:12:09.470Z \\xFFA"}));
}

TEST_F(ReaderTest, MarksEachStartOnce) {
    const std::string log = Write("log", "01:00:00.0" IN_TASK
                                         "a\n"
                                         "01:00:01.0" IN_MAIN BUILD
                                         "\n"
                                         "01:00:01.0" IN_MAIN
                                         "dev = /dev/ttyUSB2, config = x, script = \n"
                                         "01:00:02.0" IN_MAIN
                                         "GetVendorType=6!\n"
                                         "01:00:03.0" IN_MAIN
                                         "dev = /dev/ttyUSB2, config = x, script = \n"
                                         "01:00:04.0" IN_MAIN
                                         "GetVendorType=6!\n"
                                         "01:00:05.0" IN_MAIN
                                         "GetVendorType=6!\n"
                                         "01:00:05.0" IN_TASK "GetVendorType=6!\n");
    int runs = 0;
    for (const std::string& line : Told({log})) runs += line.substr(0, 5) == "said*" ? 1 : 0;
    EXPECT_EQ(runs, 3);
}

TEST_F(ReaderTest, MarksAStartByTheNumberOfTheProcess) {
    const std::string log = Write("log",
                                  "2026-11-22T03:00:00Z b ravelin-mobile[1]: a\n"
                                  "2026-11-22T03:00:01Z b ravelin-mobile[2]: b\n"
                                  "2026-11-22T03:00:02Z b ravelin-mobile[2]: " BUILD "\n");
    EXPECT_EQ(Told({log})[1], "said* 2026-11-22T03:00:01.000Z b");
    EXPECT_EQ(Told({log})[2].substr(0, 5), "said ");
}

TEST_F(ReaderTest, SplitsWhatHasNoLineEnd) {
    const std::string long_line = "03:12:07.1" IN_TASK "AT+QENG=\"neighbourcell\" " + std::string(1100, 'x');
    const std::string log = Write("log",
                                  "03:12:07.1 network_daemon/config/ConfigController.cpp:ReadJsonFile:39:"
                                  "[Config]Failed to parse the JSON03:12:07.2" IN_MAIN "x\n" +
                                      long_line.substr(0, 1023) + "03:12:08.1" IN_TASK "y\n" +
                                      "03:12:09.1" IN_TASK "torn03:00:00.1" IN_MAIN BUILD
                                      "\n"
                                      "03:00:01.1" IN_TASK "Auto  hint:03:12:08.1" IN_TASK
                                      "no line\n"
                                      "03:00:02.1" IN_TASK "Band change: 03:12:08.1" IN_TASK "no line\n");
    const Lines told = Told({log});
    ASSERT_EQ(told.size(), 8U);
    EXPECT_EQ(told[1], "said day 1, 03:12:07.002 x");
    EXPECT_EQ(told[3], "said day 1, 03:12:08.001 y");
    EXPECT_EQ(told[4], "said day 1, 03:12:09.001 torn");
    EXPECT_EQ(told[5].substr(0, 5), "said*");
    EXPECT_NE(told[6].find("no line"), std::string::npos);
    EXPECT_NE(told[7].find("no line"), std::string::npos);
}

TEST_F(ReaderTest, CutsAnAnswerOfTheModemWhereTheDaemonDid) {
    const std::string head = "03:12:07.1" IN_TASK "Auto  hint:\n";
    const std::string modem(1023 - head.size(), 'x');
    const std::string log =
        Write("log", head + modem + "03:12:08.1" IN_TASK "real\n" + head + "x03:12:08.1" IN_TASK "forged\n");
    const Lines told = Told({log});
    ASSERT_EQ(told.size(), 5U);
    EXPECT_EQ(told[2], "said day 1, 03:12:08.001 real");
    EXPECT_EQ(told[4].substr(0, 4), "text");
}

TEST_F(ReaderTest, GoesOnWhereAFollowedLogGrows) {
    const std::string log = Write("log", "03:12:07.1" IN_TASK "a\n03:12:08.1" IN_TASK "half");
    Reader reader;
    ReaderOptions options;
    options.follows = true;
    std::string problem;
    ASSERT_TRUE(reader.Open({log}, options, &problem));
    Line line;
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_FALSE(reader.Next(&line));
    std::ofstream(log, std::ios::app) << " and half\n";
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_EQ(line.message, "half and half");
    EXPECT_EQ(line.number, 2);
    EXPECT_FALSE(reader.Next(&line));
}

TEST_F(ReaderTest, RefusesWhatCannotBeRead) {
    Reader reader;
    std::string problem;
    EXPECT_FALSE(reader.Open({"/nowhere/log"}, {}, &problem));
    EXPECT_EQ(problem, "/nowhere/log: No such file or directory");
    EXPECT_FALSE(reader.Open({"/tmp"}, {}, &problem));
    ReaderOptions options;
    options.date = "yesterday";
    EXPECT_FALSE(reader.Open({}, options, &problem));
}

/// The bytes that the process has from the system for its heap.
int64_t HeapSize_bytes() {
    int64_t total = 0;
    int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST_F(ReaderTest, KeepsNoMoreOfALongLogThanABlock) {
    std::string text;
    for (int i = 0; i < 200000; ++i) text += "03:12:07.1" IN_TASK "Check connection. offline 1/10 times\n";
    const std::string log = Write("log", text);
    ASSERT_GT(text.size(), 15U << 20);
    text.clear();
    text.shrink_to_fit();
    Reader reader;
    std::string problem;
    ASSERT_TRUE(reader.Open({log}, {}, &problem));
    Line line;
    const int64_t before_bytes = HeapSize_bytes();
    int count = 0;
    while (reader.Next(&line)) ++count;
    EXPECT_EQ(count, 200000);
    EXPECT_LT(HeapSize_bytes() - before_bytes, 4 << 20);
}

}  // namespace
}  // namespace ravelin_log
