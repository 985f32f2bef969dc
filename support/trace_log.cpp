// Settings, gates and sinks of the log. trace_init runs on the main thread before all others; the two log
// calls run on every thread, without a lock: what they share is read-only by then, and each line is handed to
// its sink in one call.

#include "trace_log.h"

#include <sys/time.h>
#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "busglue.h"
#include "text_util.h"
#include "trace_log_state.h"

int32_t trace_level = kLogDetail;
TraceName* trace_file_list = nullptr;
TraceName* trace_function_list = nullptr;
FILE* trace_stream = nullptr;

namespace {

constexpr int32_t kHighestLevel = kLogDebug;
constexpr unsigned kHighestForwardedLevel = kLogDetail;
constexpr size_t kLineSize = 1024;  // one line of trace_log, prefix and terminator included
constexpr size_t kTimeTextSize = 64;
constexpr size_t kHexByteWidth = 3;    // "%02x "
constexpr size_t kHexPrefixSize = 64;  // padding, line number, line end and terminator beyond the two names

bool is_listed(const TraceName* list, const char* name) {
    for (; list != nullptr; list = list->next) {
        if (strcmp(list->name, name) == 0) return true;
    }
    return false;
}

/// Puts a copy of `name` at the head of the list, unless it stands there already or memory has run out.
void add_name(TraceName** list, const char* name) {
    if (is_listed(*list, name)) return;
    auto* node = static_cast<TraceName*>(malloc(sizeof(TraceName)));
    if (node == nullptr) return;
    node->name = strdup(name);
    if (node->name == nullptr) {
        free(node);
        return;
    }
    node->next = *list;
    *list = node;
}

void set_level(const char* text) {
    const int32_t level = parse_number(text);
    printf("Trace level %d\n", level);
    trace_level = std::min(level, kHighestLevel);
}

/// A second log file takes the place of the first, which stays open: lines may be on their way to it.
void open_log_file(const char* path) {
    trace_stream = fopen(path, "a+");
    if (trace_stream == nullptr) printf(" Can't open log file '%s'\n", path);
    printf("Log info write into file \" %s\"\n", path);
}

bool is_listed_place(const char* file, const char* function) {
    return is_listed(trace_function_list, function) || is_listed(trace_file_list, file);
}

/// The threshold is compared unsigned: a negative one lets every level pass.
bool is_below_threshold(unsigned level) {
    return level <= static_cast<unsigned>(trace_level);
}

/// False when neither sink can want the line, so that it needn't be formatted.
bool passes_gate(const char* file, const char* function, unsigned level) {
    return is_listed_place(file, function) || level <= kHighestForwardedLevel || is_below_threshold(level);
}

/// Stores "time.milliseconds file:function:line:" and returns its length. The milliseconds have no leading
/// zeros.
size_t format_prefix(char* text, size_t size, const char* file, const char* function, int line) {
    timeval fraction = {};
    gettimeofday(&fraction, nullptr);
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char time_text[kTimeTextSize] = "";
    strftime(time_text, sizeof(time_text), "%T", &local);
    snprintf(text, size, "%s.%d %s:%s:%d:", time_text, static_cast<int>(fraction.tv_usec / 1000), file,
             function, line);
    return strlen(text);
}

/// Hands `text` without its last character to the forwarder, from `start` on or from its end, whichever comes
/// first.
void forward(char* copy, size_t size, const char* text, size_t start) {
    size_t length = copy_text(copy, size, text);
    if (length > 0) copy[--length] = '\0';
    log_send(copy + std::min(start, length));
}

/// What a print call without arguments makes of `text`: "%%" becomes "%". Any other conversion has no
/// argument to show, and the text may come from a modem, so it stays as it is. Works in place; returns the
/// new length.
size_t interpret_as_format(char* text) {
    const char* from = text;
    char* to = text;
    while (*from != '\0') {
        if (from[0] == '%' && from[1] == '%') ++from;
        *to++ = *from++;
    }
    *to = '\0';
    return static_cast<size_t>(to - text);
}

/// One call of the system library for the whole line, so that lines of different threads don't mix.
void print(char* text) {
    FILE* stream = trace_stream != nullptr ? trace_stream : stdout;
    fwrite(text, 1, interpret_as_format(text), stream);
    if (trace_stream != nullptr) fflush(trace_stream);
}

/// Writes prefix, bytes and line end of a dump into `text`, which has room for them.
void format_hexdump(char* text, size_t size, const char* file, const char* function, int line,
                    const unsigned char* data, size_t length) {
    size_t used = 0;
    if (line > 0) used = static_cast<size_t>(snprintf(text, size, "%20s:%20s:%4d:", file, function, line));
    for (size_t i = 0; i < length; ++i) {
        used += static_cast<size_t>(snprintf(text + used, size - used, "%02x ", data[i]));
    }
    snprintf(text + used, size - used, "\n");
}

}  // namespace

void trace_init(int argc, char** argv) {
    for (int i = 1; i + 1 < argc; ++i) {
        const char* word = argv[i];
        const char* value = argv[i + 1];
        if (strcmp(word, "-DF") == 0) {
            add_name(&trace_file_list, value);
            // The echo shows the word after the value, not the value: visible outside, keep.
            const char* behind = argv[i + 2];
            printf("Trace file %s\n", behind != nullptr ? behind : "(null)");
        } else if (strcmp(word, "-Df") == 0) {
            add_name(&trace_function_list, value);
            printf("Trace function %s\n", value);
        } else if (strcmp(word, "-Dl") == 0) {
            set_level(value);
        } else if (strcmp(word, "-DL") == 0) {
            open_log_file(value);
        } else {
            continue;
        }
        ++i;  // the value is no word of its own
    }
}

void trace_log(const char* file, const char* function, int line, unsigned level, const char* format, ...) {
    if (!passes_gate(file, function, level)) return;

    char text[kLineSize] = "";
    size_t prefix_length = 0;
    if (line != 0) prefix_length = format_prefix(text, sizeof(text), file, function, line);
    va_list arguments;
    va_start(arguments, format);
    if (vsnprintf(text + prefix_length, sizeof(text) - prefix_length, format, arguments) < 0) {
        text[prefix_length] = '\0';
    }
    va_end(arguments);

    if (level <= kHighestForwardedLevel) {
        char copy[kLineSize];
        // Without a prefix the forwarded part starts after the length of the format: visible outside, keep.
        forward(copy, sizeof(copy), text, line != 0 ? prefix_length : strlen(format));
    }
    if (is_listed_place(file, function) || is_below_threshold(level)) print(text);
}

void trace_hexdump(const char* file, const char* function, int line, unsigned level,
                   const unsigned char* data, int length) {
    if (!passes_gate(file, function, level)) return;

    const size_t count = length > 0 ? static_cast<size_t>(length) : 0;
    const size_t size = strlen(file) + strlen(function) + kHexByteWidth * count + kHexPrefixSize;
    auto* text = static_cast<char*>(malloc(size));
    if (text == nullptr) return;
    auto* copy = static_cast<char*>(malloc(size));
    if (copy == nullptr) {
        free(text);
        return;
    }
    format_hexdump(text, size, file, function, line, data, count);
    if (level <= kHighestForwardedLevel) forward(copy, size, text, 0);
    if (is_listed_place(file, function) || is_below_threshold(level)) print(text);
    free(copy);
    free(text);
}
