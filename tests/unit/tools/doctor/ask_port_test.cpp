// AT on a pseudo terminal, with somebody or nobody at its other end.
#include "tools/doctor/ask_port.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

namespace doctor {
namespace {

class AskPort : public testing::Test {
  protected:
    AskPort() {
        char name[64] = "";
        EXPECT_EQ(openpty(&modem, &port, name, nullptr, nullptr), 0);
        device = name;
        // Settings that are nobody's default.
        termios line = {};
        tcgetattr(port, &line);
        line.c_cc[VTIME] = 7;
        cfsetspeed(&line, B2400);
        tcsetattr(port, TCSANOW, &line);
    }
    ~AskPort() override {
        stop = true;
        if (answering.joinable()) answering.join();
        close(modem);
        close(port);
    }

    /// The modem's end answers each question so.
    void Answer(const std::function<std::string(int count)>& answer) {
        answering = std::thread([this, answer] {
            int count = 0;
            std::string heard;
            while (!stop) {
                pollfd readable = {modem, POLLIN, 0};
                if (poll(&readable, 1, 10) <= 0) continue;
                char piece[64];
                const ssize_t length = read(modem, piece, sizeof piece);
                if (length <= 0) continue;
                heard.append(piece, static_cast<size_t>(length));
                if (heard.find("AT\r") == std::string::npos) continue;
                heard.clear();
                const std::string said = answer(++count);
                ASSERT_EQ(write(modem, said.data(), said.size()), static_cast<ssize_t>(said.size()));
            }
        });
    }
    termios Line() const {
        termios line = {};
        tcgetattr(port, &line);
        return line;
    }

    int modem = -1, port = -1;
    std::string device;
    std::atomic<bool> stop = false;
    std::thread answering;
};

TEST_F(AskPort, HearsOkAndLeavesTheLineAsItWas) {
    const termios before = Line();
    Answer([](int) { return "AT\r\r\nOK\r\n"; });
    const PortAnswer answer = AskPortForOk(device);
    EXPECT_TRUE(answer.asked);
    EXPECT_TRUE(answer.is_ok);
    const termios after = Line();
    EXPECT_EQ(memcmp(&before, &after, sizeof before), 0);
    int is_exclusive = 1;
    ASSERT_EQ(ioctl(port, TIOCGEXCL, &is_exclusive), 0);
    EXPECT_EQ(is_exclusive, 0);
}

TEST_F(AskPort, TriesAgainAfterAnError) {
    Answer([](int count) { return count < 2 ? "\r\nERROR\r\n" : "\r\nRING\r\n\r\nOK\r\n"; });
    EXPECT_TRUE(AskPortForOk(device).is_ok);
}

TEST_F(AskPort, DoesNotTakeOtherWordsForOk) {
    Answer([](int) { return "\r\nBROKEN OK1\r\nNOT OK\r\n"; });
    const PortAnswer answer = AskPortForOk(device);
    EXPECT_TRUE(answer.asked);
    EXPECT_FALSE(answer.is_ok);
    EXPECT_NE(answer.text.find("BROKEN"), std::string::npos);
}

TEST_F(AskPort, GivesUpOnAMuteModem) {
    const termios before = Line();
    const PortAnswer answer = AskPortForOk(device);
    EXPECT_TRUE(answer.asked);
    EXPECT_FALSE(answer.is_ok);
    EXPECT_EQ(answer.text, "");
    const termios after = Line();
    EXPECT_EQ(memcmp(&before, &after, sizeof before), 0);
}

TEST_F(AskPort, GivesUpOnChatter) {
    Answer([](int) { return std::string(100, 'x'); });
    const PortAnswer answer = AskPortForOk(device);
    EXPECT_FALSE(answer.is_ok);
    EXPECT_LE(answer.text.size(), 80U);
}

TEST_F(AskPort, LeavesAPortAloneThatSomebodyKeeps) {
    ASSERT_EQ(ioctl(port, TIOCEXCL), 0);
    const PortAnswer answer = AskPortForOk(device);
    EXPECT_FALSE(answer.asked);
    EXPECT_FALSE(answer.why_unasked.empty());
    pollfd readable = {modem, POLLIN, 0};
    EXPECT_EQ(poll(&readable, 1, 0), 0) << "nothing was sent";
    int is_exclusive = 0;
    ASSERT_EQ(ioctl(port, TIOCGEXCL, &is_exclusive), 0);
    EXPECT_NE(is_exclusive, 0) << "it is still kept";
    ioctl(port, TIOCNXCL);
}

TEST(AskPortAlone, SaysWhyAPortCannotBeAsked) {
    EXPECT_NE(AskPortForOk("/dev/nothing-of-the-kind").why_unasked.find("can't be opened"),
              std::string::npos);
    EXPECT_NE(AskPortForOk("/dev/null").why_unasked.find("no terminal"), std::string::npos);
}

}  // namespace
}  // namespace doctor
