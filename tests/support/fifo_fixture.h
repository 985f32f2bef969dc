// For suites of the pipe's thread: the real thread on a real pipe in the private folder, in virtual time.
#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "network_daemon/main.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

using Texts = std::vector<std::string>;

constexpr char kPipe[] = "/run/network/ravelin_fifo";
constexpr char kReadError[] = "[FIFO]fifo read error\n";
constexpr char kSource[] = "network_daemon/main_fifo.cpp";
constexpr unsigned kListen_seconds = 5;

inline std::string KeyLine(const std::string& key, const std::string& value) {
    return "[FIFO]fifo Key: " + key + ", Value: " + value + "\n";
}

class FifoTest : public testing::Test {
  protected:
    FifoTest() {
        pCell = &cell;
        world.EndAt(3600);
    }
    ~FifoTest() override { pCell = nullptr; }

    /// The thread goes on until the end of the test, when its world stops.
    void Start() {
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, thread_function_pipe, nullptr));
        ASSERT_EQ(0, pthread_detach(thread));
        LetItRun();
    }

    static void LetItRun() { usleep(1000); }

    int OpenToWrite() { return open(kPipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC); }

    static void Write(int fd, const std::string& text) {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(fd, text.data(), text.size()));
    }

    /// One write, and time for the thread to take it.
    void Send(const std::string& text) {
        const int fd = OpenToWrite();
        ASSERT_LE(0, fd) << "nobody reads the pipe";
        Write(fd, text);
        close(fd);
        LetItRun();
    }

    /// Whether somebody reads what stands at the pipe's path.
    bool TakesCommands() {
        cell.m_soft_reset_req = 0;
        Send("SoftReset:1\n");
        return cell.m_soft_reset_req == 1;
    }

    /// Pairs that reached handle_command, as their line at level 7 shows them.
    Texts Pairs() const {
        Texts pairs;
        for (const std::string& text : world.LogOf("handle_command")) {
            if (text.rfind("[FIFO]fifo Key: ", 0) == 0) pairs.push_back(text);
        }
        return pairs;
    }

    /// What a log without debug lines shows.
    Texts Visible() const {
        Texts texts;
        for (const test_support::World::LogLine& line : world.log) {
            if (line.level < 7) texts.push_back(line.text);
        }
        return texts;
    }

    bool NothingRequested() const { return cell.m_soft_reset_req == 0 && cell.m_device_reset_req == 0; }

    test_support::World world;
    cc_cell::PlainCell cell{-1};
};
