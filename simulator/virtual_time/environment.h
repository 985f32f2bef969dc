// The world that a program sees in virtual time: clock, threads, fixed paths, serial ports, shell, typed
// input. One at a time; while it exists, the calls of the C library that interpose.cpp stands in front of are
// answered from here for the threads of its scheduler. Before and after, and for all other threads, they go
// through to the library.
//
// Two users: test suites, which are linked with this, and the preload library under the real daemon.
#pragma once

#include <termios.h>

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulator/virtual_time/port_peer.h"
#include "simulator/virtual_time/private_folder.h"
#include "simulator/virtual_time/scheduler.h"
#include "simulator/virtual_time/shell.h"
#include "simulator/virtual_time/storage.h"
#include "simulator/virtual_time/written_files.h"

namespace virtual_time {

/// Clocks at the start of every world: uptime in seconds, and 2026-01-01 00:00:00 UTC.
constexpr int64_t kUptimeAtStart_seconds = 1000;
constexpr int64_t kWallClockAtStart_seconds = 1767225600;

/// How long a bare read of a silent port waits, as the line is set up (VTIME 150 tenths, VMIN 0).
constexpr int64_t kSilentRead_us = 15 * kMicrosecondsPerSecond;

class Environment {
  public:
    /// Takes effect at once; the calling thread becomes thread 0. See PrivateFolder for `root`. A world that
    /// goes on at `resumed_us` takes its folder as it is.
    explicit Environment(const std::string& root = "", std::optional<int64_t> resumed_us = {});
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    /// Null outside of virtual time.
    static Environment* Active();
    /// Active(), but null for a thread that isn't of this world.
    static Environment* OfThisThread();

    int64_t now_us() const { return scheduler.now_us(); }
    int64_t uptime_us() const { return now_us() + kUptimeAtStart_seconds * kMicrosecondsPerSecond; }
    int64_t wall_clock_us() const { return now_us() + wall_clock_at_start_us_; }
    /// Somebody sets the date, in seconds since 1970; the uptime doesn't care.
    void SetWallClock(int64_t seconds) {
        wall_clock_at_start_us_ = seconds * kMicrosecondsPerSecond - now_us();
    }

    /// The same, by so much.
    void MoveWallClock(int64_t by_us) { wall_clock_at_start_us_ += by_us; }

    PrivateFolder folder;
    Storage storage;
    Scheduler scheduler;
    Shell shell;

    // Serial ports
    /// `peer` answers at `path`, one of the modem ports, and must outlive the world or be removed.
    void AddPort(const std::string& path, PortPeer* peer);
    /// The port of `peer` is at `path` too, whatever name it takes, as with a symlink made by udev.
    void AddPortLink(const std::string& path, PortPeer* peer);
    void RemovePort(PortPeer* peer);
    /// Opens the port at `path`: a descriptor; -1 with errno if the peer isn't present; kNoPort if no
    /// peer is registered there.
    int OpenPort(const std::string& path);
    static constexpr int kNoPort = -2;
    bool IsPort(int fd) const { return open_ports_.count(fd) != 0; }
    void ForgetPort(int fd) { open_ports_.erase(fd); }
    bool IsHungUp(int fd);
    bool IsReadable(int fd);
    int64_t ReadPort(int fd, void* to, size_t size);
    int64_t WritePort(int fd, const void* from, size_t size);
    /// Throws away what waits to be read.
    void FlushPort(int fd);
    /// As the program set them; of a port just opened those of a fresh line.
    termios& Attributes(int fd) { return open_ports_.at(fd).attributes; }
    /// Makes the entries in /dev of the private folder show which ports are present.
    void ShowPorts();

    // Typed input
    /// One line, with its line end, for whoever reads standard input by getdelim; none for its end (Ctrl-D).
    void Type(const std::string& line) { typed_lines_.push_back(line); }
    std::string WaitForTypedLine();

    // Descriptors that aren't ports
    // Nobody outside of this process has a hand in what the program has open, so that what is ready there
    // changes by calls of this process only.
    bool is_alone = false;
    // Counts those calls.
    int64_t outside_changes = 0;

    // Faults
    // pthread_create fails with EAGAIN.
    bool fail_thread_creation = false;
    // So many next reads of ports fail with EIO.
    int fail_port_reads = 0;

    // What the program does
    std::function<void(const std::string& bytes)> on_port_written;
    std::function<void(const std::string& bytes)> on_port_read;
    // A file in the private folder that was open for writing was closed and holds this text now. The path is
    // the program's.
    std::function<void(const std::string& path, const std::string& text)> on_file_written;

    // For interpose.cpp
    WrittenFiles written_files;
    std::map<unsigned long, int> thread_numbers;         // by pthread_t
    FILE* OpenCommandOutput(const ShellAnswer& answer);  // a stream for popen
    /// False for a stream that isn't one of them.
    bool ForgetCommandOutput(FILE* stream);

    /// Commands that popen has started and pclose hasn't waited for.
    int running_commands() const { return running_commands_; }

  private:
    struct Port {
        std::string path;
        PortPeer* peer;
        std::string shown_path;
        bool is_link = false;
    };
    struct OpenPortEntry {
        PortPeer* peer;
        int64_t generation;
        termios attributes;
    };

    void MakePlaces();
    std::string PathNow(const Port& port);

    int64_t wall_clock_at_start_us_ = kWallClockAtStart_seconds * kMicrosecondsPerSecond;
    std::vector<Port> ports_;
    std::map<int, OpenPortEntry> open_ports_;
    std::deque<std::string> typed_lines_;
    std::set<FILE*> command_outputs_;
    int running_commands_ =
        0;  // not the size of the set: a stream that was closed otherwise has no place in it for long
};

}  // namespace virtual_time
