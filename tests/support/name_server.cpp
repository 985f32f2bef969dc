// name_server HOST ADDRESS: a name server at HOST that knows one address for every name. An honest one, or,
// with a private address, that of a portal. Until it is killed.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

constexpr uint16_t kPort = 53;
constexpr size_t kHeader_bytes = 12;

/// The question again, and one record that points back at its name.
std::string AnswerTo(const std::string& question, const in_addr& address) {
    std::string answer = question;
    answer[2] = static_cast<char>(0x81);
    answer[3] = static_cast<char>(0x80);
    answer[7] = 1;
    answer += std::string("\xC0\x0C\0\1\0\1\0\0\0\x3C\0\4", 12);
    return answer.append(reinterpret_cast<const char*>(&address), sizeof address);
}

}  // namespace

int main(int argc, char** argv) {
    in_addr address = {};
    sockaddr_in here = {};
    if (argc != 3 || inet_pton(AF_INET, argv[1], &here.sin_addr) != 1 ||
        inet_pton(AF_INET, argv[2], &address) != 1) {
        return 2;
    }
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    here.sin_family = AF_INET;
    here.sin_port = htons(kPort);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&here), sizeof here) != 0) {
        perror("name_server");
        return 1;
    }
    for (;;) {
        char bytes[512];
        sockaddr_in client = {};
        socklen_t length = sizeof client;
        const ssize_t count =
            recvfrom(fd, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&client), &length);
        if (count < static_cast<ssize_t>(kHeader_bytes)) continue;
        const std::string answer = AnswerTo(std::string(bytes, static_cast<size_t>(count)), address);
        sendto(fd, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&client), length);
    }
}
