// The program around the guard's decisions, on files of its own: a pipe that somebody reads or doesn't, a
// status that is written while it is read, a budget that can't be kept.
#include "tools/guard/program.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "tools/guard/ledger.h"

namespace {

using guard::ProbeVerdict;
using guard::Program;
using guard::Shown;

constexpr char kSettings[] = "INTERFACE=wwan0\nDNS=192.0.2.53 a.example\nTCP=192.0.2.80 443\n";

class ProgramTest : public testing::Test, public guard::Outside {
  protected:
    void SetUp() override {
        // In memory, where being on the disk takes no time.
        char name[] = "/dev/shm/program_test.XXXXXX";
        folder = mkdtemp(name);
        places.network = folder + "/network";
        places.state = folder + "/state";
        places.show = folder + "/show";
        places.flash = folder + "/flash";
        for (const std::string& made : {places.network, places.state, places.flash}) {
            ASSERT_EQ(mkdir(made.c_str(), 0755), 0);
        }
        ASSERT_EQ(mkfifo(Pipe().c_str(), 0600), 0);
        reader = open(Pipe().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        settings = guard::ParseSettings(kSettings);
    }
    void TearDown() override {
        if (reader >= 0) close(reader);
        std::filesystem::remove_all(folder);
    }

    std::string Pipe() const { return places.network + "/ravelin_fifo"; }
    void Write(const std::string& path, const std::string& text) const { std::ofstream(path) << text; }
    static std::string Read(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string Asked() const {
        char bytes[1000];
        const ssize_t count = read(reader, bytes, sizeof bytes);
        return {bytes, count > 0 ? static_cast<size_t>(count) : 0};
    }

    void Start() { program = std::make_unique<Program>(places, settings, this); }
    int Step() {
        if (writes_status) {
            Write(places.network + "/ravelin_status",
                  "Online=TRUE\nUptime=00:10:00\nNow='" + std::to_string(date ? date() : now) + "'\n");
        }
        const int wait_seconds = is_disk_full ? StepOnAFullDisk() : program->Step();
        now += wait_seconds;
        return wait_seconds;
    }
    /// Files can be opened and not written, and a pipe can.
    int StepOnAFullDisk() {
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit none = {0, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
        const int wait_seconds = program->Step();
        setrlimit(RLIMIT_FSIZE, &limit);
        return wait_seconds;
    }
    void Run(int64_t seconds) {
        if (program == nullptr) Start();
        for (const int64_t end = now + seconds; now < end;) Step();
    }
    bool HasSaid(const std::string& part) const { return said.find(part) != std::string::npos; }

    // The machine
    int64_t SecondsSinceBoot() override { return now; }
    std::string BootId() override { return "boot"; }
    std::optional<uint64_t> ReceivedBytes(const std::string& interface) override {
        EXPECT_EQ(interface, "wwan0");
        return 0;
    }
    void Say(int, const std::string& text) override { said += text + "\n"; }
    void SendProbes(const std::string& interface, const std::vector<guard::Probe>& probes) override {
        EXPECT_EQ(interface, "wwan0");
        sent = probes;
        traffic.sent_bytes += 28;
    }
    bool HasAllAnswers() override { return is_alive; }
    guard::Round TakeRound() override {
        ++rounds;
        guard::Round round;
        for (const guard::Probe& probe : sent) {
            round.results.push_back({probe.kind, probe.host, probe.number,
                                     is_alive ? ProbeVerdict::kAnswered : ProbeVerdict::kSilent});
        }
        return round;
    }
    guard::ProbeTraffic probe_traffic() const override { return traffic; }
    std::string probe_problem() const override { return probe_complaint; }

    std::string folder;
    guard::Places places;
    guard::Settings settings;
    int reader = -1;
    std::unique_ptr<Program> program;
    int64_t now = 5000;
    bool is_alive = true;
    bool writes_status = true;
    bool is_disk_full = false;
    std::function<int64_t()> date;  // of the daemon's clock; else the time since boot
    std::string said, probe_complaint;
    std::vector<guard::Probe> sent;
    int64_t rounds = 0;
    guard::ProbeTraffic traffic;
};

TEST_F(ProgramTest, AsksForBothResetsAndForNothingElse) {
    Run(1000);
    EXPECT_EQ(Asked(), "");
    is_alive = false;
    Run(700);
    EXPECT_EQ(Asked(), "SoftReset:1\n");
    Run(600);
    EXPECT_EQ(Asked(), "Reset4G:1\n");
    EXPECT_EQ(guard::ParseLedger(Read(places.state + "/budget"), "boot", now)->HardSince(0), 1);
    const auto shown = guard::ParseShown(Read(places.show));
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->soft_resets, 1);
    EXPECT_EQ(shown->hard_resets, 1);
    EXPECT_TRUE(shown->acts);
    EXPECT_GT(shown->sent_bytes, 0);
}

TEST_F(ProgramTest, EachRoundIsShownAtOnce) {
    is_alive = false;
    Start();
    while (rounds < 10 && now < 20000) {
        const int64_t before = rounds;
        Step();
        if (rounds == before) continue;
        EXPECT_EQ(guard::ParseShown(Read(places.show))->rounds, rounds);
    }
    EXPECT_EQ(rounds, 10);
}

TEST_F(ProgramTest, WakesUpNotMoreThanOnceInFiveSeconds) {
    Start();
    for (int i = 0; i < 1000; ++i) {
        is_alive = i % 100 < 50;
        EXPECT_GE(Step(), 5);
    }
}

TEST_F(ProgramTest, APipeThatNobodyReadsTakesNothingFromTheBudget) {
    Run(1000);
    close(reader);
    reader = -1;
    is_alive = false;
    Run(2000);
    EXPECT_TRUE(HasSaid("SoftReset:1 can't be asked for: nobody reads"));
    const auto ledger = guard::ParseLedger(Read(places.state + "/budget"), "boot", now);
    ASSERT_TRUE(ledger);
    EXPECT_EQ(ledger->soft_total, 0);
    struct stat seen = {};
    EXPECT_EQ(stat(Pipe().c_str(), &seen), 0) << "and the pipe is left alone";
}

TEST_F(ProgramTest, WhatStandsInThePipesPlaceIsNotTouched) {
    Run(1000);
    is_alive = false;
    unlink(Pipe().c_str());
    Run(2000);
    EXPECT_FALSE(std::filesystem::exists(Pipe())) << "none is made";
    Write(folder + "/victim", "text");
    ASSERT_EQ(symlink((folder + "/victim").c_str(), Pipe().c_str()), 0);
    Run(2000);
    EXPECT_EQ(Read(folder + "/victim"), "text") << "a link isn't followed";
    unlink(Pipe().c_str());
    Write(Pipe(), "text");
    Run(2000);
    EXPECT_EQ(Read(Pipe()), "text");
    EXPECT_TRUE(HasSaid("and no pipe"));
}

TEST_F(ProgramTest, AFullPipeIsNotWaitedFor) {
    Run(1000);
    const int writer = open(Pipe().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string block(4096, 'x');
    while (write(writer, block.data(), block.size()) > 0) {
    }
    is_alive = false;
    Run(1000);
    EXPECT_TRUE(HasSaid("SoftReset:1 can't be asked for: the pipe is full"));
    close(writer);
}

TEST_F(ProgramTest, WithoutAPlaceForItsBudgetNothingIsAsked) {
    std::filesystem::remove_all(places.state);
    Run(1000);
    EXPECT_TRUE(HasSaid("can't be saved, so that nothing is reset"));
    is_alive = false;
    Run(2000);
    EXPECT_EQ(Asked(), "");
    EXPECT_TRUE(HasSaid("SoftReset:1 isn't asked for: "));
}

TEST_F(ProgramTest, ABudgetThatCantBeReadIsSpent) {
    Write(places.state + "/budget", "RAVELIN_GUARD_BUDGET=1\nBOOT=boot\nSAVED=");
    Run(1000);
    EXPECT_TRUE(HasSaid("its budget counts as spent for a day"));
    is_alive = false;
    Run(3600);
    EXPECT_EQ(Asked(), "SoftReset:1\n") << "and no hard one";
    EXPECT_TRUE(HasSaid("because the budget is spent: 24 in the last hour"));
}

TEST_F(ProgramTest, ABudgetOfTomorrowIsHeldAsOfToday) {
    const int64_t tomorrow = now + guard::kDay_seconds;
    guard::Ledger ledger;
    ledger.hard.assign(guard::kMostPerDay, tomorrow);
    Write(places.state + "/budget", guard::PrintLedger(ledger, "boot", tomorrow));
    Run(1000);
    is_alive = false;
    Run(3600);
    EXPECT_EQ(Asked(), "SoftReset:1\n") << "and no hard one";
}

TEST_F(ProgramTest, OnAFullDiskNothingIsAsked) {
    Run(1000);
    const std::string budget = Read(places.state + "/budget");
    is_alive = false;
    is_disk_full = true;
    Run(3000);
    EXPECT_EQ(Asked(), "");
    EXPECT_TRUE(HasSaid("SoftReset:1 isn't asked for: "));
    EXPECT_EQ(Read(places.state + "/budget"), budget) << "the old one is whole";
    EXPECT_FALSE(std::filesystem::exists(places.state + "/budget.new")) << "nothing takes room";
    is_disk_full = false;
    said.clear();
    while (now < 50000 && !HasSaid("SoftReset:1, because")) Step();
    EXPECT_EQ(Asked(), "SoftReset:1\n") << "it has room again";
    is_disk_full = true;
    Run(2000);
    EXPECT_EQ(Asked(), "") << "nor a hardware reset";
    EXPECT_TRUE(HasSaid("Reset4G:1 isn't asked for: "));
}

/// Ends this process when it opens the pipe to write to it. False: it can't be had.
bool DieAtThePipe() {
    constexpr uint32_t kFlags = O_ACCMODE | O_NONBLOCK | O_CREAT, kPipe = O_WRONLY | O_NONBLOCK;
    constexpr uint32_t kFlagsAt = offsetof(seccomp_data, args) + 2 * sizeof(uint64_t);
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlagsAt),
        BPF_STMT(BPF_ALU | BPF_AND | BPF_K, kFlags),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kPipe, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(filter), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Killed after the budget is written and before the reset is asked for: it counts, and is never made up for.
TEST_F(ProgramTest, KilledBeforeThePipeItHasCounted) {
    constexpr int kNone = 77, kSteps = 1000;
    Run(1000);
    is_alive = false;
    const auto run_into_death = [this] {
        const pid_t child = fork();
        if (child == 0) {
            if (!DieAtThePipe()) _exit(kNone);
            Start();
            for (int i = 0; i < kSteps; ++i) Step();
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        now += kSteps;
        return status;
    };
    const int status = run_into_death();
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNone) GTEST_SKIP() << "no filter of calls here";
    ASSERT_TRUE(WIFSIGNALED(status)) << "it came to the pipe";
    const auto budget = [this] { return guard::ParseLedger(Read(places.state + "/budget"), "boot", now); };
    ASSERT_TRUE(budget());
    EXPECT_EQ(budget()->soft_total, 1);
    EXPECT_EQ(budget()->stage, guard::Stage::kSoftAsked);
    ASSERT_TRUE(WIFSIGNALED(run_into_death()));
    ASSERT_TRUE(budget());
    EXPECT_EQ(budget()->HardSince(0), 1);
    EXPECT_EQ(Asked(), "") << "neither was asked for";
    Start();
    Run(1000);
    EXPECT_EQ(Asked(), "") << "the pause is kept";
    EXPECT_EQ(guard::ParseShown(Read(places.show))->state, "pause");
}

TEST_F(ProgramTest, APipeOfSomebodyElseIsNotTheDaemons) {
    constexpr uid_t kSomebody = 4711;
    if (chown(Pipe().c_str(), kSomebody, static_cast<gid_t>(-1)) != 0) GTEST_SKIP() << "for root only";
    Run(1000);
    is_alive = false;
    Run(1000);
    EXPECT_EQ(Asked(), "");
    EXPECT_TRUE(HasSaid("SoftReset:1 can't be asked for: " + Pipe() + " belongs to user 4711"));
}

// The date that the status names says nothing; only that it changes.
TEST_F(ProgramTest, ADateThatIsSetDisturbsNothing) {
    constexpr int64_t kYear_seconds = 365 * guard::kDay_seconds;
    date = [this] { return now / 1000 % 2 == 0 ? now + kYear_seconds : now - kYear_seconds; };
    Run(20000);
    EXPECT_EQ(Asked(), "");
    EXPECT_FALSE(HasSaid("now no_status\nnow settling\nnow quiet\nnow no_status")) << said;
    is_alive = false;
    Run(1500);
    EXPECT_EQ(Asked(), "SoftReset:1\nReset4G:1\n");
    // A clock that stands still can't be told from a daemon that does.
    date = [] { return 1; };
    is_alive = true;
    Run(1000);
    EXPECT_EQ(guard::ParseShown(Read(places.show))->state, "no_status");
}

// Killed between saving and asking, or at any other moment, the next one goes on from what is saved.
TEST_F(ProgramTest, ARestartGoesOnFromTheFile) {
    Run(1000);
    is_alive = false;
    for (int i = 0; i < 150; ++i) {
        Start();
        for (int j = 0; j < 30 + i % 40; ++j) Step();
        const auto ledger = guard::ParseLedger(Read(places.state + "/budget"), "boot", now);
        ASSERT_TRUE(ledger);
        ASSERT_LE(ledger->HardSince(now - guard::kHour_seconds), guard::kMostPerHour);
        ASSERT_LE(ledger->HardSince(now - guard::kDay_seconds), guard::kMostPerDay);
    }
    std::string asked;
    for (std::string part = Asked(); !part.empty(); part = Asked()) asked += part;
    EXPECT_EQ(asked.substr(0, 12), "SoftReset:1\n");
}

TEST_F(ProgramTest, AnInstantOfHalfAStatusIsNotComplainedOf) {
    Run(1000);
    writes_status = false;
    Write(places.network + "/ravelin_status", "Online=TR");
    Step();
    Step();
    EXPECT_FALSE(HasSaid("ravelin_status "));
    Step();
    EXPECT_TRUE(HasSaid("ravelin_status "));
    said.clear();
    Run(1000);
    EXPECT_FALSE(HasSaid("ravelin_status ")) << "once is enough";
    EXPECT_TRUE(HasSaid("now no_status"));
}

TEST_F(ProgramTest, SettingsWithAMistakeOnlyWatch) {
    settings = guard::ParseSettings(std::string(kSettings) + "ICMP=\x1b[2J\n");
    Run(1000);
    EXPECT_TRUE(HasSaid("guard.conf: line 4: "));
    EXPECT_TRUE(HasSaid("only watches, and resets nothing: "));
    EXPECT_FALSE(HasSaid("\x1b"));
    is_alive = false;
    Run(3000);
    EXPECT_EQ(Asked(), "");
    const auto shown = guard::ParseShown(Read(places.show));
    ASSERT_TRUE(shown);
    EXPECT_FALSE(shown->acts);
    EXPECT_EQ(shown->state, "watch_only");
}

TEST_F(ProgramTest, AProbeThatCantBeRunIsSaidOnce) {
    probe_complaint = "ICMP: no socket";
    Run(4000);
    const std::string line = "a probe can't be run: ICMP: no socket\n";
    const size_t first = said.find(line);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(said.find(line, first + 1), std::string::npos);
}

TEST_F(ProgramTest, AFlashKeepsEveryResetAway) {
    Run(1000);
    is_alive = false;
    // The mark of a process that lives: this one.
    const std::string stat = Read("/proc/self/stat");
    std::istringstream fields(stat.substr(stat.rfind(") ") + 2));
    std::string start;
    for (int i = 0; i < 20; ++i) fields >> start;
    Write(places.flash + "/flash." + std::to_string(getpid()) + "." + start, "");
    Run(5000);
    EXPECT_EQ(Asked(), "");
    EXPECT_TRUE(HasSaid("now upgrading"));
}

}  // namespace
