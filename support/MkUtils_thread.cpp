// Thread attributes, priority of the process and the signal handler of MkUtils.
#include "support/MkUtils.h"

#include <sched.h>

#include <cassert>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

const char* PolicyName(int policy) {
    switch (policy) {
        case SCHED_FIFO:
            return "SCHED_FIFO";
        case SCHED_RR:
            return "SCHED_RR";
        case SCHED_OTHER:
            return "SCHED_OTHER";
        default:
            return "UNKNOWN";
    }
}

void SetProcessPriority(int priority, const char* failure) {
    if (priority == -1) {
        puts(failure);
        exit(1);
    }
    sched_param parameters{};
    parameters.sched_priority = priority;
    if (sched_setscheduler(0, SCHED_FIFO, &parameters) != 0) {
        puts("sched_setscheduler() failed");
        exit(1);
    }
}

}  // namespace

int get_thread_policy(pthread_attr_t* attributes) {
    int policy = 0;
    const int rs = pthread_attr_getschedpolicy(attributes, &policy);
    assert(rs == 0);
    printf("policy = %s\n", PolicyName(policy));
    return policy;
}

int set_thread_policy(pthread_attr_t* attributes, int policy) {
    const int rs = pthread_attr_setschedpolicy(attributes, policy);
    assert(rs == 0);
    return get_thread_policy(attributes);
}

void show_thread_priority(pthread_attr_t*, int policy) {
    int priority = sched_get_priority_max(policy);
    assert(priority != -1);
    printf("max_priority = %d\n", priority);
    priority = sched_get_priority_min(policy);
    assert(priority != -1);
    printf("min_priority = %d\n", priority);
}

int get_thread_priority(pthread_attr_t* attributes) {
    sched_param parameters{};
    const int rs = pthread_attr_getschedparam(attributes, &parameters);
    assert(rs == 0);
    printf("priority = %d\n", parameters.sched_priority);
    return parameters.sched_priority;
}

void set_thread_priority(pthread_attr_t* attributes, int priority) {
    get_thread_priority(attributes);
    sched_param parameters{};
    parameters.sched_priority = priority;
    const int rs = pthread_attr_setschedparam(attributes, &parameters);
    assert(rs == 0);
    get_thread_priority(attributes);
}

void SetMaxPriority() {
    SetProcessPriority(sched_get_priority_max(SCHED_FIFO), "sched_get_priority_max() failed");
}

void SetMinPriority() {
    SetProcessPriority(sched_get_priority_min(SCHED_FIFO), "sched_get_priority_min() failed");
}

void HandleSignal(int signal_number) {
    switch (signal_number) {
        case SIGPIPE:
            puts("Received signal SIGPIPE");
            return;
        case SIGINT:
            puts("Received signal SIGINT, exiting...");
            break;
        case SIGABRT:
            puts("Received signal SIGABRT, exiting...");
            break;
        case SIGTERM:
            puts("Received signal SIGTERM, exiting...");
            break;
        default:
            printf("Received signal 0x%X, exiting...\n", static_cast<unsigned>(signal_number));
    }
    exit(0);
}
