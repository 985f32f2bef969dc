// The log with a clock, a forwarder and a memory that the test holds in its hands; its two local sinks are
// real.
#include "support/trace_log.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/busglue/busglue.h"
#include "support/trace_log_state.h"

namespace {

struct Surroundings {
    bool fakes_clock = false;
    time_t date = 0;
    suseconds_t microseconds = 0;
    std::vector<std::string> clock_reads;
    int mallocs_until_failure = -1;  // -1: never
    int mallocs = 0;
    bool strdup_fails = false;
    std::vector<FILE*> flushed;
} around;

std::mutex forwarded_mutex;
std::vector<std::string> forwarded;

}  // namespace

extern "C" {
int __real_gettimeofday(struct timeval* now, void* zone);
time_t __real_time(time_t* store);
void* __real_malloc(size_t size);
char* __real_strdup(const char* text);
int __real_fflush(FILE* stream);

int __wrap_gettimeofday(struct timeval* now, void* zone) {
    if (!around.fakes_clock) return __real_gettimeofday(now, zone);
    around.clock_reads.emplace_back("gettimeofday");
    *now = {around.date, around.microseconds};
    return 0;
}

time_t __wrap_time(time_t* store) {
    if (!around.fakes_clock) return __real_time(store);
    around.clock_reads.emplace_back("time");
    if (store != nullptr) *store = around.date;
    return around.date;
}

void* __wrap_malloc(size_t size) {
    if (around.mallocs_until_failure == 0) return nullptr;
    if (around.mallocs_until_failure > 0) --around.mallocs_until_failure;
    ++around.mallocs;
    return __real_malloc(size);
}

char* __wrap_strdup(const char* text) {
    if (around.strdup_fails) return nullptr;
    return __real_strdup(text);
}

int __wrap_fflush(FILE* stream) {
    if (around.fakes_clock) around.flushed.push_back(stream);
    return __real_fflush(stream);
}

void log_send(const char* text) {
    const std::lock_guard<std::mutex> lock(forwarded_mutex);
    forwarded.emplace_back(text);
}
}

namespace {

constexpr time_t kNoonAndOneSecond = 1767268801;         // 2026-01-01 12:00:01 UTC
constexpr int64_t kNoonAndOneSecondIn2100 = 4102488001;  // 2100-01-01 12:00:01 UTC
const int32_t kLevelAtStart = trace_level;               // nothing of this process has set it yet
const char* const kPrefix = "12:00:01.7 dir/file.cpp:Task:42:";

void FreeNames(TraceName** list) {
    while (*list != nullptr) {
        TraceName* next = (*list)->next;
        free((*list)->name);
        free(*list);
        *list = next;
    }
}

std::vector<std::string> NamesOf(const TraceName* list) {
    std::vector<std::string> names;
    for (; list != nullptr; list = list->next) names.emplace_back(list->name);
    return names;
}

class TraceLog : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        ResetSettings();
        around = Surroundings();
        around.fakes_clock = true;
        around.date = kNoonAndOneSecond;
        around.microseconds = 7999;
        forwarded.clear();
    }

    void TearDown() override {
        around = Surroundings();
        ResetSettings();
    }

    /// As at the start of the process.
    static void ResetSettings() {
        trace_level = kLevelAtStart;
        FreeNames(&trace_file_list);
        FreeNames(&trace_function_list);
        if (trace_stream != nullptr) fclose(trace_stream);
        trace_stream = nullptr;
    }

    /// Starts with these words after the program's name; what that prints.
    static std::string Init(std::vector<const char*> words) {
        words.insert(words.begin(), "ravelin-mobile");
        std::vector<char*> vector;
        for (const char* word : words) vector.push_back(const_cast<char*>(word));
        vector.push_back(nullptr);
        const auto before = vector;
        testing::internal::CaptureStdout();
        trace_init(static_cast<int>(words.size()), vector.data());
        EXPECT_EQ(vector, before) << "the vector is left as it is";
        return testing::internal::GetCapturedStdout();
    }

    /// What one line at `level` leaves on standard output.
    static std::string Local(unsigned level, const char* message = "hello\n") {
        testing::internal::CaptureStdout();
        trace_log("dir/file.cpp", "Task", 42, level, "%s", message);
        return testing::internal::GetCapturedStdout();
    }

    static std::string Line(const std::string& message) { return kPrefix + message; }

    using Texts = std::vector<std::string>;
};

// What reaches which sink

TEST_F(TraceLog, WithoutOptionsLevel7IsDroppedBeforeFormatting) {
    EXPECT_EQ(Local(7), "");
    EXPECT_TRUE(forwarded.empty());
    EXPECT_TRUE(around.clock_reads.empty()) << "no clock is read for a line that nobody wants";
}

TEST_F(TraceLog, WithoutOptionsLevels0To6ReachBothSinks) {
    for (unsigned level = 0; level <= 6; ++level) {
        forwarded.clear();
        EXPECT_EQ(Local(level), Line("hello\n")) << level;
        EXPECT_EQ(forwarded, Texts{"hello"}) << level;
    }
}

TEST_F(TraceLog, TimeOfDayIsRightBeyond2038) {
    around.date = static_cast<time_t>(kNoonAndOneSecondIn2100);
    EXPECT_EQ(Local(5), Line("hello\n"));
}

TEST_F(TraceLog, LevelZeroShowsAnnouncementsAndForwardsTheRest) {
    EXPECT_EQ(Init({"-Dl", "0"}), "Trace level 0\n");
    EXPECT_EQ(Local(0), Line("hello\n"));
    for (unsigned level = 1; level <= 6; ++level) EXPECT_EQ(Local(level), "") << level;
    EXPECT_EQ(Local(7), "");
    EXPECT_EQ(forwarded, Texts(7, "hello"));
}

TEST_F(TraceLog, Level9IsEchoedAndActsAs7) {
    EXPECT_EQ(Init({"-Dl", "9"}), "Trace level 9\n");
    EXPECT_EQ(trace_level, 7);
    EXPECT_EQ(Local(7), Line("hello\n"));
    EXPECT_EQ(Local(8), "");
    EXPECT_TRUE(forwarded.empty()) << "level 7 is never forwarded";
}

TEST_F(TraceLog, LevelMinus1IsEchoedAndShowsAllLevels) {
    EXPECT_EQ(Init({"-Dl", "-1"}), "Trace level -1\n");
    for (unsigned level : {0U, 6U, 7U, 8U, 0xFFFFFFFFU}) EXPECT_EQ(Local(level), Line("hello\n")) << level;
    EXPECT_EQ(forwarded, Texts(2, "hello"));
}

TEST_F(TraceLog, LevelThatIsNoNumberCountsAsZero) {
    EXPECT_EQ(Init({"-Dl", "loud"}), "Trace level 0\n");
    EXPECT_EQ(trace_level, 0);
    EXPECT_EQ(Init({"-Dl", "99999999999"}), "Trace level 2147483647\n");
    EXPECT_EQ(trace_level, 7);
}

TEST_F(TraceLog, ListedFunctionShowsItsDebugLinesButForwardsNone) {
    EXPECT_EQ(Init({"-Df", "Task"}), "Trace function Task\n");
    EXPECT_EQ(Local(7), Line("hello\n"));
    testing::internal::CaptureStdout();
    trace_log("dir/file.cpp", "Connect", 42, 7, "hello\n");
    trace_log("dir/file.cpp", "task", 42, 7, "hello\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(forwarded.empty());
}

TEST_F(TraceLog, ListedFileIsShownAtAnyLevelBelowTheThreshold) {
    Init({"-Dl", "0", "-DF", "dir/file.cpp"});
    for (unsigned level = 0; level <= 8; ++level) EXPECT_EQ(Local(level), Line("hello\n")) << level;
    testing::internal::CaptureStdout();
    trace_log("other/file.cpp", "Task", 42, 5, "hello\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(forwarded, Texts(8, "hello")) << "levels 0 to 6 of the one file, level 5 of the other";
}

// The words of the command line

TEST_F(TraceLog, EchoOfAFileShowsTheWordBehindIt) {
    EXPECT_EQ(Init({"-DF", "network_daemon/cellular_task.cpp", "-t"}), "Trace file -t\n");
    EXPECT_EQ(NamesOf(trace_file_list), Texts{"network_daemon/cellular_task.cpp"});
}

TEST_F(TraceLog, EchoOfAFileAtTheEndShowsTheNullText) {
    EXPECT_EQ(Init({"-DF", "file.cpp"}), "Trace file (null)\n");
    EXPECT_EQ(NamesOf(trace_file_list), Texts{"file.cpp"});
}

TEST_F(TraceLog, SameFunctionTwiceStandsOnceInTheListAndIsEchoedTwice) {
    EXPECT_EQ(Init({"-Df", "Task", "-Df", "Task"}), "Trace function Task\nTrace function Task\n");
    EXPECT_EQ(NamesOf(trace_function_list), Texts{"Task"});
}

TEST_F(TraceLog, NamesGoInAtTheHeadAsCopies) {
    char name[] = "Task";
    EXPECT_EQ(Init({"-Df", name, "-Df", "Connect", "-DF", "a.cpp", "-DF", "b.cpp"}),
              "Trace function Task\nTrace function Connect\nTrace file -DF\nTrace file (null)\n");
    name[0] = 'X';
    EXPECT_EQ(NamesOf(trace_function_list), (Texts{"Connect", "Task"}));
    EXPECT_EQ(NamesOf(trace_file_list), (Texts{"b.cpp", "a.cpp"}));
}

TEST_F(TraceLog, WordWithoutItsValueIsSkipped) {
    for (const char* word : {"-DF", "-Df", "-Dl", "-DL"}) {
        EXPECT_EQ(Init({"-t", word}), "") << word;
        EXPECT_EQ(trace_file_list, nullptr);
        EXPECT_EQ(trace_function_list, nullptr);
        EXPECT_EQ(trace_level, 6);
        EXPECT_EQ(trace_stream, nullptr);
    }
}

TEST_F(TraceLog, ValueIsNoWordOfItsOwn) {
    EXPECT_EQ(Init({"-Df", "-Dl", "7"}), "Trace function -Dl\n");
    EXPECT_EQ(trace_level, 6);
}

TEST_F(TraceLog, OtherWordsAreSkippedAndCaseCounts) {
    EXPECT_EQ(Init({}), "");
    EXPECT_EQ(Init({"-d", "/dev/ttyUSB2", "-dl", "7", "-Dl7", "-t", "-Dl", "5"}), "Trace level 5\n");
    EXPECT_EQ(trace_level, 5);
}

TEST_F(TraceLog, MemoryThatRunsOutLosesTheNameButNotTheEcho) {
    around.mallocs_until_failure = 0;
    EXPECT_EQ(Init({"-Df", "Task"}), "Trace function Task\n");
    EXPECT_EQ(trace_function_list, nullptr);
    around.mallocs_until_failure = -1;
    around.strdup_fails = true;
    EXPECT_EQ(Init({"-Df", "Task"}), "Trace function Task\n");
    EXPECT_EQ(trace_function_list, nullptr);
}

// The log file

class TraceLogFile : public TraceLog {
  protected:
    void SetUp() override {
        TraceLog::SetUp();
        char pattern[] = "/tmp/trace_log_test.XXXXXX";
        folder_ = mkdtemp(pattern);
        path_ = folder_ + "/log";
    }

    void TearDown() override {
        TraceLog::TearDown();
        for (const char* name : {"/log", "/second"}) unlink((folder_ + name).c_str());
        rmdir(folder_.c_str());
    }

    static std::string Read(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    static std::string Echo(const std::string& path) {
        return "Log info write into file \" " + path + "\"\n";
    }

    std::string folder_;
    std::string path_;
};

TEST_F(TraceLogFile, LinesGoToTheFileAtOnceAndNotToStandardOutput) {
    std::ofstream(path_) << "before\n";
    EXPECT_EQ(Init({"-DL", path_.c_str()}), Echo(path_));
    EXPECT_EQ(Local(5), "");
    EXPECT_EQ(Read(path_), "before\n" + Line("hello\n")) << "appended, and flushed";
    EXPECT_EQ(Local(7), "");
    EXPECT_EQ(Read(path_), "before\n" + Line("hello\n"));
    EXPECT_EQ(forwarded, Texts{"hello"});
}

TEST_F(TraceLogFile, FileOfMoreThan2GiBGrowsOn) {
    const std::string end = "the end of 3 GiB\n";
    constexpr uint64_t kHole = uint64_t{3} << 30;  // takes no room
    std::ofstream(path_).seekp(static_cast<std::streamoff>(kHole)) << end;
    ASSERT_EQ(std::filesystem::file_size(path_), kHole + end.size());
    EXPECT_EQ(Init({"-DL", path_.c_str()}), Echo(path_));
    EXPECT_EQ(Local(5), "");
    std::ifstream file(path_);
    file.seekg(static_cast<std::streamoff>(kHole));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), end + Line("hello\n"));
}

TEST_F(TraceLogFile, FolderThatDoesNotExistPrintsBothLinesAndStaysOnStandardOutput) {
    const std::string path = folder_ + "/missing/log";
    EXPECT_EQ(Init({"-DL", path.c_str()}), " Can't open log file '" + path + "'\n" + Echo(path));
    EXPECT_EQ(Local(5), Line("hello\n"));
}

TEST_F(TraceLogFile, SecondFileReplacesTheFirstWithoutClosingIt) {
    const std::string second = folder_ + "/second";
    Init({"-DL", path_.c_str()});
    FILE* first = trace_stream;
    EXPECT_EQ(Init({"-DL", second.c_str()}), Echo(second));
    EXPECT_EQ(Local(5), "");
    EXPECT_EQ(Read(path_), "");
    EXPECT_EQ(Read(second), Line("hello\n"));
    EXPECT_GE(fputs("still open\n", first), 0);
    EXPECT_EQ(fclose(first), 0);
    EXPECT_EQ(Read(path_), "still open\n");
}

TEST_F(TraceLogFile, SecondFileThatCannotBeOpenedLeavesStandardOutput) {
    Init({"-DL", path_.c_str()});
    FILE* first = trace_stream;
    Init({"-DL", "/no/such/folder/log"});
    EXPECT_EQ(Local(5), Line("hello\n"));
    fclose(first);
}

TEST_F(TraceLogFile, OnlyALogFileIsFlushed) {
    testing::internal::CaptureStdout();
    around.flushed.clear();
    trace_log("f", "g", 1, 5, "hello\n");
    EXPECT_TRUE(around.flushed.empty());
    testing::internal::GetCapturedStdout();
    Init({"-DL", path_.c_str()});
    around.flushed.clear();
    trace_log("f", "g", 1, 5, "hello\n");
    EXPECT_EQ(around.flushed, std::vector<FILE*>{trace_stream});
}

TEST_F(TraceLogFile, LinesOfDifferentThreadsDoNotTear) {
    around.fakes_clock = false;  // the record of clock reads isn't made for threads
    Init({"-DL", path_.c_str()});
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            const std::string body(300, static_cast<char>('a' + i));
            for (int line = 0; line < kLines; ++line) TRACE(5, "<%s>\n", body.c_str());
        });
    }
    for (auto& thread : threads) thread.join();
    std::ifstream file(path_);
    std::string line;
    int count = 0;
    while (std::getline(file, line)) {
        ++count;
        ASSERT_GT(line.size(), 302U);
        const std::string body = line.substr(line.size() - 302);
        EXPECT_EQ(body, "<" + std::string(300, body[1]) + ">");
        EXPECT_EQ(line.find('<'), line.size() - 302) << "one message a line";
    }
    EXPECT_EQ(count, kThreads * kLines);
    EXPECT_EQ(forwarded.size(), static_cast<size_t>(kThreads * kLines));
}

// The line

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
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "12:00:01.7 tests/unit/support/trace_log_test.cpp:TestBody:" + std::to_string(line) + ":5\n");
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
        static const unsigned char kBytes[] = {0x00, 0x0A, 0x25, 0x7F, 0xFF};
        testing::internal::CaptureStdout();
        trace_hexdump(file, function, line, level, kBytes, length);
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

TEST_F(TraceHexdump, MemoryThatRunsOutLosesTheDumpWithoutAWord) {
    for (int first_failure : {0, 1}) {
        around.mallocs_until_failure = first_failure;
        EXPECT_EQ(Dump("f", "g", 0, 5, 2), "");
        EXPECT_TRUE(forwarded.empty());
    }
}

TEST_F(TraceHexdump, PercentSignsInThePlaceAreInterpretedLikeInALine) {
    EXPECT_EQ(Dump("a%%b%s.cpp", "%n", 1, 5, 1), "          a%b%s.cpp:                  %n:   1:00 \n");
}

}  // namespace
