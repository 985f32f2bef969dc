// The tool ocpp_peer against a process that holds the daemon's place on a real bus and answers as
// specified: every way in which an answer can be good, broken, late or missing.
#include <atomic>
#include <fstream>
#include <mutex>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "platform/busglue/busglue.h"
#include "simulator/bus_peer/frame.h"
#include "tests/e2e/private_bus.h"

using bus_peer::Bytes;
using bus_peer::EncodeFrame;
using bus_peer::ToHex;

namespace {

/// What the test and the library's thread share.
struct Desk {
    std::mutex mutex;
    Bytes answer;  // to the next question
    std::atomic<bool> holds_answer_back{false};
    bool answers_at_all = true;
    Bytes heard;  // the last question, signal or reply
    int heard_count = 0;
};
// The library's thread lives as long as the process: what it touches is never destroyed.
Desk& desk = *new Desk;

void Hear(int length, const unsigned char* bytes) {
    std::lock_guard<std::mutex> lock(desk.mutex);
    desk.heard.assign(bytes, bytes + length);
    ++desk.heard_count;
}

Bytes Heard() {
    std::lock_guard<std::mutex> lock(desk.mutex);
    return desk.heard;
}

int HeardCount() {
    std::lock_guard<std::mutex> lock(desk.mutex);
    return desk.heard_count;
}

int AnswerAsTold(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    Hear(length, bytes);
    Eventually([] { return !desk.holds_answer_back; });
    std::lock_guard<std::mutex> lock(desk.mutex);
    if (desk.answers_at_all) reply(static_cast<int>(desk.answer.size()), desk.answer.data(), context);
    return 0;
}

int TakeFrame(int length, unsigned char* bytes) {
    Hear(length, bytes);
    return 0;
}

Bytes GoodStatus() {
    Bytes data = {15};
    for (uint8_t type = 1; type <= 15; ++type) {
        const std::string value = type == 15 ? "" : "value \"" + std::to_string(type) + "\"\n";
        data.push_back(type);
        data.push_back(static_cast<uint8_t>(value.size()));
        data.insert(data.end(), value.begin(), value.end());
    }
    return data;
}

struct Result {
    int status;
    std::string output;
    std::string errors;
};

class OcppPeerTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.Start()); }

    static void JoinAsDaemon() {
        static const busglue_signal_row signals[] = {{"ravelin.reset", TakeFrame}, {nullptr, nullptr}};
        static const busglue_method_row methods[] = {{"RAVELIN.Message", AnswerAsTold}, {nullptr, nullptr}};
        static const busglue_descriptor descriptor = {signals, methods};
        ASSERT_EQ(0, dbs_connect_init("RAVELIN", &descriptor));
    }

    Result Run(const std::string& words) {
        const std::string file = bus.Folder() + "/peer";
        const std::string command = "'" OCPP_PEER "' " + words + " >" + file + ".out 2>" + file + ".err";
        const int status = system(command.c_str());
        Result result = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(file + ".out"),
                         Read(file + ".err")};
        return result;
    }

    Result RunWithAnswer(const Bytes& bytes, const std::string& words) {
        {
            std::lock_guard<std::mutex> lock(desk.mutex);
            desk.answer = bytes;
        }
        return RunPatiently(words);
    }

    Result RunPatiently(const std::string& words) {
        return Run("--timeout " + std::to_string(kPatience.count()) + " " + words);
    }

    bool IsWatched() const { return bus.IsOwned("busglue.OCPP"); }

    PrivateBus bus;

  private:
    static std::string Read(const std::string& path) {
        std::stringstream text;
        text << std::ifstream(path).rdbuf();
        unlink(path.c_str());
        return text.str();
    }
};

TEST_F(OcppPeerTest, NoBusIsToldAsSuch) {
    bus.Stop();
    for (const char* words : {"status", "upgrade A B C", "watch", "raw 00"}) {
        const Result result = Run(words);
        EXPECT_EQ(3, result.status) << words;
        EXPECT_EQ(0u, result.errors.find("ocpp_peer: no bus at unix:path=")) << result.errors;
    }
}

TEST_F(OcppPeerTest, NoDaemonIsToldAsSuch) {
    for (const char* words : {"status", "upgrade A B C", "raw 00"}) {
        const Result result = Run(words);
        EXPECT_EQ(3, result.status) << words;
        EXPECT_EQ(0u, result.errors.find("ocpp_peer: the daemon isn't there: ")) << result.errors;
    }
}

TEST_F(OcppPeerTest, StatusShowsNamesAndValues) {
    JoinAsDaemon();
    const Result result = RunWithAnswer(EncodeFrame({7, 0x7603, GoodStatus()}), "status");
    EXPECT_EQ(0, result.status) << result.errors;
    EXPECT_EQ("FF 6A A6 00 07 00 04 76 03 7B 92", ToHex(Heard()));
    EXPECT_EQ(0u, result.output.find("vendor          value \"1\"\\n\nfirmware        value \"2\"\\n\n"))
        << result.output;
    EXPECT_NE(std::string::npos, result.output.find("\nneighbour_rsrp  value \"11\"\\n\n")) << result.output;
    EXPECT_NE(std::string::npos, result.output.find("\nimsi            \n")) << result.output;
}

TEST_F(OcppPeerTest, StatusAsJson) {
    JoinAsDaemon();
    const Result result = RunWithAnswer(EncodeFrame({7, 0x7603, GoodStatus()}), "status --json");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(0u, result.output.find("{\n \"vendor\": \"value \\\"1\\\"\\u000A\",\n \"firmware\": "))
        << result.output;
    EXPECT_NE(std::string::npos, result.output.find(",\n \"imsi\": \"\"\n}\n")) << result.output;
}

TEST_F(OcppPeerTest, DaemonWithoutAModemRefuses) {
    JoinAsDaemon();
    const Result result = RunWithAnswer(EncodeFrame({7, 0x7600, {3}}), "status");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("ocpp_peer: the daemon has no modem yet\n", result.errors);
}

TEST_F(OcppPeerTest, BrokenAnswersAreToldAsSuch) {
    JoinAsDaemon();
    const Bytes good = EncodeFrame({7, 0x7603, GoodStatus()});
    Bytes bad_crc = good, bad_magic = good, bad_length = good, cut = good;
    bad_crc.back() ^= 1;
    bad_magic[0] = 0;
    bad_length[6] ^= 1;
    cut.resize(10);
    Bytes fewer = GoodStatus(), more = GoodStatus(), disordered = GoodStatus(), lying = GoodStatus();
    fewer.resize(fewer.size() - 2);
    more.push_back(0);
    disordered[1] = 2;
    lying.back() = 1;
    const struct {
        Bytes bytes;
        const char* what;
    } cases[] = {
        {{}, "it is empty"},
        {cut, "it is shorter than a frame without data: FF 6A"},
        {bad_magic, "it doesn't begin with FF 6A A6: 00 6A"},
        {bad_length, "its length field is wrong: FF"},
        {bad_crc, "its CRC is wrong: FF"},
        {EncodeFrame({8, 0x7603, GoodStatus()}), "it has another message id"},
        {EncodeFrame({7, 0x7602, GoodStatus()}), "it has another command"},
        {EncodeFrame({7, 0x7600, {4}}), "its status isn't known"},
        {EncodeFrame({7, 0x7603, {}}), "it isn't one of fifteen items"},
        {EncodeFrame({7, 0x7603, {0}}), "it isn't one of fifteen items"},
        {EncodeFrame({7, 0x7603, fewer}), "its items are cut off"},
        {EncodeFrame({7, 0x7603, lying}), "its items are cut off"},
        {EncodeFrame({7, 0x7603, more}), "it has bytes after its items"},
        {EncodeFrame({7, 0x7603, disordered}), "its items aren't in their order"},
    };
    for (const auto& row : cases) {
        const Result result = RunWithAnswer(row.bytes, "status");
        EXPECT_EQ(5, result.status) << row.what;
        EXPECT_EQ(0u, result.errors.find(std::string("ocpp_peer: the answer is broken: ") + row.what))
            << result.errors;
        EXPECT_EQ("", result.output);
    }
}

TEST_F(OcppPeerTest, AnswerThatComesTooLate) {
    desk.holds_answer_back = true;
    JoinAsDaemon();
    const Result result = RunWithAnswer(EncodeFrame({7, 0x7603, GoodStatus()}), "--timeout 0.3 status");
    desk.holds_answer_back = false;
    EXPECT_EQ(4, result.status);
    EXPECT_EQ(0u, result.errors.find("ocpp_peer: no answer: ")) << result.errors;
}

TEST_F(OcppPeerTest, DaemonThatTakesTheFrameWithoutAnAnswer) {
    desk.answers_at_all = false;
    JoinAsDaemon();
    const Result result = RunPatiently("status");
    EXPECT_EQ(5, result.status);
    EXPECT_NE(std::string::npos, result.errors.find("without an answer")) << result.errors;
}

TEST_F(OcppPeerTest, UpgradeSendsItsTextsAndTellsTheAnswer) {
    JoinAsDaemon();
    const Result accepted = RunWithAnswer(EncodeFrame({7, 0x7600, {1}}), "upgrade A B C");
    EXPECT_EQ(0, accepted.status);
    EXPECT_EQ("accepted\n", accepted.output);
    EXPECT_EQ("FF 6A A6 00 07 00 0E 76 00 01 01 01 41 02 01 42 03 01 43 AD F2", ToHex(Heard()));
    const Result running = RunWithAnswer(EncodeFrame({7, 0x7600, {2}}), "upgrade A B C");
    EXPECT_EQ(1, running.status);
    EXPECT_EQ("ocpp_peer: an upgrade is already running\n", running.errors);
    EXPECT_EQ(1, RunWithAnswer(EncodeFrame({7, 0x7600, {0}}), "upgrade A B C").status);
}

TEST_F(OcppPeerTest, RawSendsWhatItIsGivenAndShowsWhatComes) {
    JoinAsDaemon();
    const Result result = RunWithAnswer({0xAB, 0}, "raw '01 02ff'");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("AB 00\n", result.output);
    EXPECT_EQ((Bytes{1, 2, 0xFF}), Heard());
    EXPECT_EQ("\n", RunWithAnswer({}, "raw ''").output);
    EXPECT_EQ(Bytes{}, Heard());
}

TEST_F(OcppPeerTest, RawAsASignal) {
    JoinAsDaemon();
    EXPECT_EQ(0, Run("--signal raw 010203").status);
    EXPECT_TRUE(Eventually([] { return HeardCount() == 1; }));
    EXPECT_EQ((Bytes{1, 2, 3}), Heard());
}

TEST_F(OcppPeerTest, RepeatAsksOverOneConnectionAndTellsTheRate) {
    JoinAsDaemon();
    const Result result =
        RunWithAnswer(EncodeFrame({7, 0x7603, GoodStatus()}), "--repeat 500 --window 20 status");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(500, HeardCount());
    EXPECT_EQ(0u, result.output.find("500 answers in ")) << result.output;
}

void SendReport(Bytes frame) {
    char destination[] = "OCPP.Message";
    busglue_send_record record = {static_cast<int>(frame.size()), frame.data(), destination, 700};
    dbs_send_method_async(&record, TakeFrame);
}

TEST_F(OcppPeerTest, WatchTellsWhatComesAndConfirmsIt) {
    JoinAsDaemon();
    const struct {
        Bytes frame;
        const char* line;
        const char* reply;
    } cases[] = {
        {EncodeFrame({1, 0x7601, {0}}), "upgrade succeeded: FF 6A A6 00 01 00 05 76 01 00 57 FA\n",
         "FF 6A A6 00 01 00 05 76 01 01 97 3B"},
        {EncodeFrame({1, 0x7601, {1}}), "upgrade failed: FF", nullptr},
        {EncodeFrame({1, 0x7601, {2}}), "upgrade: modem not supported: FF", nullptr},
        {EncodeFrame({1, 0x7601, {3}}), "upgrade: file or path missing: FF", nullptr},
        {EncodeFrame({1, 0x7602, {1}}), "module refused: FF 6A A6 00 01 00 05 76 02 01 67 3B\n", nullptr},
        {EncodeFrame({1, 0x7601, {4}}), "unknown: FF", nullptr},
        {{1, 2, 3}, "broken, it is shorter than a frame without data: 01 02 03\n", ""},
    };
    for (const auto& row : cases) {
        const int before = HeardCount();
        std::thread sender([this, &row] {
            if (Eventually([this] { return IsWatched(); })) SendReport(row.frame);
        });
        const Result result = RunPatiently("watch --count 1");
        sender.join();
        EXPECT_TRUE(Eventually([before] { return HeardCount() > before; }));
        EXPECT_TRUE(Eventually([this] { return !IsWatched(); })) << "the next one would not be let in";
        ASSERT_EQ(0, result.status) << result.errors;
        EXPECT_EQ(0u, result.output.find(row.line)) << result.output;
        if (row.reply != nullptr) {
            EXPECT_EQ(row.reply, ToHex(Heard()));
        }
    }
}

TEST_F(OcppPeerTest, WatchEndsWithItsTime) {
    const Result result = Run("watch --timeout 0.3");
    EXPECT_EQ(4, result.status);
    EXPECT_EQ("ocpp_peer: the time is over\n", result.errors);
}

TEST_F(OcppPeerTest, SecondWatchFindsTheNameTaken) {
    const pid_t first = fork();
    if (first == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // also when the test is killed
        execl(OCPP_PEER, "ocpp_peer", "watch", nullptr);
        _exit(127);
    }
    // The second must not come first.
    ASSERT_TRUE(Eventually([this] { return IsWatched(); }));
    const Result result = Run("watch --timeout 0.2");
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.errors.find("somebody else owns it"), std::string::npos) << result.errors;
    kill(first, SIGTERM);
    waitpid(first, nullptr, 0);
}

TEST_F(OcppPeerTest, WrongCommandLinesAreExplained) {
    const struct {
        const char* words;
        const char* what;
    } cases[] = {
        {"", "a command is missing"},
        {"frob", "no command is called \"frob\""},
        {"upgrade A B", "upgrade takes 3 arguments, not 2"},
        {"status now", "status takes 0 arguments, not 1"},
        {"raw 0", "raw: not hexadecimal: 0"},
        {"raw 0x", "raw: not hexadecimal: 0x"},
        {"--timeout -1 status", "--timeout wants a number of seconds above 0, not \"-1\""},
        {"--timeout nan status", "--timeout wants a number of seconds above 0, not \"nan\""},
        {"--repeat 0 status", "--repeat wants a number from 1 to 100000000, not \"0\""},
        {"--window 101 status", "--window wants a number from 1 to 100, not \"101\""},
        {"--reply 256 watch", "--reply wants a number from 0 to 255, not \"256\""},
        {"--frob status", "unknown option --frob"},
        {"status --address", "--address wants a value"},
    };
    for (const auto& row : cases) {
        const Result result = Run(row.words);
        EXPECT_EQ(2, result.status) << row.words;
        EXPECT_EQ(std::string("ocpp_peer: ") + row.what + "; see --help\n", result.errors);
    }
    const Result help = Run("--help");
    EXPECT_EQ(0, help.status);
    EXPECT_EQ(0u, help.output.find("usage: ocpp_peer "));
    EXPECT_EQ(2, Run("upgrade A B " + std::string(256, 'x')).status);
}

}  // namespace
