// Settings, gates and sinks of the log. trace_init runs on the main thread before all others; the two log
// calls run on every thread, without a lock: what they share is read-only by then, and each line is handed to
// its sink in one call.

#include "support/trace_log.h"

#include <sys/time.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/busglue/busglue.h"
#include "support/text_util.h"
#include "support/trace_log_state.h"

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

bool IsListed(const TraceName* list, const char* name) {
    for (; list != nullptr; list = list->next) {
        if (strcmp(list->name, name) == 0) return true;
    }
    return false;
}

/// Puts a copy of `name` at the head of the list, unless it stands there already or memory has run out.
void AddName(TraceName** list, const char* name) {
    if (IsListed(*list, name)) return;
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

void SetLevel(const char* text) {
    const int32_t level = ParseNumber(text);
    printf("Trace level %d\n", level);
    trace_level = std::min(level, kHighestLevel);
}

/// A second log file takes the place of the first, which stays open: lines may be on their way to it.
void OpenLogFile(const char* path) {
    trace_stream = fopen(path, "a+");
    if (trace_stream == nullptr) printf(" Can't open log file '%s'\n", path);
    printf("Log info write into file \" %s\"\n", path);
}

bool IsListedPlace(const char* file, const char* function) {
    return IsListed(trace_function_list, function) || IsListed(trace_file_list, file);
}

/// The threshold is compared unsigned: a negative one lets every level pass.
bool IsBelowThreshold(unsigned level) {
    return level <= static_cast<unsigned>(trace_level);
}

/// False when neither sink can want the line, so that it needn't be formatted.
bool PassesGate(const char* file, const char* function, unsigned level) {
    return IsListedPlace(file, function) || level <= kHighestForwardedLevel || IsBelowThreshold(level);
}

/// Stores "time.milliseconds file:function:line:" and returns its length. The milliseconds have no leading
/// zeros.
size_t FormatPrefix(char* text, size_t size, const char* file, const char* function, int line) {
    timeval fraction = {};
    gettimeofday(&fraction, nullptr);
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char time_text[kTimeTextSize] = "";
    strftime(time_text, sizeof(time_text), "%T", &local);
    const int length = snprintf(text, size, "%s.%d %s:%s:%d:", time_text,
                                static_cast<int>(fraction.tv_usec / 1000), file, function, line);
    return std::min(static_cast<size_t>(std::max(length, 0)), size - 1);
}

/// Hands `text` without its last character to the forwarder, from `start` on or from its end, whichever comes
/// first.
void Forward(char* copy, size_t size, const char* text, size_t start) {
    size_t length = CopyText(copy, size, text);
    if (length > 0) copy[--length] = '\0';
    log_send(copy + std::min(start, length));
}

/// What a print call without arguments makes of `text`: "%%" becomes "%". Any other conversion has no
/// argument to show, and the text may come from a modem, so it stays as it is. Works in place; returns the
/// new length.
size_t InterpretAsFormat(char* text) {
    char* to = strstr(text, "%%");
    if (to == nullptr) return strlen(text);
    const char* from = to;
    while (*from != '\0') {
        if (from[0] == '%' && from[1] == '%') ++from;
        *to++ = *from++;
    }
    *to = '\0';
    return static_cast<size_t>(to - text);
}

/// One call of the system library for the whole line, so that lines of different threads don't mix.
void Print(char* text) {
    FILE* stream = trace_stream != nullptr ? trace_stream : stdout;
    fwrite(text, 1, InterpretAsFormat(text), stream);
    if (trace_stream != nullptr) fflush(trace_stream);
}

/// Writes prefix, bytes and line end of a dump into `text`, which has room for them.
void FormatHexdump(char* text, size_t size, const char* file, const char* function, int line,
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
        // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): only the one after the last word is null
        if (strcmp(word, "-DF") == 0) {
            AddName(&trace_file_list, value);
            // The echo shows the word after the value, not the value: visible outside, keep.
            const char* behind = argv[i + 2];
            printf("Trace file %s\n", behind != nullptr ? behind : "(null)");
        } else if (strcmp(word, "-Df") == 0) {
            AddName(&trace_function_list, value);
            printf("Trace function %s\n", value);
        } else if (strcmp(word, "-Dl") == 0) {
            SetLevel(value);
        } else if (strcmp(word, "-DL") == 0) {
            OpenLogFile(value);
        } else {
            continue;
        }
        ++i;  // the value is no word of its own
    }
}

void trace_log(const char* file, const char* function, int line, unsigned level, const char* format, ...) {
    if (!PassesGate(file, function, level)) return;

    char text[kLineSize] = "";
    size_t prefix_length = 0;
    if (line != 0) prefix_length = FormatPrefix(text, sizeof(text), file, function, line);
    va_list arguments;
    va_start(arguments, format);
    if (vsnprintf(text + prefix_length, sizeof(text) - prefix_length, format, arguments) < 0) {
        text[prefix_length] = '\0';
    }
    va_end(arguments);

    if (level <= kHighestForwardedLevel) {
        char copy[kLineSize];
        // Without a prefix the forwarded part starts after the length of the format: visible outside, keep.
        Forward(copy, sizeof(copy), text, line != 0 ? prefix_length : strlen(format));
    }
    if (IsListedPlace(file, function) || IsBelowThreshold(level)) Print(text);
}

void trace_hexdump(const char* file, const char* function, int line, unsigned level,
                   const unsigned char* data, int length) {
    if (!PassesGate(file, function, level)) return;

    const size_t count = length > 0 ? static_cast<size_t>(length) : 0;
    const size_t size = strlen(file) + strlen(function) + kHexByteWidth * count + kHexPrefixSize;
    auto* text = static_cast<char*>(malloc(size));
    if (text == nullptr) return;
    auto* copy = static_cast<char*>(malloc(size));
    if (copy == nullptr) {
        free(text);
        return;
    }
    FormatHexdump(text, size, file, function, line, data, count);
    if (level <= kHighestForwardedLevel) Forward(copy, size, text, 0);
    if (IsListedPlace(file, function) || IsBelowThreshold(level)) Print(text);
    free(copy);
    free(text);
}
