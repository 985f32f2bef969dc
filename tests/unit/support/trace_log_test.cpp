// The log: what reaches which sink, the words of the command line, and the log file. What a line looks like:
// trace_log_line_test.cpp.
#include "support/trace_log.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/trace_log_fixture.h"

namespace {

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

TEST_F(TraceLog, OtherWordTakesNoneAlong) {
    EXPECT_EQ(Init({"-t", "-Dl", "7", "-h"}), "Trace level 7\n");
    EXPECT_EQ(trace_level, 7);
}

TEST_F(TraceLog, MemoryThatRunsOutLosesTheNameButNotTheEcho) {
    around.mallocs_until_failure = 0;
    EXPECT_EQ(Init({"-Df", "Task"}), "Trace function Task\n");
    EXPECT_EQ(trace_function_list, nullptr);
    around.mallocs_until_failure = -1;
    around.strdup_fails = true;
    around.mallocs = around.frees = 0;
    EXPECT_EQ(Init({"-Df", "Task"}), "Trace function Task\n");
    EXPECT_EQ(trace_function_list, nullptr);
    EXPECT_EQ(around.mallocs, 1);
    EXPECT_EQ(around.frees, 1) << "what was to hold the name";
}

// The log file

class TraceLogFile : public TraceLog {
  protected:
    void SetUp() override {
        TraceLog::SetUp();
        char pattern[] = "/tmp/trace_log_test.XXXXXX";
        folder = mkdtemp(pattern);
        test_path = folder + "/log";
    }

    void TearDown() override {
        TraceLog::TearDown();
        for (const char* name : {"/log", "/second"}) unlink((folder + name).c_str());
        rmdir(folder.c_str());
    }

    static std::string Read(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    static std::string Echo(const std::string& path) {
        return "Log info write into file \" " + path + "\"\n";
    }

    std::string folder;
    std::string test_path;
};

TEST_F(TraceLogFile, LinesGoToTheFileAtOnceAndNotToStandardOutput) {
    std::ofstream(test_path) << "before\n";
    EXPECT_EQ(Init({"-DL", test_path.c_str()}), Echo(test_path));
    EXPECT_EQ(Local(5), "");
    EXPECT_EQ(Read(test_path), "before\n" + Line("hello\n")) << "appended, and flushed";
    EXPECT_EQ(Local(7), "");
    EXPECT_EQ(Read(test_path), "before\n" + Line("hello\n"));
    EXPECT_EQ(forwarded, Texts{"hello"});
}

TEST_F(TraceLogFile, FileOfMoreThan2GiBGrowsOn) {
    const std::string end = "the end of 3 GiB\n";
    constexpr uint64_t kHole = uint64_t{3} << 30;  // takes no room
    std::ofstream(test_path).seekp(static_cast<std::streamoff>(kHole)) << end;
    ASSERT_EQ(std::filesystem::file_size(test_path), kHole + end.size());
    EXPECT_EQ(Init({"-DL", test_path.c_str()}), Echo(test_path));
    EXPECT_EQ(Local(5), "");
    std::ifstream file(test_path);
    file.seekg(static_cast<std::streamoff>(kHole));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), end + Line("hello\n"));
}

TEST_F(TraceLogFile, FolderThatDoesNotExistPrintsBothLinesAndStaysOnStandardOutput) {
    const std::string path = folder + "/missing/log";
    EXPECT_EQ(Init({"-DL", path.c_str()}), " Can't open log file '" + path + "'\n" + Echo(path));
    EXPECT_EQ(Local(5), Line("hello\n"));
}

TEST_F(TraceLogFile, SecondFileReplacesTheFirstWithoutClosingIt) {
    const std::string second = folder + "/second";
    Init({"-DL", test_path.c_str()});
    FILE* first = trace_stream;
    EXPECT_EQ(Init({"-DL", second.c_str()}), Echo(second));
    EXPECT_EQ(Local(5), "");
    EXPECT_EQ(Read(test_path), "");
    EXPECT_EQ(Read(second), Line("hello\n"));
    EXPECT_GE(fputs("still open\n", first), 0);
    EXPECT_EQ(fclose(first), 0);
    EXPECT_EQ(Read(test_path), "still open\n");
}

TEST_F(TraceLogFile, SecondFileThatCannotBeOpenedLeavesStandardOutput) {
    Init({"-DL", test_path.c_str()});
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
    Init({"-DL", test_path.c_str()});
    around.flushed.clear();
    trace_log("f", "g", 1, 5, "hello\n");
    EXPECT_EQ(around.flushed, std::vector<FILE*>{trace_stream});
}

TEST_F(TraceLogFile, LinesOfDifferentThreadsDoNotTear) {
    around.fakes_clock = false;  // the record of clock reads isn't made for threads
    Init({"-DL", test_path.c_str()});
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
    std::ifstream file(test_path);
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

}  // namespace
