#include "tools/ctl/screen.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>

namespace ctl {

namespace {

constexpr char kTakeScreen[] = "\033[?1049h\033[?25l";
constexpr char kGiveBack[] = "\033[?25h\033[?1049l";
constexpr char kHome[] = "\033[H";
constexpr char kEndOfLine[] = "\033[K";
constexpr char kBelow[] = "\033[J";

constexpr int kEnds[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t ended_by = 0;

void NoteEnd(int signal) {
    ended_by = signal;
}

void NoteNothing(int) {}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

/// Blocked but for the time of Wait: a signal that comes just before it isn't lost.
void Block(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEnds) sigaddset(&signals, signal);
    sigprocmask(how, &signals, nullptr);
}

}  // namespace

Screen::Screen(const Terminal& terminal) : is_drawn_on_(terminal.can_draw) {
    ended_by = 0;
    Block(SIG_BLOCK);
    for (const int signal : kEnds) Handle(signal, NoteEnd);
    Handle(SIGWINCH, NoteNothing);
    if (is_drawn_on_) fputs(kTakeScreen, stdout);
}

Screen::~Screen() {
    if (is_drawn_on_) fputs(kGiveBack, stdout);
    fflush(stdout);
    for (const int signal : kEnds) Handle(signal, SIG_DFL);
    Handle(SIGWINCH, SIG_DFL);
    Block(SIG_UNBLOCK);
    // Who waits for us sees why.
    if (ended_by != 0) raise(ended_by);
}

void Screen::Draw(const std::string& page, const Terminal& terminal) {
    std::string text = kHome;
    int lines = 0;
    for (size_t start = 0; start < page.size() && (terminal.height == 0 || lines < terminal.height - 1);
         ++lines) {
        const size_t end = page.find('\n', start);
        text += page.substr(start, end - start) + kEndOfLine + "\n";
        start = end == std::string::npos ? page.size() : end + 1;
    }
    fputs((text + kBelow).c_str(), stdout);
    fflush(stdout);
}

bool Screen::Wait(int milliseconds) {
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    sigset_t none;
    sigemptyset(&none);
    // With a reader that has gone, or a terminal that was closed, there is nothing left to do either.
    pollfd reader = {STDOUT_FILENO, 0, 0};
    const int ready = ppoll(&reader, 1, &time, &none);
    return ended_by == 0 && (ready <= 0 || (reader.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0);
}

}  // namespace ctl
