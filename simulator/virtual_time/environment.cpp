#include "simulator/virtual_time/environment.h"

#include <fcntl.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>

#include "simulator/virtual_time/interpose.h"
#include "simulator/virtual_time/own_heap.h"

namespace virtual_time {

namespace {

Environment* active_environment = nullptr;

// What popen's reader reads: lines, each after its wait.
struct CommandOutput {
    Environment* environment;
    ShellAnswer answer;
    size_t position = 0;
    bool ended = false;
};

void WaitSeconds(Environment& environment, int64_t seconds) {
    if (seconds > 0 && Environment::OfThisThread() == &environment) {
        environment.scheduler.Sleep(seconds * kMicrosecondsPerSecond);
    }
}

ssize_t ReadCommandOutput(void* cookie, char* to, size_t size) {
    const ForTheWorld memory;
    CommandOutput* output = static_cast<CommandOutput*>(cookie);
    const std::string& text = output->answer.output;
    if (output->position == text.size()) {
        if (!output->ended) WaitSeconds(*output->environment, output->answer.takes_seconds);
        output->ended = true;
        return 0;
    }
    const bool at_line_start = output->position == 0 || text[output->position - 1] == '\n';
    if (at_line_start) WaitSeconds(*output->environment, output->answer.seconds_before_line);
    const size_t line_end = text.find('\n', output->position);
    const size_t end = line_end == std::string::npos ? text.size() : line_end + 1;
    const size_t count = std::min(size, end - output->position);
    memcpy(to, text.data() + output->position, count);
    output->position += count;
    return static_cast<ssize_t>(count);
}

/// pclose waits for the command's end, whether its output was read to the end or not.
int CloseCommandOutput(void* cookie) {
    const ForTheWorld memory;
    CommandOutput* output = static_cast<CommandOutput*>(cookie);
    if (!output->ended) WaitSeconds(*output->environment, output->answer.takes_seconds);
    delete output;
    return 0;
}

}  // namespace

Environment::Environment(const std::string& root, std::optional<int64_t> resumed_us)
    : folder(root), scheduler(resumed_us.value_or(0)), shell(folder, storage) {
    assert(active_environment == nullptr);
    if (!resumed_us) MakePlaces();
    KeepInterposition();
    active_environment = this;
}

void Environment::MakePlaces() {
    for (const char* place : {"/run/network", "/ubi/conf/network", "/etc/init.d", "/proc", "/dev", "/media",
                              "/sys/class/gpio/gpio130", "/sys/class/gpio/gpio182"}) {
        folder.MakeFolder(place);
    }
}

Environment::~Environment() {
    active_environment = nullptr;
}

Environment* Environment::Active() {
    return active_environment;
}

Environment* Environment::OfThisThread() {
    Environment* environment = active_environment;
    return environment != nullptr && environment->scheduler.CurrentThread() >= 0 ? environment : nullptr;
}

void Environment::AddPort(const std::string& path, PortPeer* peer) {
    ports_.push_back({path, peer, path});
    scheduler.AddPeer(peer);
    ShowPorts();
}

void Environment::AddPortLink(const std::string& path, PortPeer* peer) {
    ports_.push_back({path, peer, path, true});
    ShowPorts();
}

void Environment::RemovePort(PortPeer* peer) {
    scheduler.RemovePeer(peer);
    for (size_t i = ports_.size(); i-- > 0;) {
        if (ports_[i].peer != peer) continue;
        folder.Remove(PathNow(ports_[i]));
        ports_.erase(ports_.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (auto entry = open_ports_.begin(); entry != open_ports_.end();) {
        entry = entry->second.peer == peer ? open_ports_.erase(entry) : std::next(entry);
    }
}

std::string Environment::PathNow(const Port& port) {
    const std::string other = port.is_link ? "" : port.peer->OtherPath();
    return other.empty() ? port.path : other;
}

void Environment::ShowPorts() {
    for (Port& port : ports_) {
        port.peer->Advance(now_us());
        const std::string path = PathNow(port);
        if (path != port.shown_path) folder.Remove(port.shown_path);
        port.shown_path = path;
        if (port.peer->Present()) {
            if (!folder.Exists(path)) folder.Write(path, "");
        } else {
            folder.Remove(path);
        }
    }
}

int Environment::OpenPort(const std::string& path) {
    for (const Port& port : ports_) {
        if (PathNow(port) != path) continue;
        port.peer->Advance(now_us());
        if (!port.peer->Present()) {
            errno = ENOENT;
            return -1;
        }
        const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);  // a number that nothing else has
        termios fresh = {};
        fresh.c_cflag = B9600 | CS8 | CREAD | CLOCAL;
        if (fd >= 0) open_ports_[fd] = {port.peer, port.peer->Generation(), fresh};
        return fd;
    }
    return kNoPort;
}

bool Environment::IsHungUp(int fd) {
    const OpenPortEntry& port = open_ports_.at(fd);
    port.peer->Advance(now_us());
    return !port.peer->Present() || port.peer->Generation() != port.generation;
}

bool Environment::IsReadable(int fd) {
    return IsHungUp(fd) || fail_port_reads > 0 || open_ports_.at(fd).peer->Readable(now_us());
}

int64_t Environment::ReadPort(int fd, void* to, size_t size) {
    if (!IsReadable(fd) && scheduler.MayWait()) {
        scheduler.Wait(now_us() + kSilentRead_us, [this, fd] { return !IsPort(fd) || IsReadable(fd); });
    }
    if (!IsPort(fd)) {
        errno = EBADF;
        return -1;
    }
    if (fail_port_reads > 0) {
        --fail_port_reads;
        errno = EIO;
        return -1;
    }
    if (IsHungUp(fd)) return 0;
    const std::string bytes = open_ports_.at(fd).peer->Read(size, now_us());
    assert(bytes.size() <= size);
    memcpy(to, bytes.data(), bytes.size());
    if (on_port_read && !bytes.empty()) on_port_read(bytes);
    return static_cast<int64_t>(bytes.size());
}

int64_t Environment::WritePort(int fd, const void* from, size_t size) {
    if (IsHungUp(fd)) {
        errno = EIO;
        return -1;
    }
    const std::string bytes(static_cast<const char*>(from), size);
    if (on_port_written) on_port_written(bytes);
    open_ports_.at(fd).peer->Write(bytes, now_us());
    return static_cast<int64_t>(size);
}

void Environment::FlushPort(int fd) {
    if (IsHungUp(fd)) return;
    PortPeer* peer = open_ports_.at(fd).peer;
    constexpr size_t kPiece_bytes = 4096;
    constexpr int kPiecesMax = 16;  // a peer that never runs dry can't be emptied
    for (int piece = 0; piece < kPiecesMax && peer->Readable(now_us()); ++piece) {
        peer->Read(kPiece_bytes, now_us());
    }
}

std::string Environment::WaitForTypedLine() {
    scheduler.Wait(kNever, [this] { return !typed_lines_.empty(); });
    std::string line = typed_lines_.front();
    typed_lines_.pop_front();
    return line;
}

FILE* Environment::OpenCommandOutput(const ShellAnswer& answer) {
    CommandOutput* output = new CommandOutput{this, answer};
    FILE* stream = fopencookie(output, "r", {ReadCommandOutput, nullptr, nullptr, CloseCommandOutput});
    if (stream == nullptr) {
        delete output;
        return nullptr;
    }
    command_outputs_.insert(stream);
    ++running_commands_;
    return stream;
}

bool Environment::ForgetCommandOutput(FILE* stream) {
    if (command_outputs_.erase(stream) == 0) return false;
    --running_commands_;
    return true;
}

}  // namespace virtual_time
