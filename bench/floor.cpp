// The floor under the daemon's figures: a program that does in a steady pass just what must be done, and
// knows nothing else. It asks the simulated Quectel modem what the daemon asks it, at the same pace, reads
// the settings, writes the two status files, listens to the pipe, and answers status queries on the bus with
// a line of the log. It sets up no modem, dials nothing, recovers from nothing and logs nothing but queries.
//
// bench/measure --floor and bench/bus --floor run it in the daemon's place: floor -d PORT.
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dbus/dbus.h>

#include "support/dbus_util.h"
#include "support/trace_log.h"

// The frames' own lines of the log are below its threshold.
void trace_log(const char*, const char*, int, unsigned, const char*, ...) {}
void trace_hexdump(const char*, const char*, int, unsigned, const unsigned char*, int) {}

namespace {

constexpr char kSettings[] = "/run/network/ifcfg-lte";
constexpr char kPipe[] = "/run/network/ravelin_fifo";
constexpr long kProbe_seconds = 10;

char apn[64];

// The log

void Log(const char* text) {
    timeval fraction = {};
    gettimeofday(&fraction, nullptr);
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char time_text[64];
    strftime(time_text, sizeof time_text, "%T", &local);
    char line[1024];
    const int length = snprintf(line, sizeof line, "%s.%d %s:%s:%d:%s\n", time_text,
                                static_cast<int>(fraction.tv_usec / 1000), "bench/floor.cpp", "Log", 1, text);
    syslog(LOG_INFO, "%s", text);
    if (write(STDOUT_FILENO, line, static_cast<size_t>(length)) < 0) abort();
}

// The bus

DBusHandlerResult Answer(DBusConnection* connection, DBusMessage* message, void*) {
    if (strcmp(dbus_message_get_member(message) != nullptr ? dbus_message_get_member(message) : "",
               "Message") != 0) {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const unsigned char* bytes = nullptr;
    int length = 0;
    BusFrame frame;
    if (!dbus_message_get_args(message, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length,
                               DBUS_TYPE_INVALID) ||
        DecodeDbusMsg(bytes, length, &frame) < 0) {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    char text[80];
    snprintf(text, sizeof text, "[RAVELIN] get ocpp msg id=%x cmd=%x length=%d", frame.msg_id, frame.cmd, 0);
    Log(text);
    unsigned char data[512] = {15};
    size_t used = 1;
    for (unsigned char type = 1; type <= 15; ++type) {
        const char value[] = "867698041122330";
        data[used++] = type;
        data[used++] = sizeof value - 1;
        memcpy(data + used, value, sizeof value - 1);
        used += sizeof value - 1;
    }
    unsigned char answer[1024];
    const unsigned char* start = answer;
    const int size =
        EncodeDbusMsg(answer, sizeof answer, frame.msg_id, frame.cmd, data, static_cast<int>(used));
    DBusMessage* reply = dbus_message_new_method_return(message);
    dbus_message_append_args(reply, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &start, size, DBUS_TYPE_INVALID);
    dbus_connection_send(connection, reply, nullptr);
    dbus_message_unref(reply);
    return DBUS_HANDLER_RESULT_HANDLED;
}

void* ServeBus(void* connection) {
    while (dbus_connection_read_write_dispatch(static_cast<DBusConnection*>(connection), -1)) {
    }
    return nullptr;
}

void JoinBus() {
    const char* address = getenv("RAVELIN_BUS_ADDRESS");
    DBusConnection* connection =
        address != nullptr ? dbus_connection_open_private(address, nullptr) : nullptr;
    if (connection == nullptr || !dbus_bus_register(connection, nullptr)) abort();
    dbus_bus_request_name(connection, "busglue.RAVELIN", DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr);
    dbus_connection_add_filter(connection, Answer, nullptr, nullptr);
    pthread_t thread;
    pthread_create(&thread, nullptr, ServeBus, connection);
}

// The pipe

void* ListenToPipe(void*) {
    mkfifo(kPipe, 0660);
    const int fd = open(kPipe, O_RDWR | O_NONBLOCK);
    for (;;) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(fd, &readable);
        timeval timeout = {5, 0};
        char text[512];
        if (access(kPipe, F_OK) != 0) abort();
        if (select(fd + 1, &readable, nullptr, nullptr, &timeout) > 0 && read(fd, text, sizeof text) < 0)
            abort();
    }
}

// The modem

int Listen(int port, char (&text)[257], int timeout_ms) {
    int length = 0;
    timeval left = {timeout_ms / 1000, timeout_ms % 1000 * 1000};
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(port, &readable);
    do {
        if (select(1024, &readable, nullptr, nullptr, &left) < 1) break;
        length += static_cast<int>(read(port, text + length, static_cast<size_t>(256 - length)));
    } while ((left.tv_sec > 0 || left.tv_usec > 0) && length < 256);
    text[length] = '\0';
    return length;
}

void Ask(int port, const char* command) {
    char text[257];
    while (Listen(port, text, 1) > 0) {
    }
    if (write(port, command, strlen(command)) < 0 || write(port, "\r\n", 2) < 0) abort();
    Listen(port, text, 1000);
}

long Uptime() {
    struct sysinfo info = {};
    sysinfo(&info);
    return info.uptime;
}

// Files

void ReadSettings() {
    char text[4096];
    const int fd = open(kSettings, O_RDWR);
    const ssize_t length = read(fd, text, sizeof text - 1);
    close(fd);
    text[length > 0 ? length : 0] = '\0';
    const char* found = strstr(text, "APN=");
    if (found != nullptr)
        snprintf(apn, sizeof apn, "%.*s", static_cast<int>(strcspn(found + 4, "\n")), found + 4);
}

/// Of the usual length, with what changes from pass to pass.
void WriteStatus(const char* path) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const long hours = Uptime() / 3600;
    const long minutes = Uptime() / 60 % 60;
    const long seconds = Uptime() % 60;
    const time_t now = time(nullptr);
    char text[512];
    const int length = snprintf(text, sizeof text,
                                "IMSI=460001112223334\nICCID=89860012317001122334\nIMEI=867698041122330\n"
                                "AutoConnect=FALSE\nOnline=TRUE\nCarrier=\"CHINA MOBILE\"\nAPN='%s'\nCSQ=23\n"
                                "CGREG=1\nCEREG=1\nUptime=%02ld:%02ld:%02ld\nRetryTimes=1\nNetwork=LTE\n"
                                "FWVersion=EG25GGBR07A08M2G\nTempture=38\nGIT_VERSION=0123456\nNow='%s'\n",
                                apn, hours, minutes, seconds, asctime(localtime(&now)));
    if (write(fd, text, static_cast<size_t>(length)) < 0) abort();
    close(fd);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const int port = open(argv[2], O_RDWR | O_NOCTTY);
    if (port < 0) return 1;
    openlog("ravelin-mobile", LOG_PID, LOG_DAEMON);
    JoinBus();
    pthread_t thread;
    pthread_create(&thread, nullptr, ListenToPipe, nullptr);
    Ask(port, "ATE0");
    long probed = 0;
    for (;;) {
        char hint[257];
        Listen(port, hint, 1000);
        if (Uptime() - probed > kProbe_seconds) {
            Ask(port, "AT+QNWINFO");
            Ask(port, "AT+CSQ");
            probed = Uptime();
        }
        Ask(port, "AT+QNETDEVSTATUS?");
        ReadSettings();
        WriteStatus("/run/network/ravelin_status");
        WriteStatus("/run/network/signal_status");
    }
}
