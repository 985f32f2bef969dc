// The tool modem_sim with a real pty, a real control socket and real time. How long things take is the
// model's, which has a suite of its own in made-up time. Here everything is waited for, however long it
// takes, and what must stay as it is while it is looked at is set to last for hours.
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"
#include "tests/support/modem_answers.h"

namespace {

namespace fs = std::filesystem;

constexpr int kPatience_ms = 120000;
constexpr int kLook_ms = 5;
const std::string kHours = "36000000";  // in milliseconds

int64_t NowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

/// Looks until `is_so` or patience ends.
template <typename Condition>
bool Await(Condition is_so) {
    for (const int64_t end_ms = NowMs() + kPatience_ms; NowMs() < end_ms; poll(nullptr, 0, kLook_ms)) {
        if (is_so()) return true;
    }
    return is_so();
}

std::string ToolPath() {
    return fs::weakly_canonical(fs::read_symlink("/proc/self/exe").parent_path() / "../modem_sim").string();
}

/// Starts the tool; its output goes to `output_path`.
pid_t Start(const std::vector<std::string>& arguments, const std::string& output_path) {
    const std::string tool = ToolPath();
    std::vector<char*> words = {const_cast<char*>(tool.c_str())};
    char* emulator = getenv("RAVELIN_EMULATOR");  // where we ourselves run under one
    if (emulator != nullptr && emulator[0] != '\0') words.insert(words.begin(), emulator);
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // also when the test is killed
    const int output = open(output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execv(words[0], words.data());
    _exit(127);
}

/// Waits for the end of `child`; one that doesn't end is killed.
int ExitStatus(pid_t child) {
    int status = 0;
    if (!Await([&] { return waitpid(child, &status, WNOHANG) == child; })) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class ModemTool : public testing::Test {
  protected:
    ModemTool() {
        folder = "/tmp/modem_tool_test.XXXXXX";  // short: the path of a socket is
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        link = folder + "/port";
        socket = folder + "/control";
    }

    ~ModemTool() override {
        if (test_child > 0) {
            kill(test_child, SIGKILL);
            ExitStatus(test_child);
        }
        fs::remove_all(folder);
    }

    void StartModem(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments = {"--link", link, "--control", socket, "--set", "echo off"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        test_child = Start(arguments, folder + "/log");
        ASSERT_TRUE(Await([this] { return fs::exists(link); })) << Log();
    }

    int StopModem(int signal_number) {
        kill(test_child, signal_number);
        const int status = ExitStatus(test_child);
        test_child = 0;
        return status;
    }

    /// Exit status of one run; what it printed goes to `*text`.
    int Run(const std::vector<std::string>& arguments, std::string* text = nullptr) const {
        const std::string output = folder + "/run";
        const int status = ExitStatus(Start(arguments, output));
        if (text != nullptr) *text = ReadFile(output);
        return status;
    }

    int Send(const std::string& knob, std::string* text = nullptr) const {
        return Run({"--send", socket, knob}, text);
    }

    static std::string ReadFile(const std::string& path) {
        std::ifstream file(path);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    std::string Log() const { return ReadFile(folder + "/log"); }

    int TimesLogged(const std::string& text) const {
        int count = 0;
        const std::string log = Log();
        for (size_t at = 0; (at = log.find(text, at)) != std::string::npos; ++at) ++count;
        return count;
    }

    /// On return the tool does nothing more until SIGCONT.
    void StopTool() {
        kill(test_child, SIGSTOP);
        int status = 0;
        EXPECT_TRUE(Await([&] { return waitpid(test_child, &status, WNOHANG | WUNTRACED) == test_child; }));
        EXPECT_TRUE(WIFSTOPPED(status));
    }

    static int OpenPort(const std::string& path) { return open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC); }

    /// Reads until `wanted` bytes are there, or the other side hangs up.
    static std::string Read(int port, size_t wanted) {
        std::string text;
        const auto read_more = [&] {
            pollfd look = {port, POLLIN, 0};
            if (poll(&look, 1, kLook_ms) <= 0) return false;
            char bytes[256];
            const ssize_t count = read(port, bytes, sizeof bytes);
            if (count <= 0) return true;
            text.append(bytes, static_cast<size_t>(count));
            return text.size() >= wanted;
        };
        Await(read_more);
        return text;
    }

    /// Bytes that can be read.
    static int Unread(int port) {
        int count = 0;
        EXPECT_EQ(ioctl(port, FIONREAD, &count), 0);
        return count;
    }

    static bool HangsUp(int port) {
        pollfd look = {port, 0, 0};
        return poll(&look, 1, kPatience_ms) == 1 && (look.revents & POLLHUP) != 0;
    }

    static std::string Ask(int port, const std::string& command, const std::string& expected) {
        const std::string line = command + "\r\n";
        EXPECT_EQ(write(port, line.data(), line.size()), static_cast<ssize_t>(line.size()));
        return Read(port, expected.size());
    }

    std::string folder;
    std::string link;
    std::string socket;
    pid_t test_child = 0;
};

const std::string kCsq23 = "\r\n+CSQ: 23,99\r\n\r\nOK\r\n";

TEST_F(ModemTool, TalksOverARawPtyAtTheLink) {
    StartModem();
    EXPECT_TRUE(fs::is_symlink(link));
    const int port = OpenPort(link);
    termios attributes{};
    ASSERT_EQ(tcgetattr(port, &attributes), 0);
    EXPECT_EQ(attributes.c_lflag & (ICANON | ECHO | ISIG), 0u);
    EXPECT_EQ(attributes.c_oflag & OPOST, 0u);
    EXPECT_EQ(Ask(port, "AT+CSQ", kCsq23), kCsq23);
    close(port);
}

TEST_F(ModemTool, StartsWithTheKnobsAndTheModelOfItsCommandLine) {
    StartModem({"--family", "quectel_qcom", "--model", "EG21", "--set", "csq 9"});
    const int port = OpenPort(link);
    const std::string introduction = "\r\nQuectel\r\nEG21\r\nRevision: EG21GGBR07A11M1G\r\n\r\nOK\r\n";
    EXPECT_EQ(Ask(port, "ATI", introduction), introduction);
    const std::string csq = "\r\n+CSQ: 9,99\r\n\r\nOK\r\n";
    EXPECT_EQ(Ask(port, "AT+CSQ", csq), csq);
    close(port);
}

TEST_F(ModemTool, GoesOnWhenTheHostComesBackAndKeepsNothingUnreadForIt) {
    StartModem({"--log"});
    for (int round = 1; round <= 3; ++round) {
        const int port = OpenPort(link);
        EXPECT_EQ(Ask(port, "AT+CSQ", kCsq23), kCsq23);
        ASSERT_EQ(write(port, "ATI\r\n", 5), 5);
        ASSERT_TRUE(Await([&] { return TimesLogged("Revision") == round; })) << Log();
        close(port);
        ASSERT_TRUE(Await([&] { return TimesLogged("port closed") == round; })) << Log();
    }
}

TEST_F(ModemTool, LogShowsBytesAsScenariosWriteThem) {
    StartModem({"--log"});
    const int port = OpenPort(link);
    const std::string command = "\tAT\x01\\\r\n";
    ASSERT_EQ(write(port, command.data(), command.size()), static_cast<ssize_t>(command.size()));
    EXPECT_EQ(Send("urc a\\tb\\x01\\0"), 0);
    const auto shows = [this](const char* text) {
        return Await([this, text] { return Log().find(text) != std::string::npos; });
    };
    EXPECT_TRUE(shows("host  \\tAT\\x01\\\\\\r\\n\n")) << Log();
    EXPECT_TRUE(shows("\\r\\na\\tb\\x01\\0\\r\\n")) << Log();
    close(port);
}

TEST_F(ModemTool, AnswersInPiecesComeAfterEachOther) {
    StartModem({"--set", "pieces 7 gap 1"});
    const int port = OpenPort(link);
    EXPECT_EQ(Ask(port, "AT+CSQ", kCsq23), kCsq23);
    EXPECT_EQ(Send("pieces 7 gap " + kHours), 0);
    const std::string first_piece = kCsq23.substr(0, 7);
    EXPECT_EQ(Ask(port, "AT+CSQ", first_piece), first_piece);
    EXPECT_EQ(Send("status"), 0);
    EXPECT_EQ(Unread(port), 0) << "the tool has gone on, but not said more";
    close(port);
}

TEST_F(ModemTool, ControlSocketTakesKnobsWhileItRuns) {
    StartModem();
    std::string text;
    EXPECT_EQ(Send("csq 3", &text), 0);
    EXPECT_EQ(text, "ok\n");
    EXPECT_EQ(Send("csq many", &text), 1);
    EXPECT_EQ(text, "error: csq: a number from 0 to 99 is wanted\n");
    EXPECT_EQ(Send("status", &text), 0);
    EXPECT_NE(text.find("csq: 3\n"), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 4), "\nok\n");
    EXPECT_EQ(Run({"--send", socket, "csq 4", "nonsense", "csq 5"}, &text), 1);
    EXPECT_EQ(text, "ok\nerror: no knob \"nonsense\"\nok\n");
    const int port = OpenPort(link);
    const std::string csq = "\r\n+CSQ: 5,99\r\n\r\nOK\r\n";
    EXPECT_EQ(Ask(port, "AT+CSQ", csq), csq);
    close(port);
}

TEST_F(ModemTool, SelectorPinFileSelectsTheSim) {
    const std::string pin = folder + "/pin";
    const auto write_pin = [&pin](const char* level) { std::ofstream(pin) << level << "\n"; };
    const auto selects = [this](const char* holder) {
        return Await([this, holder] {
            std::string status;
            return Send("status", &status) == 0 &&
                   status.find(std::string("selected: ") + holder + "\n") != std::string::npos;
        });
    };
    write_pin("0");
    StartModem({"--gpio", pin});
    EXPECT_TRUE(selects("2"));
    write_pin("1");
    EXPECT_TRUE(selects("1"));
    write_pin("nonsense");
    fs::remove(pin);
    write_pin("0");
    EXPECT_TRUE(selects("2"));
    std::string text;
    EXPECT_EQ(Run({"--gpio", folder + "/nowhere/pin"}, &text), 1);
    EXPECT_NE(text.find("the pin can't be watched"), std::string::npos);
}

TEST_F(ModemTool, UnplugHangsUpAndPlugBringsThePortBackUnderAnotherName) {
    StartModem();
    const int port = OpenPort(link);
    EXPECT_EQ(Ask(port, "AT", kOk), kOk);
    EXPECT_EQ(Send("unplug"), 0);
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_TRUE(HangsUp(port));
    char byte;
    EXPECT_LE(read(port, &byte, 1), 0);
    const std::string other_link = folder + "/ttyACM3";
    EXPECT_EQ(Send("plug " + other_link), 0);
    EXPECT_TRUE(fs::exists(other_link));
    EXPECT_FALSE(fs::is_symlink(link));
    const int other_port = OpenPort(other_link);
    EXPECT_EQ(Ask(other_port, "AT", kOk), kOk);
    EXPECT_LE(read(port, &byte, 1), 0);
    close(port);
    close(other_port);
}

TEST_F(ModemTool, PlugWhereNoLinkCanBeIsRefusedAndTheToolGoesOn) {
    StartModem();
    EXPECT_EQ(Send("unplug"), 0);
    EXPECT_EQ(Send("plug " + folder + "/no/such/folder"), 1);
    EXPECT_EQ(Send("plug " + link), 0);
    EXPECT_TRUE(fs::exists(link));
}

TEST_F(ModemTool, ResetTakesThePortAwayAndBringsItBack) {
    StartModem({"--set", "boot-time " + kHours, "--set", "port-gone " + kHours});
    const int port = OpenPort(link);
    EXPECT_EQ(Send("reset"), 0);
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_TRUE(HangsUp(port));
    close(port);
    EXPECT_EQ(Send("port-gone 1"), 0);
    EXPECT_EQ(Send("reset"), 0);
    EXPECT_TRUE(Await([this] { return fs::exists(link); }));
}

TEST_F(ModemTool, ResetBootsTheModem) {
    StartModem({"--set", "boot-time " + kHours, "--set", "port-gone 0", "--set", "sim-start 0"});
    const int port = OpenPort(link);
    EXPECT_EQ(Send("reset"), 0);
    std::string status;
    EXPECT_EQ(Send("status", &status), 0);
    EXPECT_NE(status.find("power: booting\n"), std::string::npos) << status;
    EXPECT_EQ(Unread(port), 0) << "no word before it is up";
    EXPECT_EQ(Send("boot-time 1"), 0);
    EXPECT_EQ(Send("reset"), 0);
    const std::string boot = "\r\nRDY\r\n\r\n+CFUN: 1\r\n\r\n+CPIN: READY\r\n";
    EXPECT_EQ(Read(port, boot.size()).substr(0, boot.size()), boot);
    close(port);
}

TEST_F(ModemTool, PortThatWentAndCameWhileTheToolSleptIsAnotherPort) {
    StartModem({"--log", "--set", "port-gone 1", "--set", "boot-time 2"});
    const auto times_gone = [this] { return TimesLogged("port gone"); };
    int port = -1;
    // A busy machine may not stop the tool before it restarts the modem: then once more.
    const bool slept_through_it = Await([&] {
        const int before = times_gone();
        port = OpenPort(link);
        const bool is_asked = Ask(port, "AT+CFUN=1,1", kOk) == kOk;
        StopTool();
        if (is_asked && times_gone() == before) return true;
        kill(test_child, SIGCONT);
        close(port);
        std::string status;
        EXPECT_TRUE(Await([&] {
            return times_gone() > before && Send("status", &status) == 0 &&
                   status.find("power: on\n") != std::string::npos;
        }));
        return false;
    });
    ASSERT_TRUE(slept_through_it);
    constexpr int kLongerThanTheRestart_ms = 200;
    poll(nullptr, 0, kLongerThanTheRestart_ms);
    kill(test_child, SIGCONT);
    EXPECT_TRUE(HangsUp(port));
    close(port);
}

TEST_F(ModemTool, FloodThatNobodyReadsLeavesTheKnobsWorking) {
    StartModem();
    const int port = OpenPort(link);
    EXPECT_EQ(Send("flood on 1000000"), 0);
    constexpr int kPlenty = 2200;
    EXPECT_TRUE(Await([port] { return Unread(port) >= kPlenty; }));
    EXPECT_EQ(Send("flood off"), 0);
    EXPECT_EQ(Read(port, kPlenty).substr(0, 22), "\r\n+CGEV: NW MODIFY 1\r\n");
    close(port);
}

TEST_F(ModemTool, EndsCleanlyOnSigtermAndSigint) {
    for (const int number : {SIGTERM, SIGINT}) {
        StartModem();
        EXPECT_TRUE(fs::exists(socket));
        EXPECT_EQ(StopModem(number), 0);
        EXPECT_FALSE(fs::is_symlink(link));
        EXPECT_FALSE(fs::exists(socket));
    }
}

TEST_F(ModemTool, WhatAKilledRunLeftIsReplaced) {
    StartModem();
    StopModem(SIGKILL);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::exists(socket));
    fs::remove(link);
    fs::create_symlink("/dev/pts/999999", link);
    StartModem();
    ASSERT_TRUE(Await([this] { return fs::exists(link); }));
    EXPECT_EQ(Send("status"), 0);
    EXPECT_EQ(StopModem(SIGTERM), 0);
}

TEST_F(ModemTool, ThingsOfOthersAreLeftAlone) {
    std::ofstream(link) << "precious";
    EXPECT_EQ(Run({"--link", link}), 1);
    EXPECT_EQ(ReadFile(link), "precious");
    fs::remove(link);
    fs::create_symlink("/dev/null", link);
    EXPECT_EQ(Run({"--link", link}), 1);
    EXPECT_EQ(fs::read_symlink(link), "/dev/null");
    fs::remove(link);
    StartModem();
    EXPECT_EQ(Run({"--link", folder + "/second", "--control", socket}), 1);
    EXPECT_EQ(Send("status"), 0);
    std::ofstream(folder + "/file") << "precious";
    EXPECT_EQ(Run({"--link", folder + "/second", "--control", folder + "/file"}), 1);
    EXPECT_EQ(ReadFile(folder + "/file"), "precious");
}

TEST_F(ModemTool, LinkThatSomeoneReplacedIsNotTakenAway) {
    StartModem();
    fs::remove(link);
    std::ofstream(link) << "precious";
    EXPECT_EQ(StopModem(SIGTERM), 0);
    EXPECT_EQ(ReadFile(link), "precious");
}

TEST_F(ModemTool, WrongWordsOnTheCommandLineAreRefused) {
    std::string text;
    const struct {
        std::vector<std::string> words;
        const char* fault;
    } cases[] = {
        {{"--nonsense"}, "unknown option --nonsense"},
        {{"--nonsense=3"}, "unknown option --nonsense"},
        {{"-xh"}, "unknown option -x"},
        {{"--log=3"}, "--log takes no value"},
        {{"--family"}, "--family wants a value"},
        {{"--link", ""}, "--link wants a value that isn't empty"},
        {{"--link="}, "--link wants a value that isn't empty"},
        {{"word"}, "unexpected argument \"word\""},
        {{"--family", "nosuch"}, "no family is called \"nosuch\""},
        {{"--send", "socket"}, "--send wants a KNOB after the socket"},
        {{"--set", "csq 300"}, "csq: a number from 0 to 99 is wanted"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Run(row.words, &text), 2) << row.fault;
        EXPECT_EQ(text, std::string("modem_sim: ") + row.fault + "; see --help\n");
    }
    EXPECT_EQ(Run({"--link", link, "--control", std::string(200, 'x')}), 1);
    EXPECT_EQ(Run({"--send", folder + "/nobody", "status"}), 1);
    EXPECT_EQ(Run({"--send", std::string(200, 'x'), "status"}), 1);
    EXPECT_FALSE(fs::is_symlink(link));
}

TEST_F(ModemTool, HelpListsEveryFamilyWithItsModelsAndEveryKnobAndNoOther) {
    std::string text;
    EXPECT_EQ(Run({"--help"}, &text), 0);
    // A family stands deeper than what is said of its option, a knob at the margin of the last list but one.
    std::vector<std::string> families, knobs;
    std::istringstream lines(text);
    bool among_knobs = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 1, " ") != 0) among_knobs = line == "Knobs:" || (among_knobs && line.empty());
        const size_t margin = line.find_first_not_of(' ');
        if (margin == 22) families.push_back(line.substr(margin));
        if (among_knobs && margin == 2) knobs.push_back(line.substr(margin, line.find(' ', margin) - margin));
    }
    std::vector<std::string> expected_families;
    for (const std::string& family : modem_sim::Modem::Families()) {
        std::string line = family + ":";
        for (const std::string& model : modem_sim::Modem::Models(family)) line += " " + model;
        expected_families.push_back(line);
    }
    EXPECT_EQ(families, expected_families) << "simulator/modem/families.cmake reads them from the dialects: "
                                              "a kModels holds names as they are typed";
    EXPECT_EQ(knobs, modem_sim::Modem::KnobNames());
}

}  // namespace
