// The log: what a line and a hex dump look like, and what is forwarded of them.
#include "support/trace_log.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/trace_log_fixture.h"

namespace {

TEST_F(TraceLog, MillisecondsHaveNoZeroFill) {
    const struct {
        suseconds_t microseconds;
        const char* expected;
    } cases[] = {{0, "12:00:01.0 "},      {999, "12:00:01.0 "},      {7000, "12:00:01.7 "},
                 {70000, "12:00:01.70 "}, {700999, "12:00:01.700 "}, {999999, "12:00:01.999 "}};
    for (const auto& c : cases) {
        around.microseconds = c.microseconds;
        EXPECT_EQ(Local(5).substr(0, strlen(c.expected)), c.expected);
    }
}

TEST_F(TraceLog, ClockIsReadForTheMicrosecondsAndThenForTheSeconds) {
    Local(5);
    EXPECT_EQ(around.clock_reads, (Texts{"gettimeofday", "time"}));
}

TEST_F(TraceLog, TimeIsLocal) {
    setenv("TZ", "XST-5:30", 1);
    tzset();
    EXPECT_EQ(Local(5).substr(0, 8), "17:30:01");
}

TEST_F(TraceLog, DateBeyondTheCalendarIsHarmless) {
    around.date = INT64_MAX;
    const std::string line = Local(5);
    const std::string end = ".7 dir/file.cpp:Task:42:hello\n";
    ASSERT_GT(line.size(), end.size());
    EXPECT_EQ(line.substr(line.size() - end.size()), end);
}

TEST_F(TraceLog, PlaceOfTheMacroIsRelativeToTheRepository) {
    testing::internal::CaptureStdout();
    const int line = __LINE__ + 1;
    TRACE(5, "%d\n", 5);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "12:00:01.7 tests/unit/support/trace_log_line_test.cpp:TestBody:" + std::to_string(line) + ":5\n");
    testing::internal::CaptureStdout();
    const TracePlace place = {"f.cpp", "Connect", 7};
    TRACE_AT(place, 5, "hello\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "12:00:01.7 f.cpp:Connect:7:hello\n");
}

TEST_F(TraceLog, MessageIsCutAt1023CharactersAndItsForwardedCopyLosesOneMore) {
    const std::string message(2000, 'm');
    const std::string line = Local(5, message.c_str());
    EXPECT_EQ(line.size(), 1023U);
    EXPECT_EQ(line, Line(message).substr(0, 1023)) << "without a line end";
    EXPECT_EQ(forwarded, Texts{std::string(1022 - strlen(kPrefix), 'm')});
}

TEST_F(TraceLog, MessageThatJustFitsKeepsItsLineEnd) {
    const std::string message = std::string(1022 - strlen(kPrefix), 'm') + "\n";
    EXPECT_EQ(Local(5, message.c_str()), Line(message));
    EXPECT_EQ(Local(5, ("m" + message).c_str()), Line("m" + message).substr(0, 1023));
}

TEST_F(TraceLog, FormatWithoutLineEndLosesItsLastCharacterInTheForwardedCopyOnly) {
    EXPECT_EQ(Local(5, "hello"), Line("hello"));
    EXPECT_EQ(forwarded, Texts{"hell"});
}

TEST_F(TraceLog, MessageThatCannotBeFormattedLeavesThePlaceAlone) {
    constexpr wint_t kNoCharacter = 0x7FFFFFFF;
    testing::internal::CaptureStdout();
    trace_log("dir/file.cpp", "Task", 42, 5, "hello %lc\n", kNoCharacter);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), Line(""));
    EXPECT_EQ(forwarded, Texts{""});
}

TEST_F(TraceLog, EmptyMessageForwardsAnEmptyText) {
    EXPECT_EQ(Local(5, ""), Line(""));
    EXPECT_EQ(forwarded, Texts{""});
}

TEST_F(TraceLog, PlaceThatFillsTheLineLeavesNoRoomForAMessage) {
    const std::string file(3000, 'f');
    testing::internal::CaptureStdout();
    trace_log(file.c_str(), "Task", 42, 5, "hello\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), ("12:00:01.7 " + file).substr(0, 1023));
    EXPECT_EQ(forwarded, Texts{""});
}

TEST_F(TraceLog, LineZeroHasNoPrefix) {
    testing::internal::CaptureStdout();
    trace_log("f", "g", 0, 5, "%s\n", "0123456789");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0123456789\n");
    EXPECT_EQ(forwarded, Texts{"3456789"}) << "from the length of the format on";
    EXPECT_TRUE(around.clock_reads.empty());
}

TEST_F(TraceLog, LineZeroForwardsNothingBeyondAShortText) {
    testing::internal::CaptureStdout();
    trace_log("f", "g", 0, 5, "%s%s%s%s\n", "", "", "", "");
    trace_log("f", "g", 0, 5, "%s", "");
    trace_log("f", "g", 0, 5, "%s", std::string(5000, 'm').c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n" + std::string(1023, 'm'));
    EXPECT_EQ(forwarded, (Texts{"", "", std::string(1020, 'm')}));
}

TEST_F(TraceLog, NegativeLineHasAPrefix) {
    testing::internal::CaptureStdout();
    trace_log("f", "g", -1, 5, "hello\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "12:00:01.7 f:g:-1:hello\n");
}

TEST_F(TraceLog, AllocatesNothing) {
    testing::internal::CaptureStdout();
    trace_log("f", "g", 1, 5, "warm-up\n");  // time zone, buffer of the stream
    around.mallocs = 0;
    trace_log("f", "g", 1, 5, "%s %d\n", "hello", 1);
    EXPECT_EQ(around.mallocs, 0);
    testing::internal::GetCapturedStdout();
}

// The second interpretation

TEST_F(TraceLog, PercentSignsOfAFinishedLineAreInterpretedOnceMore) {
    const struct {
        const char* message;
        const char* expected;
    } cases[] = {
        {"100%%\n", "100%\n"},
        {"100%% sure, 50%%\n", "100% sure, 50%\n"},
        {"%%%%\n", "%%\n"},
        {"%%d\n", "%d\n"},
        {"%%%d\n", "%%d\n"},
        {"100%\n", "100%\n"},
        {"100%", "100%"},
        {"%%", "%"},
        {"%s %d %n %x %p %m %c %f\n", "%s %d %n %x %p %m %c %f\n"},
        {"%99999999d%*.*s%1$s%hhn%ls%\n", "%99999999d%*.*s%1$s%hhn%ls%\n"},
        {"%-+ #0'I5.3lld\n", "%-+ #0'I5.3lld\n"},
    };
    for (const auto& c : cases) {
        forwarded.clear();
        EXPECT_EQ(Local(5, c.message), Line(c.expected)) << c.message;
        const std::string sent(c.message, strlen(c.message) - 1);
        EXPECT_EQ(forwarded, Texts{sent}) << "the forwarded copy is not interpreted again";
    }
}

TEST_F(TraceLog, CutConversionAtTheEndOfALineIsHarmless) {
    for (int extra = -2; extra <= 2; ++extra) {
        const int room = static_cast<int>(1023 - strlen(kPrefix)) + extra;
        const std::string message = std::string(static_cast<size_t>(room), 'm') + "%s%n%%";
        const std::string line = Local(5, message.c_str());
        EXPECT_EQ(line, Line(message).substr(0, 1023));
    }
}

TEST_F(TraceLog, EveryByteMayStandBehindAPercentSign) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string message = std::string("a%") + static_cast<char>(byte) + "b\n";
        EXPECT_EQ(Local(5, message.c_str()), Line(byte == '%' ? "a%b\n" : message)) << byte;
    }
}

// Hex dump

class TraceHexdump : public TraceLog {
  protected:
    static std::string Dump(const char* file, const char* function, int line, unsigned level, int length) {
        static const unsigned char bytes[] = {0x00, 0x0A, 0x25, 0x7F, 0xFF};
        testing::internal::CaptureStdout();
        trace_hexdump(file, function, line, level, bytes, length);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(TraceHexdump, WithoutALineNumberItIsBareHex) {
    EXPECT_EQ(Dump("f.cpp", "g", 0, 5, 5), "00 0a 25 7f ff \n");
    EXPECT_EQ(Dump("f.cpp", "g", -1, 5, 1), "00 \n");
    EXPECT_EQ(forwarded, (Texts{"00 0a 25 7f ff ", "00 "}));
}

TEST_F(TraceHexdump, PlaceStandsInFixedColumnsWithoutATime) {
    const std::string expected = "               f.cpp:                Task:   7:00 0a ";
    EXPECT_EQ(Dump("f.cpp", "Task", 7, 5, 2), expected + "\n");
    EXPECT_EQ(forwarded, Texts{expected}) << "the prefix is forwarded too";
    EXPECT_TRUE(around.clock_reads.empty());
}

TEST_F(TraceHexdump, LongPlaceAndLongDumpArriveWhole) {
    const std::string file(3000, 'f');
    const std::string function(2000, 'g');
    std::vector<unsigned char> bytes(30720, 0xA5);
    testing::internal::CaptureStdout();
    trace_hexdump(file.c_str(), function.c_str(), 2147483647, 5, bytes.data(),
                  static_cast<int>(bytes.size()));
    std::string expected = file + ":" + function + ":2147483647:";
    for (size_t i = 0; i < bytes.size(); ++i) expected += "a5 ";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected + "\n");
    EXPECT_EQ(forwarded, Texts{expected});
}

TEST_F(TraceHexdump, LengthOfZeroOrLessGivesNoBytes) {
    EXPECT_EQ(Dump("f", "g", 0, 5, 0), "\n");
    EXPECT_EQ(Dump("f", "g", 0, 5, -1), "\n");
    EXPECT_EQ(Dump("f", "g", 0, 5, -2147483647 - 1), "\n");
    EXPECT_EQ(forwarded, Texts(3, ""));
}

TEST_F(TraceHexdump, Level7IsDroppedWithoutMemoryAndShownOnDemand) {
    EXPECT_EQ(Dump("f", "EncodeDbusMsg", 0, 7, 2), "");
    EXPECT_EQ(around.mallocs, 0);
    Init({"-Df", "EncodeDbusMsg"});
    EXPECT_EQ(Dump("f", "EncodeDbusMsg", 0, 7, 2), "00 0a \n");
    Init({"-Dl", "7"});
    EXPECT_EQ(Dump("f", "DecodeDbusMsg", 0, 7, 2), "00 0a \n");
    EXPECT_TRUE(forwarded.empty());
}

TEST_F(TraceHexdump, LevelBelowTheThresholdIsForwardedAlone) {
    Init({"-Dl", "0"});
    EXPECT_EQ(Dump("f", "g", 0, 5, 2), "");
    EXPECT_EQ(forwarded, Texts{"00 0a "});
}

TEST_F(TraceHexdump, Level6IsForwarded) {
    EXPECT_EQ(Dump("f", "g", 0, 6, 2), "00 0a \n");
    EXPECT_EQ(forwarded, Texts{"00 0a "});
}

TEST_F(TraceHexdump, GivesItsMemoryBack) {
    const unsigned char byte = 0;
    testing::internal::CaptureStdout();
    trace_hexdump("f", "g", 0, 5, &byte, 1);  // warm-up: the buffer of the stream
    around.mallocs = around.frees = 0;
    trace_hexdump("f", "g", 0, 5, &byte, 1);
    const int mallocs = around.mallocs;
    const int frees = around.frees;
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(mallocs, 2);
    EXPECT_EQ(frees, 2);
    around.mallocs_until_failure = 1;
    around.frees = 0;
    trace_hexdump("f", "g", 0, 5, &byte, 1);
    EXPECT_EQ(around.frees, 1) << "the first one, when there is no second";
}

TEST_F(TraceHexdump, MemoryThatRunsOutLosesTheDumpWithoutAWord) {
    for (int first_failure : {0, 1}) {
        for (const int failures : {1, INT_MAX}) {
            around.mallocs_until_failure = first_failure;
            around.failing_mallocs = failures;
            EXPECT_EQ(Dump("f", "g", 0, 5, 2), "");
            EXPECT_TRUE(forwarded.empty());
        }
    }
}

TEST_F(TraceHexdump, PercentSignsInThePlaceAreInterpretedLikeInALine) {
    EXPECT_EQ(Dump("a%%b%s.cpp", "%n", 1, 5, 1), "          a%b%s.cpp:                  %n:   1:00 \n");
}

}  // namespace
