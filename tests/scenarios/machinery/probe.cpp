// A small program in the daemon's place. It does under the preload library what the daemon does on its other
// threads, so that pipe, bus, slow commands and a typed line are proved by themselves: machinery.scenario
// says what must be seen.

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/busglue/busglue.h"

namespace {

const char kFifo[] = "/run/network/ravelin_fifo";

int TakeCall(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    printf("call of %d bytes, first %02x\n", length, bytes[0]);
    sleep(2);  // a handler may take its time
    unsigned char answer[] = {0xAB, 0xCD};
    reply(sizeof(answer), answer, context);
    return 0;
}

int TakeSignal(int length, unsigned char*) {
    printf("signal of %d bytes\n", length);
    return 0;
}

int TakeSendReply(int, unsigned char*) {
    return 0;
}

void* ReadFifo(void*) {
    mkfifo(kFifo, 0660);
    const int fd = open(kFifo, O_RDWR | O_NONBLOCK);
    while (true) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(fd, &set);
        timeval timeout = {5, 0};
        if (select(fd + 1, &set, nullptr, nullptr, &timeout) == 0) {
            printf("fifo idle, exists %d\n", access(kFifo, F_OK) == 0);
            continue;
        }
        char text[100] = "";
        if (read(fd, text, sizeof(text) - 1) > 0) printf("fifo says %s", text);
    }
}

void ShowWhatCallerLeft() {
    rlimit descriptors = {};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    const mode_t mask = umask(0);
    umask(mask);
    printf("mask %03o, descriptors %d\n", mask, static_cast<int>(descriptors.rlim_cur));
}

void SendFrame() {
    unsigned char frame[] = {0xFF, 0x6A};
    char destination[] = "OCPP.Message";
    busglue_send_record record = {sizeof(frame), frame, destination, 700};
    dbs_send_method_async(&record, TakeSendReply);
}

void RunSlowCommand() {
    FILE* stream = popen("tool -f folder", "r");
    char line[100];
    while (stream != nullptr && fgets(line, sizeof(line), stream) != nullptr) printf("tool says %s", line);
    if (stream != nullptr) pclose(stream);
}

/// Reads one line and closes: what the command still does is waited for all the same.
void LeaveCommandEarly() {
    FILE* stream = popen("talker", "r");
    char line[100];
    if (stream == nullptr || fgets(line, sizeof(line), stream) == nullptr) return;
    printf("talker says %s", line);
    pclose(stream);
    printf("talker is done\n");
}

}  // namespace

int main() {
    const busglue_signal_row signals[] = {{"ravelin.reset", TakeSignal}, {nullptr, nullptr}};
    const busglue_method_row methods[] = {{"RAVELIN.Message", TakeCall}, {nullptr, nullptr}};
    const busglue_descriptor descriptor = {signals, methods};
    dbs_connect_init("RAVELIN", &descriptor);
    pthread_t thread;
    pthread_create(&thread, nullptr, ReadFifo, nullptr);
    pthread_detach(thread);
    log_send("up");
    ShowWhatCallerLeft();
    sleep(20);
    SendFrame();
    RunSlowCommand();
    LeaveCommandEarly();
    if (system("slow script") == 0) printf("script is done\n");
    char* line = nullptr;
    size_t size = 0;
    if (getdelim(&line, &size, '\n', stdin) > 0) printf("typed %s", line);
    free(line);
    fprintf(stderr, "going\n");
    return 3;
}
