// libbusglue against a real bus daemon. The process under test is the daemon's part ("RAVELIN"); peers are
// either forked children that use the library too ("OCPP"), or dbus-send, a stock client that knows nothing
// of the library.

#include "platform/busglue/busglue.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/e2e/private_bus.h"

namespace {

using Bytes = std::vector<unsigned char>;
using std::chrono::milliseconds;

constexpr int kLargestFrame = 30731;
constexpr int kFourth = 700;  // what the daemon passes

const char* const kDaemonName = "busglue.RAVELIN";
const char* const kPeerName = "busglue.OCPP";
// How many records the library takes while their receiver answers nothing.
constexpr size_t kOnTheirWay = 64;
constexpr size_t kWaiting = 256;

/// What arrives, by handler and reply functions that carry no context of ours.
struct Inbox {
    void Add(int length, const unsigned char* bytes) {
        std::lock_guard<std::mutex> lock(mutex);
        frames.emplace_back(bytes, bytes + length);
        changed.notify_all();
    }
    bool WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, kPatience, [&] { return frames.size() >= count; });
    }
    bool Has(const Bytes& frame) {
        const std::vector<Bytes> all = All();
        return std::find(all.begin(), all.end(), frame) != all.end();
    }
    std::vector<Bytes> All() {
        std::lock_guard<std::mutex> lock(mutex);
        return frames;
    }
    size_t Count() { return All().size(); }
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Bytes> frames;
};

// The library's thread lives as long as the process: what it touches is never destroyed.
Inbox& requests = *new Inbox;
Inbox& signals = *new Inbox;
Inbox& replies = *new Inbox;
std::atomic<std::thread::id> handler_thread;

std::mutex& log_mutex = *new std::mutex;
std::vector<std::string>& log_lines = *new std::vector<std::string>;
bool has_log_socket = true;

int TakeSignal(int length, unsigned char* bytes) {
    signals.Add(length, bytes);
    return 0;
}

int TakeReply(int length, unsigned char* bytes) {
    replies.Add(length, bytes);
    return 0;
}

Bytes Reversed(int length, const unsigned char* bytes) {
    return Bytes(std::make_reverse_iterator(bytes + length), std::make_reverse_iterator(bytes));
}

int AnswerReversed(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    handler_thread = std::this_thread::get_id();
    Bytes answer = Reversed(length, bytes);
    requests.Add(length, bytes);
    reply(length, answer.data(), context);
    return 0;
}

std::atomic<bool> may_answer = false;

int AnswerWhenItMay(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    requests.Add(length, bytes);
    EXPECT_TRUE(Eventually([] { return may_answer.load(); }));
    reply(0, nullptr, context);
    return 0;
}

int AnswerEmpty(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    requests.Add(length, bytes);
    reply(0, nullptr, context);
    return 0;
}

int AnswerTwice(int, unsigned char* bytes, void* context, busglue_reply reply) {
    reply(1, bytes, context);
    reply(0, nullptr, context);
    return 0;
}

int AnswerNothing(int length, unsigned char* bytes, void*, busglue_reply) {
    requests.Add(length, bytes);
    return 0;
}

int VanishInMidCall(int, unsigned char*, void*, busglue_reply) {
    _exit(0);
}

int Join(const char* name, const char* row, busglue_method_handler handler) {
    static busglue_signal_row signal_rows[2] = {{"ravelin.reset", TakeSignal}, {nullptr, nullptr}};
    static busglue_method_row method_rows[2] = {{nullptr, nullptr}, {nullptr, nullptr}};
    static busglue_descriptor descriptor = {signal_rows, method_rows};
    method_rows[0] = {row, handler};
    return dbs_connect_init(name, &descriptor);
}

int JoinAsDaemon(busglue_method_handler handler) {
    return Join("RAVELIN", "RAVELIN.Message", handler);
}

int JoinAsPeer(busglue_method_handler handler) {
    return Join("OCPP", "OCPP.Message", handler);
}

int Send(const char* destination, Bytes frame, busglue_send_reply reply) {
    std::string text = destination;
    busglue_send_record record = {static_cast<int>(frame.size()), frame.data(), text.data(), kFourth};
    int result = dbs_send_method_async(&record, reply);
    // The caller's memory is its own again, whatever the library still has to do.
    frame.assign(frame.size(), 0xEE);
    text.assign(text.size(), 'x');
    return result;
}

Bytes Pattern(int length, int seed = 0) {
    Bytes bytes(static_cast<size_t>(length));
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251 + static_cast<size_t>(seed));
    }
    return bytes;
}

/// A bus of its own, and peers on it.
class BusglueTest : public testing::Test {
  protected:
    void SetUp() override { StartBus(); }

    ~BusglueTest() override {
        for (pid_t peer : peers_) {
            kill(peer, SIGKILL);
            waitpid(peer, nullptr, 0);
        }
    }

    void StartBus() { ASSERT_TRUE(bus_.Start()); }
    void StopBus() { bus_.Stop(); }
    bool TurnOneAway() { return bus_.TurnOneAway(); }

    bool IsOwned(const std::string& name) { return bus_.IsOwned(name); }
    bool AwaitOwner(const std::string& name) {
        return Eventually([&] { return IsOwned(name); });
    }

    /// Runs `work` in a process of its own, whose exit status it returns. To be called before this process
    /// joins.
    pid_t StartPeer(const std::function<int()>& work) {
        pid_t peer = fork();
        if (peer == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);  // also when the test is killed
            _exit(work());
        }
        peers_.push_back(peer);
        return peer;
    }

    int WaitForPeer(pid_t peer) {
        int status = -1;
        waitpid(peer, &status, 0);
        peers_.erase(std::find(peers_.begin(), peers_.end(), peer));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// A peer of this name that works once the daemon's part is there.
    pid_t StartCaller(const std::string& name, const std::function<int()>& work) {
        return StartPeer([this, name, work] {
            if (Join(name.c_str(), "P.Message", AnswerEmpty) < 0) return 2;
            return AwaitOwner(kDaemonName) ? work() : 3;
        });
    }

    void ExpectGoodEnds(const std::vector<pid_t>& peers) {
        for (const pid_t peer : peers) EXPECT_EQ(WaitForPeer(peer), 0);
    }

    /// What dbus-send prints.
    std::string DbusSend(const std::string& words) {
        return OutputOf("dbus-send --bus=" + bus_.Address() + " " + words);
    }

    /// Hands a peer that serves StopThenAnswer its first frame. True: it has stopped.
    bool SendOneThatStops(pid_t peer) {
        return AwaitOwner(kPeerName) && Send("OCPP.Message", {0}, TakeReply) >= 0 &&
               Eventually([&] { return waitpid(peer, nullptr, WUNTRACED | WNOHANG) == peer; });
    }

    /// Sends frames that nobody answers, until there is no room for another; their number. The library's
    /// thread moves them on in its own time, so that a refusal isn't final before `limit` are taken.
    size_t SendUntilRefused(size_t limit) {
        size_t taken = 0;
        Eventually([&] {
            while (taken <= limit && Send("OCPP.Message", {1}, TakeReply) >= 0) ++taken;
            return taken >= limit;
        });
        return taken;
    }

    std::string CallByDbusSend(const std::string& argument) {
        return DbusSend("--print-reply --reply-timeout=" + std::to_string(milliseconds(kPatience).count()) +
                        " --dest=busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN.Message " + argument);
    }

    /// What a client that keeps to no rule prints, for the words of its command line after the address.
    std::string Stranger(const std::string& words) {
        return OutputOf("'" BUS_STRANGER "' " + bus_.Address() + " " + words);
    }

  private:
    static std::string OutputOf(const std::string& words) {
        FILE* pipe = popen((words + " 2>&1").c_str(), "r");
        std::string output;
        char piece[256];
        while (fgets(piece, sizeof piece, pipe) != nullptr) output += piece;
        pclose(pipe);
        return output;
    }

    PrivateBus bus_;
    std::vector<pid_t> peers_;
};

TEST_F(BusglueTest, NoBusIsNegative) {
    StopBus();
    EXPECT_LT(JoinAsDaemon(AnswerReversed), 0);
}

TEST_F(BusglueTest, NonsenseAddressIsNegative) {
    setenv("RAVELIN_BUS_ADDRESS", "nonsense", 1);
    EXPECT_LT(JoinAsDaemon(AnswerReversed), 0);
}

TEST_F(BusglueTest, FailedJoinCanBeRepeated) {
    StopBus();
    ASSERT_LT(JoinAsDaemon(AnswerReversed), 0);
    StartBus();
    EXPECT_GE(JoinAsDaemon(AnswerReversed), 0);
    EXPECT_LT(JoinAsDaemon(AnswerReversed), 0);  // but a process joins once
}

TEST_F(BusglueTest, JoinThatRunsOutOfDescriptorsCanBeRepeated) {
    rlimit limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    const int first_free = dup(STDERR_FILENO);
    close(first_free);
    std::string words;
    // The more it may open, the further it gets; the last it wants is what wakes its thread.
    for (int more = 1; more < 20; ++more) {
        const rlimit tight = {static_cast<rlim_t>(first_free + more), limit.rlim_max};
        testing::internal::CaptureStderr();  // takes one
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &tight));
        const int result = JoinAsDaemon(AnswerReversed);
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
        words = testing::internal::GetCapturedStderr();
        if (words.find("can't start the bus thread") != std::string::npos) {
            EXPECT_LT(result, 0);
            break;
        }
        ASSERT_LT(result, 0) << "it got all that it wanted";
    }
    EXPECT_EQ("busglue: can't start the bus thread: Too many open files\n", words);
    EXPECT_GE(JoinAsDaemon(AnswerReversed), 0);
}

TEST_F(BusglueTest, NamesThatCannotBeOwnedAreNegative) {
    std::string long_name(300, 'A');
    for (const char* name :
         {static_cast<const char*>(nullptr), "", "A.B", "1A", "A B", long_name.c_str(), "\xff"}) {
        EXPECT_LT(Join(name, "RAVELIN.Message", AnswerReversed), 0);
    }
}

TEST_F(BusglueTest, RowNamesThatCannotBeServedAreNegative) {
    for (const char* row : {"", "Message", ".Message", "RAVELIN.", "RAVELIN.a.b", "RAVELIN.1"}) {
        EXPECT_LT(Join("RAVELIN", row, AnswerReversed), 0) << row;
    }
}

TEST_F(BusglueTest, NothingToServeStillOwnsTheName) {
    EXPECT_GE(dbs_connect_init("RAVELIN", nullptr), 0);
    EXPECT_NE(DbusSend("--print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetNameOwner "
                       "string:busglue.RAVELIN")
                  .find("string \":"),
              std::string::npos);
}

TEST_F(BusglueTest, SecondOwnerOfANameIsNegative) {
    pid_t first = StartPeer([] {
        if (JoinAsDaemon(AnswerReversed) >= 0) pause();
        return 1;
    });
    ASSERT_TRUE(Eventually([&] { return CallByDbusSend("array:byte:1").find("01") != std::string::npos; }));
    EXPECT_LT(JoinAsDaemon(AnswerReversed), 0);
    kill(first, SIGKILL);
    WaitForPeer(first);
    EXPECT_TRUE(Eventually([] { return JoinAsDaemon(AnswerReversed) >= 0; }));
}

TEST_F(BusglueTest, StockClientIsAnsweredFromTheLibrarysThread) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    std::string output = CallByDbusSend("array:byte:0xFF,0x6A,0xA6,0x00");
    EXPECT_NE(output.find("array of bytes [\n      00 a6 6a ff\n   ]"), std::string::npos) << output;
    ASSERT_TRUE(requests.WaitFor(1));
    EXPECT_EQ(requests.All()[0], (Bytes{0xFF, 0x6A, 0xA6, 0x00}));
    EXPECT_NE(handler_thread.load(), std::this_thread::get_id());
}

TEST_F(BusglueTest, EmptyAnswerIsAnAnswer) {
    ASSERT_GE(JoinAsDaemon(AnswerEmpty), 0);
    std::string output = CallByDbusSend("array:byte:7");
    EXPECT_NE(output.find("array [\n   ]"), std::string::npos) << output;
}

TEST_F(BusglueTest, OnlyTheFirstAnswerCounts) {
    ASSERT_GE(JoinAsDaemon(AnswerTwice), 0);
    std::string output = CallByDbusSend("array:byte:7");
    EXPECT_NE(output.find("array of bytes [\n      07\n   ]"), std::string::npos) << output;
}

TEST_F(BusglueTest, HandlerWithoutAnswerIsTold) {
    ASSERT_GE(JoinAsDaemon(AnswerNothing), 0);
    EXPECT_NE(CallByDbusSend("array:byte:7").find("without an answer"), std::string::npos);
}

TEST_F(BusglueTest, CallsThatAreNotFramesAreRefused) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    EXPECT_NE(CallByDbusSend("string:hello").find("InvalidArgs"), std::string::npos);
    EXPECT_NE(CallByDbusSend("").find("InvalidArgs"), std::string::npos);
    EXPECT_NE(DbusSend("--print-reply --dest=busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN.Other")
                  .find("Unknown"),
              std::string::npos);
    EXPECT_NE(DbusSend("--print-reply --dest=busglue.RAVELIN /other busglue.RAVELIN.Message").find("Unknown"),
              std::string::npos);
    EXPECT_EQ(requests.Count(), 0u);
    EXPECT_NE(CallByDbusSend("array:byte:1,2").find("02 01"), std::string::npos);
}

TEST_F(BusglueTest, IntrospectionNamesTheMethod) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    std::string output = DbusSend(
        "--print-reply --dest=busglue.RAVELIN /busglue/RAVELIN "
        "org.freedesktop.DBus.Introspectable.Introspect");
    EXPECT_NE(output.find("<interface name=\"busglue.RAVELIN\">"), std::string::npos) << output;
    EXPECT_NE(output.find("<method name=\"Message\">"), std::string::npos) << output;
}

TEST_F(BusglueTest, SignalReachesItsRow) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    DbusSend("--type=signal /busglue/ravelin busglue.ravelin.reset array:byte:1,2,3");
    DbusSend("--type=signal /busglue/ravelin busglue.ravelin.other array:byte:9");
    DbusSend("--type=signal /busglue/ravelin busglue.ravelin.reset string:nonsense");
    DbusSend("--type=signal --dest=busglue.RAVELIN /busglue/ravelin busglue.ravelin.reset array:byte:4");
    ASSERT_TRUE(signals.WaitFor(2));
    EXPECT_EQ(signals.All(), (std::vector<Bytes>{{1, 2, 3}, {4}}));
}

TEST_F(BusglueTest, FramesOfEverySizeArriveWholeAndAreAnsweredWhole) {
    std::vector<pid_t> peers;
    const std::vector<int> lengths = {0, 1, 11, 1024, 4096, kLargestFrame};
    for (int length : lengths) {
        peers.push_back(StartCaller("P" + std::to_string(length), [length] {
            const Bytes frame = Pattern(length);
            const bool is_answered = Send("RAVELIN.Message", frame, TakeReply) >= 0 && replies.WaitFor(1);
            return is_answered && replies.All()[0] == Reversed(length, frame.data()) ? 0 : 4;
        }));
    }
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ExpectGoodEnds(peers);
    for (const Bytes& frame : requests.All()) {
        EXPECT_EQ(frame, Pattern(static_cast<int>(frame.size())));
    }
}

TEST_F(BusglueTest, SentRecordIsCopiedAndThePeersReplyComesBack) {
    StartPeer([] { return JoinAsPeer(AnswerReversed) < 0 ? 1 : pause(); });
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    Bytes frame = Pattern(kLargestFrame);
    ASSERT_TRUE(AwaitOwner(kPeerName));
    EXPECT_GE(Send("OCPP.Message", frame, TakeReply), 0);
    ASSERT_TRUE(replies.WaitFor(1));
    EXPECT_EQ(replies.All()[0], Reversed(kLargestFrame, frame.data()));
}

TEST_F(BusglueTest, NoReplyComesFromAPeerThatIsAbsentOrVanishes) {
    const pid_t peer = StartPeer([] { return JoinAsPeer(VanishInMidCall) < 0 ? 1 : pause(); });
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ASSERT_TRUE(AwaitOwner(kPeerName));
    EXPECT_GE(Send("NOBODY.Message", {1}, TakeReply), 0);
    EXPECT_GE(Send("OCPP.Message", {1}, TakeReply), 0);
    EXPECT_GE(Send("OCPP.Message", {1}, nullptr), 0);  // a sender may not care
    EXPECT_EQ(WaitForPeer(peer), 0);
    EXPECT_TRUE(Eventually([&] { return !IsOwned(kPeerName); }));
    // By now the bus has reported that neither will answer; the next call comes after that.
    EXPECT_NE(CallByDbusSend("array:byte:1,2").find("02 01"), std::string::npos);
    EXPECT_EQ(replies.Count(), 0u);
}

/// Answers nothing for as long as it is stopped.
int StopThenAnswer(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    static bool has_stopped = false;
    if (!has_stopped) raise(SIGSTOP);
    has_stopped = true;
    return AnswerReversed(length, bytes, context, reply);
}

TEST_F(BusglueTest, RecordsQueueUpToALimitBehindASilentPeer) {
    const pid_t peer = StartPeer([] { return JoinAsPeer(StopThenAnswer) < 0 ? 1 : pause(); });
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ASSERT_TRUE(SendOneThatStops(peer));
    constexpr size_t kLimit = kOnTheirWay + kWaiting - 1;  // one is on its way already
    EXPECT_EQ(SendUntilRefused(kLimit), kLimit);
    kill(peer, SIGCONT);
    EXPECT_TRUE(replies.WaitFor(kLimit + 1)) << replies.Count();
}

TEST_F(BusglueTest, RepliesThatNeverComeMakeRoomAfterTheirTime) {
    const pid_t peer = StartPeer([] { return JoinAsPeer(StopThenAnswer) < 0 ? 1 : pause(); });
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ASSERT_TRUE(SendOneThatStops(peer));
    SendUntilRefused(kOnTheirWay + kWaiting - 1);
    // There is room again once the library has given up the first ones, after 25 seconds.
    const Bytes last = {2};
    EXPECT_TRUE(Eventually([&last] { return Send("OCPP.Message", last, TakeReply) >= 0; }));
    EXPECT_EQ(replies.Count(), 0U);
    kill(peer, SIGCONT);
    EXPECT_TRUE(Eventually([&last] { return replies.Has(last); }));
    EXPECT_FALSE(replies.Has({0})) << "a reply that comes after its time is thrown away";
}

TEST_F(BusglueTest, CallersThatVanishBeforeTheirAnswerAreHarmless) {
    std::vector<pid_t> peers;
    for (int number = 0; number < 4; ++number) {
        peers.push_back(StartCaller("P" + std::to_string(number), [] {
            for (int i = 0; i < 50; ++i) Send("RAVELIN.Message", Pattern(kLargestFrame), TakeReply);
            return replies.WaitFor(1) ? 0 : 4;  // and goes, with the others on their way
        }));
    }
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ExpectGoodEnds(peers);
    EXPECT_NE(CallByDbusSend("array:byte:1,2").find("02 01"), std::string::npos);
}

TEST_F(BusglueTest, RecordsThatCannotBeSentAreNegative) {
    EXPECT_LT(Send("OCPP.Message", {1}, TakeReply), 0);  // not on the bus yet
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    EXPECT_LT(dbs_send_method_async(nullptr, TakeReply), 0);
    unsigned char byte = 1;
    char destination[] = "OCPP.Message";
    char nonsense[] = "OCPP..Message";
    for (busglue_send_record record :
         {busglue_send_record{-1, &byte, destination, kFourth},
          busglue_send_record{1, nullptr, destination, kFourth},
          busglue_send_record{1, &byte, nullptr, kFourth}, busglue_send_record{1, &byte, nonsense, kFourth},
          busglue_send_record{0x7fffffff, &byte, destination, kFourth}}) {
        EXPECT_LT(dbs_send_method_async(&record, TakeReply), 0);
    }
}

TEST_F(BusglueTest, BusThatGoesAwayIsJoinedAgain) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    StopBus();
    EXPECT_TRUE(Eventually([] { return Send("OCPP.Message", {1}, TakeReply) < 0; }));
    EXPECT_TRUE(TurnOneAway());  // an attempt that fails
    StartBus();
    EXPECT_TRUE(
        Eventually([&] { return CallByDbusSend("array:byte:1,2").find("02 01") != std::string::npos; }));
    DbusSend("--type=signal /busglue/ravelin busglue.ravelin.reset array:byte:5");
    EXPECT_TRUE(signals.WaitFor(1));
    EXPECT_GE(Send("OCPP.Message", {1}, TakeReply), 0);
}

// It is the answer that finds out; no record is sent that would wake the library.
TEST_F(BusglueTest, BusThatGoesAwayWhileAHandlerWorksIsJoinedAgain) {
    ASSERT_GE(JoinAsDaemon(AnswerWhenItMay), 0);
    std::thread caller([this] { CallByDbusSend("array:byte:1"); });
    EXPECT_TRUE(requests.WaitFor(1));
    StopBus();
    caller.join();
    may_answer = true;
    StartBus();
    EXPECT_TRUE(AwaitOwner(kDaemonName));
}

constexpr char kStrangersCall[] = "call busglue.RAVELIN /busglue/RAVELIN busglue.RAVELIN Message ";

TEST_F(BusglueTest, FrameThatIsOneByteTooLongStillGetsToItsHandler) {
    ASSERT_GE(JoinAsDaemon(AnswerEmpty), 0);
    const std::string size = std::to_string(kLargestFrame + 1);
    EXPECT_EQ(Stranger(kStrangersCall + ("size=" + size)), "answered, 0 bytes: \n");
    ASSERT_EQ(requests.Count(), 1U);
    EXPECT_EQ(requests.All()[0], Bytes(kLargestFrame + 1));
}

TEST_F(BusglueTest, MessageThatNoFrameNeedsEndsTheConnectionForAMoment) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    size_t answered = 0;
    for (const char* words : {"size=32768", "size=30000000"}) {
        EXPECT_EQ(Stranger(std::string(kStrangersCall) + words),
                  "refused: org.freedesktop.DBus.Error.NoReply\n");
        EXPECT_EQ(requests.Count(), answered) << words;
        EXPECT_TRUE(
            Eventually([&] { return CallByDbusSend("array:byte:1,2").find("02 01") != std::string::npos; }));
        answered = requests.Count();
    }
    Stranger("signal - /busglue/ravelin busglue.ravelin reset size=30000000");
    EXPECT_TRUE(Eventually([&] {
        DbusSend("--type=signal /busglue/ravelin busglue.ravelin.reset array:byte:5");
        return signals.Count() > 0;
    }));
    EXPECT_EQ(signals.All()[0], Bytes{5});
}

TEST_F(BusglueTest, FourPeersAtOnceAreAllAnswered) {
    constexpr int kPeers = 4;
    constexpr size_t kRequests = 2500;
    std::vector<pid_t> peers;
    for (int number = 0; number < kPeers; ++number) {
        peers.push_back(StartCaller("P" + std::to_string(number), [] {
            for (size_t i = 0; i < kRequests; ++i) {
                while (Send("RAVELIN.Message", Pattern(64, static_cast<int>(i)), TakeReply) < 0) {
                    std::this_thread::sleep_for(milliseconds(1));
                }
            }
            return replies.WaitFor(kRequests) ? 0 : 4;
        }));
    }
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    ExpectGoodEnds(peers);
}

TEST_F(BusglueTest, SignalsOfTheProcessKeepTheirDefaultAction) {
    ASSERT_GE(JoinAsDaemon(AnswerReversed), 0);
    for (int number : {SIGPIPE, SIGTERM, SIGINT, SIGCHLD}) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        EXPECT_EQ(action.sa_handler, SIG_DFL) << number;
    }
}

// The first of its kind, since the library remembers that there was a syslog.
TEST(LogSend, WaitsForASyslogToBeThereAndThenGivesItEveryLine) {
    has_log_socket = false;
    log_send("nobody listens");
    log_send("nobody listens yet");
    EXPECT_EQ(log_lines, std::vector<std::string>{});
    has_log_socket = true;
    log_send("first");
    has_log_socket = false;  // its name is gone, and the connection may be there
    log_send("second");
    EXPECT_EQ(log_lines, (std::vector<std::string>{"first", "second"}));
    has_log_socket = true;
    log_lines.clear();
}

TEST(LogSend, HandsTheTextToSyslogFromAnyThreadAlsoBeforeJoining) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([] { log_send("100 %s %n done"); });
    }
    for (std::thread& thread : threads) thread.join();
    log_send(nullptr);
    log_send("");
    const std::string line = "100 %s %n done";
    EXPECT_EQ(log_lines, (std::vector<std::string>{line, line, line, line, ""}));
}

}  // namespace

// And this, so that there is a syslog or none whatever the machine has.
extern "C" int access(const char* path, int mode) noexcept {
    if (strcmp(path, "/dev/log") != 0) return faccessat(AT_FDCWD, path, mode, 0);
    if (has_log_socket) return 0;
    errno = ENOENT;
    return -1;
}

__attribute__((format(printf, 1, 0))) static void KeepLine(const char* format, va_list arguments) {
    char line[2048];
    vsnprintf(line, sizeof line, format, arguments);
    std::lock_guard<std::mutex> lock(log_mutex);
    log_lines.push_back(line);
}

// These take the place of libc's for the library as well, so that no line of a test reaches the machine's
// log. A fortified library calls the second.
extern "C" void syslog(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    KeepLine(format, arguments);
    va_end(arguments);
}

extern "C" __attribute__((format(printf, 3, 4))) void __syslog_chk(int, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    KeepLine(format, arguments);
    va_end(arguments);
}
