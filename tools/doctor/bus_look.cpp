#include "tools/doctor/bus_look.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

#include <dbus/dbus.h>

#include "tools/board/bus_client.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kPeer[] = "org.freedesktop.DBus.Peer";
constexpr int kBusAnswerWait_ms = 3000;
constexpr int kProcessWait_ms = 8000;
constexpr char kStrangerName[] = "nobody";  // the bus takes no user whom the system doesn't know

// What the other process says: a word, and a line for each thing that it has learnt.
constexpr char kReachable[] = "reachable";
constexpr char kRefused[] = "refused";
constexpr char kLetThrough[] = "let-through";

using Clock = std::chrono::steady_clock;

/// What a function returns that another process runs; nothing when that takes too long or dies.
std::optional<std::string> InAnotherProcess(const std::function<std::string()>& function) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    const pid_t child = fork();
    if (child == 0) {
        const std::string said = function();
        const ssize_t written = write(ends[1], said.data(), said.size());
        _exit(written == static_cast<ssize_t>(said.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string said;
    bool is_done = child < 0;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kProcessWait_ms);
    while (!is_done) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd readable = {ends[0], POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) break;
        char piece[1024];
        const ssize_t count = read(ends[0], piece, sizeof piece);
        if (count < 0 && errno == EINTR) continue;
        is_done = count <= 0;
        if (count > 0) said.append(piece, static_cast<size_t>(count));
    }
    close(ends[0]);
    if (child < 0) return std::nullopt;
    if (!is_done) kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!is_done || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return said;
}

/// Asks the bus itself about the daemon's name. Null: it has no answer, so nobody owns the name.
DBusMessage* AskAboutName(DBusConnection* connection, const char* method) {
    DBusMessage* call =
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method);
    const char* name = board::kDaemonBusName;
    dbus_message_append_args(call, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    DBusError failure = DBUS_ERROR_INIT;
    DBusMessage* answer =
        dbus_connection_send_with_reply_and_block(connection, call, kBusAnswerWait_ms, &failure);
    dbus_message_unref(call);
    dbus_error_free(&failure);
    return answer;
}

std::string LookAsOurselves(const std::string& address) {
    board::BusClient bus;
    if (!bus.Open(address)) return bus.error();
    DBusConnection* connection = bus.connection();
    std::string said = std::string(kReachable) + "\n";
    if (DBusMessage* answer = AskAboutName(connection, "GetNameOwner")) {
        const char* owner = nullptr;
        if (dbus_message_get_args(answer, nullptr, DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID)) {
            said += std::string(owner) + "\n";
        }
        dbus_message_unref(answer);
    }
    if (DBusMessage* answer = AskAboutName(connection, "GetConnectionUnixProcessID")) {
        dbus_uint32_t process = 0;
        if (dbus_message_get_args(answer, nullptr, DBUS_TYPE_UINT32, &process, DBUS_TYPE_INVALID)) {
            said += std::to_string(process) + "\n";
        }
        dbus_message_unref(answer);
    }
    return said;
}

bool BecomeStranger() {
    if (geteuid() != 0) return true;
    const passwd* user = getpwnam(kStrangerName);
    if (user == nullptr || user->pw_uid == 0) return false;
    return setgroups(0, nullptr) == 0 && setresgid(user->pw_gid, user->pw_gid, user->pw_gid) == 0 &&
           setresuid(user->pw_uid, user->pw_uid, user->pw_uid) == 0;
}

/// A Ping is answered by the bus library of whoever gets it, and reaches no handler.
std::string LookAsStranger(const std::string& address, const std::string& owner) {
    board::BusClient bus;
    if (!BecomeStranger() || !bus.Open(address)) return "";
    DBusMessage* call = dbus_message_new_method_call(owner.c_str(), "/", kPeer, "Ping");
    dbus_message_set_auto_start(call, FALSE);
    DBusError failure = DBUS_ERROR_INIT;
    DBusMessage* answer =
        dbus_connection_send_with_reply_and_block(bus.connection(), call, kBusAnswerWait_ms, &failure);
    if (answer != nullptr || dbus_error_has_name(&failure, DBUS_ERROR_UNKNOWN_METHOD)) return kLetThrough;
    return dbus_error_has_name(&failure, DBUS_ERROR_ACCESS_DENIED) ? kRefused : "";
}

}  // namespace

BusLook LookAtBus(const std::string& address) {
    BusLook look;
    look.asked = true;
    const std::optional<std::string> said = InAnotherProcess([&] { return LookAsOurselves(address); });
    if (!said) {
        look.error = "it doesn't answer";
        return look;
    }
    const std::vector<std::string> lines = Split(*said, '\n');
    look.is_reachable = !lines.empty() && lines[0] == kReachable;
    if (!look.is_reachable) {
        look.error = *said;
        return look;
    }
    look.name_is_owned = lines.size() > 1;
    if (lines.size() > 2) look.owner = static_cast<pid_t>(strtol(lines[2].c_str(), nullptr, 10));
    if (!look.name_is_owned) return look;
    const std::optional<std::string> stranger =
        InAnotherProcess([&] { return LookAsStranger(address, lines[1]); });
    if (stranger == kRefused) look.stranger = BusLook::Stranger::kRefused;
    if (stranger == kLetThrough) look.stranger = BusLook::Stranger::kLetThrough;
    return look;
}

}  // namespace doctor
