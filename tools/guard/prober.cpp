#include "tools/guard/prober.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/guard/packet.h"

namespace guard {

namespace {

constexpr uint16_t kDnsPort = 53;
constexpr int kMostSyns = 2;  // repeated: at 0, 1 and 3 s
constexpr int64_t kUdpHeaders_bytes = 28;
constexpr int64_t kIpHeader_bytes = 20;
constexpr int64_t kTcpOut_bytes = 60 + 52 + 40;  // SYN, ACK, RST
constexpr int64_t kTcpIn_bytes = 60;             // SYN and ACK
constexpr int64_t kRefusal_bytes = 56;           // what a router says, and the headers that it repeats
constexpr size_t kMostAnswer_bytes = 1500;
constexpr int kMostPackets = 64;  // in one look

bool IsOfNetwork(int error) {
    return error == ENETUNREACH || error == EHOSTUNREACH || error == EADDRNOTAVAIL || error == ENETDOWN;
}

std::string Text(uint32_t address) {
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof text);
    return static_cast<const char*>(text);
}

bool IsLinkLocal(const in_addr& address) {
    constexpr uint32_t kNetwork = 0xA9FE0000, kMask = 0xFFFF0000;  // 169.254.0.0/16
    return (ntohl(address.s_addr) & kMask) == kNetwork;
}

int OpenSocket(ProbeKind kind, bool* is_raw) {
    constexpr int kFlags = SOCK_NONBLOCK | SOCK_CLOEXEC;
    if (kind == ProbeKind::kTcp) return socket(AF_INET, SOCK_STREAM | kFlags, 0);
    if (kind == ProbeKind::kDns) return socket(AF_INET, SOCK_DGRAM | kFlags, 0);
    const int fd = socket(AF_INET, SOCK_DGRAM | kFlags, IPPROTO_ICMP);
    if (fd >= 0) return fd;
    *is_raw = true;
    return socket(AF_INET, SOCK_RAW | kFlags, IPPROTO_ICMP);
}

}  // namespace

void Prober::Close() {
    for (const Open& open : open_) {
        if (open.fd >= 0) close(open.fd);
    }
    open_.clear();
}

void Prober::Fail(Open* open, int error, const std::string& what) {
    open->is_over = true;
    open->verdict = IsOfNetwork(error) ? ProbeVerdict::kNoRoute : ProbeVerdict::kNotRun;
    if (open->verdict == ProbeVerdict::kNotRun) {
        problem_ = std::string(NameOf(open->probe.kind)) + ": " + what;
        if (error != 0) problem_ += std::string(": ") + strerror(error);
    }
}

/// Over this interface and no other. False: it can't be, or there is no sense in it.
bool Prober::BindTo(const std::string& interface, Open* open) {
    const socklen_t length = static_cast<socklen_t>(interface.size() + 1);
    ifreq request = {};
    interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
    const bool is_bound = setsockopt(open->fd, SOL_SOCKET, SO_BINDTODEVICE, interface.c_str(), length) == 0;
    if (!is_bound || ioctl(open->fd, SIOCGIFADDR, &request) != 0) {
        Fail(open, errno, "not bound to " + interface);
        return false;
    }
    sockaddr_in own = {};
    memcpy(&own, &request.ifr_addr, sizeof own);
    if (IsLinkLocal(own.sin_addr)) {
        Fail(open, EADDRNOTAVAIL, "");  // one that a DHCP client makes up where no lease comes
        return false;
    }
    // Without a route the kernel takes the host for a neighbour, which never answers. Who took the route
    // away, for another interface perhaps, wants no reset of this one.
    if (!has_route_(interface, open->probe.host)) {
        Fail(open, 0, "no route over " + interface + " to " + Text(open->probe.host));
        return false;
    }
    return true;
}

/// So that only this host is heard, and a refusal too. False: it can't be.
bool Prober::ConnectTo(Open* open) {
    const Probe& probe = open->probe;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = probe.host;
    address.sin_port = htons(probe.kind == ProbeKind::kTcp   ? probe.port
                             : probe.kind == ProbeKind::kDns ? kDnsPort
                                                             : 0);
    if (connect(open->fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
        errno != EINPROGRESS) {
        Fail(open, errno, "not connected");
        return false;
    }
    socklen_t length = sizeof address;
    if (getsockname(open->fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
        address.sin_addr.s_addr == probe.host) {
        Fail(open, 0, Text(probe.host) + " is the board's own address");
        return false;
    }
    return true;
}

void Prober::SendOne(const std::string& interface, Open* open) {
    const Probe& probe = open->probe;
    open->fd = OpenSocket(probe.kind, &open->is_raw);
    if (open->fd < 0) return Fail(open, errno, "no socket");
    if (!BindTo(interface, open)) return;
    if (probe.kind == ProbeKind::kTcp) {
        setsockopt(open->fd, IPPROTO_TCP, TCP_SYNCNT, &kMostSyns, sizeof kMostSyns);
        // A reset ends it, with one packet and nothing to wait for.
        constexpr linger kAtOnce = {1, 0};
        setsockopt(open->fd, SOL_SOCKET, SO_LINGER, &kAtOnce, sizeof kAtOnce);
    } else if (probe.kind == ProbeKind::kDns) {
        open->question = DnsQuestion(open->number, probe.name);
    } else {
        open->question = EchoRequest(static_cast<uint16_t>(getpid()), open->number);
    }
    // A router on the way may know that it is none: that is said to the socket too.
    constexpr int kYes = 1;
    setsockopt(open->fd, IPPROTO_IP, IP_RECVERR, &kYes, sizeof kYes);
    if (!ConnectTo(open)) return;
    if (probe.kind == ProbeKind::kTcp) {
        sent_bytes_ += kTcpOut_bytes;
        return;
    }
    if (send(open->fd, open->question.data(), open->question.size(), MSG_NOSIGNAL) < 0) {
        return Fail(open, errno, "not sent");
    }
    sent_bytes_ += static_cast<int64_t>(open->question.size()) +
                   (probe.kind == ProbeKind::kDns ? kUdpHeaders_bytes : kIpHeader_bytes);
}

void Prober::Send(const std::string& interface, const std::vector<Probe>& probes) {
    Close();
    problem_.clear();
    // Nobody far away may know the number of the next question.
    if (getrandom(&next_number_, sizeof next_number_, GRND_NONBLOCK) < 0) ++next_number_;
    for (const Probe& probe : probes) {
        Open open;
        open.probe = probe;
        open.number = next_number_++;
        open_.push_back(open);
        SendOne(interface, &open_.back());
    }
}

void Prober::Refused(Open* open, int error) {
    open->is_over = true;
    received_bytes_ += kRefusal_bytes + static_cast<int64_t>(open->question.size());
    // The host itself says that nobody listens there; others say that they don't know the way to it.
    open->verdict = error == ECONNREFUSED ? ProbeVerdict::kAnswered : ProbeVerdict::kNoRoute;
}

void Prober::LookAtTcp(Open* open) {
    pollfd waited = {open->fd, POLLOUT, 0};
    if (poll(&waited, 1, 0) != 1) return;
    int error = 0;
    socklen_t length = sizeof error;
    getsockopt(open->fd, SOL_SOCKET, SO_ERROR, &error, &length);
    open->is_over = true;
    if (error == ETIMEDOUT) return;
    // Whoever refuses, or takes the connection and ends it at once, is there.
    if (error != 0 && error != ECONNREFUSED && error != ECONNRESET) return Refused(open, error);
    open->verdict = ProbeVerdict::kAnswered;
    received_bytes_ += kTcpIn_bytes;
}

void Prober::LookAt(Open* open) {
    if (open->probe.kind == ProbeKind::kTcp) return LookAtTcp(open);
    char bytes[kMostAnswer_bytes];
    // Somebody may send faster than anybody reads.
    for (int i = 0; i < kMostPackets && !open->is_over; ++i) {
        sockaddr_in sender = {};
        socklen_t length = sizeof sender;
        const ssize_t count =
            recvfrom(open->fd, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&sender), &length);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count < 0) return Refused(open, errno);
        const bool is_dns = open->probe.kind == ProbeKind::kDns;
        const int64_t headers_bytes = is_dns ? kUdpHeaders_bytes : open->is_raw ? 0 : kIpHeader_bytes;
        received_bytes_ += count + headers_bytes;
        // A socket for pings hears replies of others too, connected or not.
        if (sender.sin_addr.s_addr != open->probe.host) continue;
        const std::string_view answer(bytes, static_cast<size_t>(count));
        if (is_dns) {
            open->verdict = JudgeDns(answer, open->question, open->probe.expected);
            open->is_over = open->verdict != ProbeVerdict::kSilent;
        } else if (IsEchoReply(answer, open->is_raw, static_cast<uint16_t>(getpid()), open->number)) {
            open->verdict = ProbeVerdict::kAnswered;
            open->is_over = true;
        }
    }
}

bool Prober::Look() {
    bool is_over = true;
    for (Open& open : open_) {
        if (!open.is_over) LookAt(&open);
        is_over = is_over && open.is_over;
    }
    return is_over;
}

Round Prober::Take() {
    Round round;
    for (const Open& open : open_) {
        round.results.push_back({open.probe.kind, open.probe.host, open.probe.number, open.verdict});
    }
    Close();
    return round;
}

}  // namespace guard
