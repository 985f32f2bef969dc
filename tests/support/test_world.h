// What the unit suites of the engine and the drivers run in: a virtual clock, a private folder behind the
// fixed paths, a shell that only notes commands, a captured log, and a modem that answers from a script.
// Waits cost nothing.
//
//     World world;
//     ScriptedModem modem(world);
//     modem.SetInit();
//     modem.On("AT+CSQ", "\r\n+CSQ: 20,99\r\n\r\nOK\r\n");
//     CellQuectelQcom cell(modem.fd());
//     EXPECT_EQ(1, cell.ReadCSQ());
//
// Everything that sleeps, selects, opens, reads the clock or starts threads must run on the thread of the
// test or on threads started from there. A thread that still runs at the end of the test stays parked until
// the process ends.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/busglue/busglue.h"
#include "simulator/virtual_time/environment.h"
#include "support/trace_log.h"

namespace test_support {

/// Where the process calls its parts from, in lines of the log.
constexpr TracePlace kMain = {"network_daemon/main.cpp", "main", 1};

/// What the shell gets to end the DHCP client.
constexpr char kKillDhcp[] = " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte kill_dhcp";

/// What the daemon publishes.
constexpr char kStatusFile[] = "/run/network/ravelin_status";

/// The port of a driver that asks no modem.
constexpr int kNoPort = -1;

class World {
  public:
    /// Uptime 1000 s, wall clock 2026-01-01 00:00:00 UTC, time zone UTC. One at a time.
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // Time
    /// Virtual time since the world began.
    int64_t now_ms() const;
    double now_seconds() const;
    /// Runs `event` when the clock gets there, while the code under test waits. It must not wait itself.
    void At(double seconds_from_start, std::function<void()> event);
    /// Fails the test and ends the process when virtual time gets so far: a loop that should have ended. One
    /// day unless specified.
    void EndAt(double seconds_from_start);

    // Files

    // Paths as the daemon knows them. /run/network, /ubi/conf/network, /etc/init.d, /media, /dev, /proc and
    // the folders of gpio130 and gpio182 exist from the start, all empty.
    void Write(const std::string& path, const std::string& text);
    std::string Read(const std::string& path) const;
    bool Exists(const std::string& path) const;
    void Remove(const std::string& path);
    void MakeFolder(const std::string& path);
    /// Where a path of the daemon really is, for tests that need a file of their own.
    std::string RealPath(const std::string& path) const;

    // Shell
    struct ShellCall {
        double at_seconds;
        std::string command;
        bool is_popen;
    };
    std::vector<ShellCall> shell;
    /// Only the texts of `shell`, in order.
    std::vector<std::string> Commands() const;
    /// popen of a command that holds `part` gives `output`; otherwise its output is empty. The latest rule
    /// that fits holds.
    void AnswerPopen(const std::string& part_of_command, const std::string& output);
    /// The same with a wait before each line.
    void AnswerPopenSlowly(const std::string& part_of_command, const std::string& output,
                           int seconds_before_line);
    void FailPopen(const std::string& part_of_command);
    /// Done when system() runs such a command.
    void OnSystem(const std::string& part_of_command, std::function<void()> action);

    // Log
    struct LogLine {
        std::string file;
        std::string function;
        int line;
        unsigned level;
        std::string text;  // as formatted, with its line end
        double at_seconds;
    };
    // Everything that went through trace_log, all levels. Hex dumps stand in it as bytes, "ff 6a ", with no
    // line end.
    std::vector<LogLine> log;
    bool Logged(unsigned level, const std::string& exact_text) const;
    int CountLogged(const std::string& exact_text) const;
    /// Texts that the function logged, in order.
    std::vector<std::string> LogOf(const std::string& function) const;

    // Bus
    std::vector<std::vector<uint8_t>> sent_frames;  // what dbs_send_method_async got
    struct SentRecord {
        std::vector<uint8_t> frame;
        std::string destination;
        int fourth;
        busglue_send_reply reply;
        double at_seconds;
    };
    std::vector<SentRecord> sent_records;  // the same with what went along
    std::vector<std::string> forwarded;    // what log_send got from callers other than the log
    int bus_connect_result = 0;            // of dbs_connect_init
    std::string bus_name;                  // what dbs_connect_init got
    const busglue_descriptor* bus_descriptor = nullptr;

    // Faults and input
    void FailThreads(bool fail);
    /// A line for whoever reads standard input by getdelim, line end added.
    void Type(const std::string& line);

    virtual_time::Environment& environment() { return environment_; }

  private:
    virtual_time::Environment environment_;
};

/// A modem that answers as specified, 5 ms after the command. A command is what was written up to a line
/// end; of the line ends after it one belongs to the transport, any other to the command. Commands are
/// compared without line ends. An unknown command is answered with ERROR and fails the test.
class ScriptedModem {
  public:
    static constexpr char kDefaultPath[] = "/dev/ttyUSB2";

    explicit ScriptedModem(World& world, const std::string& path = kDefaultPath);
    ~ScriptedModem();
    ScriptedModem(const ScriptedModem&) = delete;
    ScriptedModem& operator=(const ScriptedModem&) = delete;

    /// An open descriptor of the port; the same each time.
    int fd();

    /// Answers with these bytes as they stand, each time. An empty answer is silence.
    void On(const std::string& command_without_line_end, const std::string& answer);
    /// The same, so much later than usual.
    void OnLate(const std::string& command_without_line_end, const std::string& answer, double seconds);
    /// In turn; the last repeats.
    void OnSequence(const std::string& command_without_line_end, const std::vector<std::string>& answers);
    /// Calls the function, which may change this modem or the world, and answers what it returns.
    void OnCall(const std::string& command_without_line_end, std::function<std::string()> answer);
    /// Accepts the set-up commands that the engine sends to every modem with OK: AT, ATZ, AT&F, ATE0,
    /// AT+CFUN=0, AT+CFUN=1, AT+MODODR=2, AT+MEID.
    void SetInit();
    /// Unknown commands get ERROR and no more.
    void AllowUnknown();

    /// Bytes that come by themselves. A time that is past is now.
    void Unsolicited(double seconds_from_start, const std::string& text);
    /// Deaf and dumb while set: commands are noted but not answered, and what was to come is lost.
    void Mute(bool mute);
    /// Whether the port is there. One that goes takes its open descriptors with it.
    void Plug(bool plugged);
    /// So many reads of the port fail.
    void FailReads(int count);

    /// Commands as written, without the transport's own line end: "AT+CSQ" is "AT+CSQ", and a command that
    /// carries a line end of its own keeps it, "AT+QENG=\"servingcell\"\r\n".
    std::vector<std::string> Sent() const;
    struct Exchange {
        double at_seconds;
        std::string command;
    };
    std::vector<Exchange> exchanges;

  private:
    class Port;
    World& world_;
    std::unique_ptr<Port> port_;
    int fd_ = -1;
};

}  // namespace test_support
