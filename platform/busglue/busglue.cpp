// The three calls of the library, as a board's own one has them.

#pragma GCC visibility push(default)
#include "platform/busglue/busglue.h"
#pragma GCC visibility pop

#include <paths.h>
#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/busglue/bus_link.h"

namespace {

constexpr char kLogIdent[] = "ravelin-mobile";
constexpr int kFailed = -1;

BusLink* the_link = nullptr;

void MakeLink() {
    the_link = new BusLink;
}

/// Never destroyed: its thread works until the very end of the process.
BusLink& Link() {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, MakeLink);
    return *the_link;
}

void OpenLog() {
    openlog(kLogIdent, LOG_PID, LOG_DAEMON);
}

/// Where no socket has ever stood, each line would be a socket made and closed again for nothing. One that
/// was there once may still be connected, whatever has become of its name.
bool HasSyslog() {
    static std::atomic<bool> was_there = false;
    if (!was_there && access(_PATH_LOG, F_OK) == 0) was_there = true;
    return was_there;
}

}  // namespace

int dbs_connect_init(const char* name, const busglue_descriptor* descriptor) {
    if (Link().Join(name, descriptor)) return 0;
    errno = ENOTCONN;  // for a caller that reports by perror
    return kFailed;
}

int dbs_send_method_async(busglue_send_record* record, busglue_send_reply reply) {
    return record != nullptr && Link().Send(*record, reply) ? 0 : kFailed;
}

void log_send(const char* text) {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, OpenLog);
    if (text != nullptr && HasSyslog()) syslog(LOG_INFO, "%s", text);
}
