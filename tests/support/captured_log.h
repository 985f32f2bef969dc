// For the suite of a module that logs: takes the place of the trace log at link time and keeps every call. To
// be included by one source of an executable.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "support/trace_log.h"

struct LoggedCall {
    std::string file, function;
    int line;
    unsigned level;
    std::string text;  // as formatted; of a dump "%02x " a byte
};

inline std::vector<LoggedCall> logged;
inline bool log_is_kept = true;  // off: calls are dropped at once, without touching the heap

/// Texts of a level, in order.
inline std::vector<std::string> LoggedTexts(unsigned level) {
    std::vector<std::string> texts;
    for (const LoggedCall& call : logged) {
        if (call.level == level) texts.push_back(call.text);
    }
    return texts;
}

void trace_log(const char* file, const char* function, int line, unsigned level, const char* format, ...) {
    if (!log_is_kept) return;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    logged.push_back({file, function, line, level, text});
}

void trace_hexdump(const char* file, const char* function, int line, unsigned level,
                   const unsigned char* data, int length) {
    if (!log_is_kept) return;
    std::string text;
    for (int i = 0; i < length; ++i) {
        char byte[4];
        snprintf(byte, sizeof(byte), "%02x ", data[i]);
        text += byte;
    }
    logged.push_back({file, function, line, level, text});
}
