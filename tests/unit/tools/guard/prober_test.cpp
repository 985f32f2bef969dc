// Probes over the board's own loopback: hosts that answer, refuse, hang, lie and talk without end.
#include "tools/guard/prober.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/guard/packet.h"

namespace {

using guard::Probe;
using guard::ProbeKind;
using guard::Prober;
using guard::ProbeVerdict;

constexpr char kOwn[] = "127.0.0.1";  // from which the board sends
// Another machine, for all that the board knows; of this process alone, so that several may run at a time.
const std::string kHost =
    "127.1." + std::to_string(getpid() >> 8 & 0xFF) + "." + std::to_string(getpid() & 0xFF);
constexpr uint16_t kDnsPort = 53;
constexpr int kPatience_ms = 5000;

/// The loopback has no routes in the table that counts.
bool AnyRoute(const std::string&, uint32_t) {
    return true;
}

bool NoRoute(const std::string&, uint32_t) {
    return false;
}

/// A socket of the host, at any port unless one is named; -1 where this user can't have it.
class Host {
  public:
    explicit Host(int type, uint16_t port = 0)
        : fd_(socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_in here = {};
        here.sin_family = AF_INET;
        here.sin_port = htons(port);
        here.sin_addr.s_addr = inet_addr(kHost.c_str());
        socklen_t length = sizeof here;
        if (bind(fd_, reinterpret_cast<const sockaddr*>(&here), length) != 0) {
            close(fd_);
            fd_ = -1;
            return;
        }
        getsockname(fd_, reinterpret_cast<sockaddr*>(&here), &length);
        port_ = ntohs(here.sin_port);
    }
    ~Host() { Close(); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Close() {
        if (fd_ >= 0) close(fd_);
        fd_ = -1;
    }
    int fd() const { return fd_; }
    uint16_t port() const { return port_; }

    /// The question that has come, and who asked it.
    std::string Take(sockaddr_in* client) const {
        pollfd waited = {fd_, POLLIN, 0};
        if (poll(&waited, 1, kPatience_ms) != 1) return "";
        char bytes[512];
        socklen_t length = sizeof *client;
        const ssize_t count =
            recvfrom(fd_, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(client), &length);
        return {bytes, count > 0 ? static_cast<size_t>(count) : 0};
    }
    void Give(const std::string& bytes, const sockaddr_in& client) const {
        sendto(fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&client), sizeof client);
    }

  private:
    int fd_;
    uint16_t port_ = 0;
};

Probe ProbeOf(ProbeKind kind, uint16_t port = 0) {
    Probe probe;
    probe.kind = kind;
    probe.host = inet_addr(kHost.c_str());
    probe.port = port;
    if (kind == ProbeKind::kDns) probe.name = "a.example";
    return probe;
}

/// Looks until all have answered, for no longer than that takes at worst.
bool Await(Prober* prober) {
    for (int waited_ms = 0; waited_ms < kPatience_ms; waited_ms += 10) {
        if (prober->Look()) return true;
        poll(nullptr, 0, 10);
    }
    return false;
}

std::string AnswerTo(const std::string& question, const std::string& address) {
    std::string answer = question;
    answer[2] = '\x81';
    answer[7] = 1;
    return answer + std::string("\xC0\x0C\0\1\0\1\0\0\0\x3C\0\4", 12) + address;
}

TEST(Prober, APortThatTakesOrRefusesIsAnAnswer) {
    Host host(SOCK_STREAM);
    ASSERT_GE(host.fd(), 0);
    Prober prober(AnyRoute);
    prober.Send("lo", {ProbeOf(ProbeKind::kTcp, host.port())});
    ASSERT_TRUE(Await(&prober)) << "nobody listens";
    EXPECT_EQ(prober.Take().results[0].verdict, ProbeVerdict::kAnswered);
    ASSERT_EQ(listen(host.fd(), 1), 0);
    Probe second = ProbeOf(ProbeKind::kTcp, host.port());
    second.number = 1;
    prober.Send("lo", {ProbeOf(ProbeKind::kTcp, host.port()), second});
    ASSERT_TRUE(Await(&prober));
    const guard::Round round = prober.Take();
    ASSERT_EQ(round.results.size(), 2U);
    EXPECT_EQ(round.results[1].verdict, ProbeVerdict::kAnswered);
    EXPECT_EQ(round.results[1].number, 1);
    EXPECT_GT(prober.sent_bytes(), 0);
    EXPECT_GT(prober.received_bytes(), 0);
    EXPECT_FALSE(prober.is_open());
}

TEST(Prober, APortThatTakesAndEndsAtOnceIsAnAnswer) {
    Host host(SOCK_STREAM);
    ASSERT_EQ(listen(host.fd(), 1), 0);
    Prober prober(AnyRoute);
    prober.Send("lo", {ProbeOf(ProbeKind::kTcp, host.port())});
    pollfd waited = {host.fd(), POLLIN, 0};
    ASSERT_EQ(poll(&waited, 1, kPatience_ms), 1);
    const int connection = accept(host.fd(), nullptr, nullptr);
    constexpr linger kByReset = {1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &kByReset, sizeof kByReset);
    close(connection);
    ASSERT_TRUE(Await(&prober));
    EXPECT_EQ(prober.Take().results[0].verdict, ProbeVerdict::kAnswered);
}

TEST(Prober, APingIsAnswered) {
    Prober prober(AnyRoute);
    prober.Send("lo", {ProbeOf(ProbeKind::kIcmp)});
    ASSERT_TRUE(Await(&prober));
    const ProbeVerdict verdict = prober.Take().results[0].verdict;
    // Where this user may send none, that is the board's own fault and says nothing.
    if (prober.problem().empty()) {
        EXPECT_EQ(verdict, ProbeVerdict::kAnswered);
        EXPECT_GE(prober.received_bytes(), 28) << "a raw socket of a loopback hears its own request too";
        EXPECT_EQ(prober.sent_bytes(), 28);
    } else {
        EXPECT_EQ(verdict, ProbeVerdict::kNotRun);
    }
}

TEST(Prober, WithoutTheInterfaceNothingIsRun) {
    Prober prober(AnyRoute);
    prober.Send("none0", {ProbeOf(ProbeKind::kTcp, 1), ProbeOf(ProbeKind::kDns)});
    EXPECT_TRUE(prober.Look());
    for (const guard::ProbeResult& result : prober.Take().results) {
        EXPECT_EQ(result.verdict, ProbeVerdict::kNotRun);
    }
    EXPECT_NE(prober.problem().find("not bound to none0: No such device"), std::string::npos);
    EXPECT_EQ(prober.sent_bytes(), 0);
}

TEST(Prober, WithoutARouteNothingIsRun) {
    Prober prober(NoRoute);
    prober.Send("lo", {ProbeOf(ProbeKind::kTcp, 1), ProbeOf(ProbeKind::kDns)});
    EXPECT_TRUE(prober.Look());
    for (const guard::ProbeResult& result : prober.Take().results) {
        EXPECT_EQ(result.verdict, ProbeVerdict::kNotRun) << "it says nothing of the link";
    }
    EXPECT_EQ(prober.problem(), "DNS: no route over lo to " + kHost);
    EXPECT_EQ(prober.sent_bytes(), 0);
    // The real table leads nowhere over a loopback.
    Prober real;
    real.Send("lo", {ProbeOf(ProbeKind::kTcp, 1)});
    EXPECT_EQ(real.Take().results[0].verdict, ProbeVerdict::kNotRun);
}

TEST(Prober, TheBoardItselfIsNobodyToProbe) {
    Prober prober(AnyRoute);
    for (const Probe& probe : {ProbeOf(ProbeKind::kTcp, 1), ProbeOf(ProbeKind::kDns)}) {
        Probe own = probe;
        own.host = inet_addr(kOwn);
        prober.Send("lo", {own});
        EXPECT_TRUE(prober.Look());
        EXPECT_EQ(prober.Take().results[0].verdict, ProbeVerdict::kNotRun);
        EXPECT_NE(prober.problem().find("127.0.0.1 is the board's own address"), std::string::npos);
        EXPECT_EQ(prober.sent_bytes(), 0);
    }
}

/// Runs `checks` in a process with a network of its own, whose loopback is down. False: this user can't have
/// one.
bool InOwnNetwork(void (*checks)()) {
    constexpr int kNone = 77;
    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) _exit(kNone);
        checks();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (WEXITSTATUS(status) == kNone) return false;
    EXPECT_EQ(status, 0);
    return true;
}

TEST(Prober, NoAddressIsNoAnswer) {
    const bool has_run = InOwnNetwork([] {
        Prober prober(NoRoute);
        prober.Send("lo", {ProbeOf(ProbeKind::kTcp, 1), ProbeOf(ProbeKind::kDns)});
        EXPECT_TRUE(prober.Look());
        for (const guard::ProbeResult& result : prober.Take().results) {
            EXPECT_EQ(result.verdict, ProbeVerdict::kNoRoute) << "a lease that never came";
        }
        EXPECT_EQ(prober.problem(), "");
    });
    if (!has_run) GTEST_SKIP() << "this user can't have a network of his own";
}

/// Whether the file took all of it.
bool WriteFile(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    const bool is_done = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return is_done;
}

/// Switches the loopback on, with a kernel that answers no pings, and lets everybody send them.
bool SetUpForPings() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    strncpy(request.ifr_name, "lo", sizeof request.ifr_name - 1);
    request.ifr_flags = IFF_UP;
    const bool is_up = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return is_up && WriteFile("/proc/sys/net/ipv4/icmp_echo_ignore_all", "1") &&
           WriteFile("/proc/sys/net/ipv4/ping_group_range", "0 0");
}

void ReplyFrom(const char* host, std::string packet) {
    const int fd = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    address.sin_addr.s_addr = inet_addr(kOwn);
    // From a request to a reply: the type is 0, and the sum greater by what that takes away.
    constexpr uint16_t kRequest = 0x0800;
    const uint32_t sum =
        static_cast<uint32_t>(static_cast<uint8_t>(packet[2]) << 8 | static_cast<uint8_t>(packet[3])) +
        kRequest;
    const uint32_t folded = (sum & 0xFFFF) + (sum >> 16);
    packet[0] = 0;
    packet[2] = static_cast<char>(folded >> 8);
    packet[3] = static_cast<char>(folded & 0xFF);
    EXPECT_EQ(sendto(fd, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                     sizeof address),
              static_cast<ssize_t>(packet.size()));
    close(fd);
}

TEST(Prober, AReplyOfSomebodyElseIsNone) {
    const bool has_run = InOwnNetwork([] {
        if (!SetUpForPings()) _exit(77);
        const int ear = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
        Prober prober(AnyRoute);
        prober.Send("lo", {ProbeOf(ProbeKind::kIcmp)});
        pollfd waited = {ear, POLLIN, 0};
        ASSERT_EQ(poll(&waited, 1, kPatience_ms), 1);
        char bytes[100];
        constexpr ssize_t kIpHeader_bytes = 20, kEcho_bytes = 8;
        ASSERT_EQ(recv(ear, bytes, sizeof bytes, 0), kIpHeader_bytes + kEcho_bytes);
        const std::string request(bytes + kIpHeader_bytes, kEcho_bytes);
        ReplyFrom("127.0.0.3", request);
        for (int i = 0; i < 20; ++i) {
            EXPECT_FALSE(prober.Look());
            poll(nullptr, 0, 5);
        }
        EXPECT_GT(prober.received_bytes(), 0) << "it came in, and is no traffic of others either";
        ReplyFrom(kHost.c_str(), request);
        EXPECT_TRUE(Await(&prober));
        EXPECT_EQ(prober.Take().results[0].verdict, ProbeVerdict::kAnswered);
    });
    if (!has_run) GTEST_SKIP() << "this user can't have a network of his own";
}

class ProberDns : public testing::Test {
  protected:
    void SetUp() override {
        if (host.fd() < 0) GTEST_SKIP() << "the port of name servers isn't to be had";
        prober.Send("lo", {ProbeOf(ProbeKind::kDns)});
        question = host.Take(&client);
        ASSERT_GT(question.size(), 12U);
    }
    ProbeVerdict Verdict() { return prober.Take().results[0].verdict; }

    Host host{SOCK_DGRAM, kDnsPort};
    Prober prober{AnyRoute};
    sockaddr_in client = {};
    std::string question;
};

TEST_F(ProberDns, ANameServerThatHangsIsNotWaitedFor) {
    for (int i = 0; i < 10; ++i) EXPECT_FALSE(prober.Look());
    EXPECT_EQ(Verdict(), ProbeVerdict::kSilent);
    EXPECT_EQ(prober.received_bytes(), 0);
}

TEST_F(ProberDns, AnAnswer) {
    host.Give(AnswerTo(question, "\x08\x08\x04\x04"), client);
    ASSERT_TRUE(Await(&prober));
    EXPECT_EQ(Verdict(), ProbeVerdict::kAnswered);
    EXPECT_EQ(prober.received_bytes(), static_cast<int64_t>(question.size()) + 16 + 28);
}

TEST_F(ProberDns, AnAnswerOfAPortal) {
    host.Give(AnswerTo(question, "\x0A\x01\x01\x01"), client);
    ASSERT_TRUE(Await(&prober));
    EXPECT_EQ(Verdict(), ProbeVerdict::kCaptive);
}

TEST_F(ProberDns, AnAnswerToAnotherQuestionIsNone) {
    std::string other = AnswerTo(question, "\x08\x08\x04\x04");
    other[0] = static_cast<char>(other[0] + 1);
    host.Give(other, client);
    host.Give("x", client);
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(prober.Look());
        poll(nullptr, 0, 5);
    }
    EXPECT_EQ(Verdict(), ProbeVerdict::kSilent);
    EXPECT_GT(prober.received_bytes(), 0) << "and yet it came in";
}

TEST_F(ProberDns, AHostThatTalksWithoutEndIsHeardAWhile) {
    const std::string noise(100, 'x');
    // More than are heard in one look.
    for (int i = 0; i < 200; ++i) host.Give(noise, client);
    poll(nullptr, 0, 100);
    EXPECT_FALSE(prober.Look());
    EXPECT_LE(prober.received_bytes(), 64 * 128);
    EXPECT_GT(prober.received_bytes(), 0);
}

TEST_F(ProberDns, AServerThatIsNotThereRefuses) {
    prober.Take();
    host.Close();
    prober.Send("lo", {ProbeOf(ProbeKind::kDns)});
    ASSERT_TRUE(Await(&prober));
    EXPECT_EQ(Verdict(), ProbeVerdict::kAnswered) << "who refuses is there";
}

TEST_F(ProberDns, ANewRoundGivesTheOldOneUp) {
    prober.Send("lo", {ProbeOf(ProbeKind::kDns), ProbeOf(ProbeKind::kDns)});
    EXPECT_EQ(prober.Take().results.size(), 2U);
}

}  // namespace
