// The one log of the daemon. A line reaches two sinks that are decided apart from each other: the local one
// (a file or standard output, chosen by the words -DF, -Df, -Dl, -DL of the command line) and the forwarder
// of the bus library, log_send. Called from every thread; the settings are read-only once trace_init has
// returned.
#pragma once

/// Place in the source on whose behalf a line is logged. A helper that speaks for its caller takes one of
/// these.
struct TracePlace {
    const char* file;      // as the build spells it: relative to the repository
    const char* function;  // name of the enclosing function, without class
    int line;              // never 0 in the daemon
};

#define TRACE_HERE (TracePlace{__FILE__, __func__, __LINE__})

/// Levels of a line; smaller is more urgent, and the numbers are those of -Dl. The log itself shows none.
enum LogLevel : unsigned {
    kLogAnnounce = 0,  // always wanted: which device was found, which mode is active
    kLogRecovery = 1,  // a decision of the recovery ladder
    kLogError = 3,
    kLogHeat = 4,      // a modem that is too hot, and nothing else
    kLogProgress = 5,  // what happens in the normal course
    kLogDetail = 6,    // of the configuration; the last level that is shown by default, and forwarded
    kLogDebug = 7,     // the exchange with the modem
};

#define TRACE(level, ...) trace_log(__FILE__, __func__, __LINE__, (level), __VA_ARGS__)
#define TRACE_AT(place, level, ...) \
    trace_log((place).file, (place).function, (place).line, (level), __VA_ARGS__)

/// Reads the four trace words of the argument vector and leaves the vector as it is. To be called once,
/// before any other thread runs. Says on standard output what it took.
void trace_init(int argc, char** argv);

/// Logs one line: time, place, message, cut at 1023 characters. The format ends in "\n" by convention; the
/// forwarded copy loses its last character, whatever it is. Levels 0 to 6 are forwarded, level 7 never. What
/// goes to the local sink has its "%%" turned into "%" a second time; any other conversion there stays as
/// text. With `line` 0 there is no prefix. Allocates nothing, never fails visibly.
void trace_log(const char* file, const char* function, int line, unsigned level, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

/// Logs `length` bytes as "%02x " each, under the same gate; no time stamp, and no place when `line` is 0 or
/// less.
void trace_hexdump(const char* file, const char* function, int line, unsigned level,
                   const unsigned char* data, int length);
