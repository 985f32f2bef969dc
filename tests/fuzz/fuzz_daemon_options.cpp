// Any words as the daemon's command line, each ended by a NUL. The options must be those that a plain reading
// of the same words gives, and the words themselves stay, in whatever order.
#include <getopt.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "support/text_util.h"
#include "support/trace_log.h"
#include "support/trace_log_state.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"

namespace {

using Words = std::vector<std::string>;

std::vector<FILE*> log_files;

/// The argument vector of a process, each word in a block of its own size.
class ArgumentVector {
  public:
    explicit ArgumentVector(const Words& words) {
        for (const std::string& word : words) pointers_.push_back(strdup(word.c_str()));
        owned_ = pointers_;
        pointers_.push_back(nullptr);
    }
    ~ArgumentVector() {
        for (char* word : owned_) free(word);
    }
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;

    int count() const { return static_cast<int>(owned_.size()); }
    char** words() { return pointers_.data(); }
    Words Texts() const { return Words(pointers_.begin(), pointers_.end() - 1); }

  private:
    std::vector<char*> pointers_;
    std::vector<char*> owned_;
};

struct Expected {
    std::string device = "/dev/ttyUSB2";
    std::string config = "/run/network/ifcfg-lte";
    std::string script;
    bool debug_terminal = false;
    bool goes_on = true;
};

Expected ReadPlainly(const Words& words) {
    Expected expected;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--") break;
        if (word.size() < 2 || word[0] != '-') continue;
        for (size_t at = 1; at < word.size(); ++at) {
            const char letter = word[at];
            if (letter == 't') expected.debug_terminal = true;
            if (letter == 'h') {
                expected.goes_on = false;
                return expected;
            }
            if (letter != 'd' && letter != 'c' && letter != 's') continue;
            std::string& text = letter == 'd'   ? expected.device
                                : letter == 'c' ? expected.config
                                                : expected.script;
            if (at + 1 < word.size()) {
                text = word.substr(at + 1);
            } else if (i + 1 < words.size()) {
                text = words[++i];
            }
            break;
        }
    }
    return expected;
}

template <size_t N>
bool IsCutOf(const char (&text)[N], const std::string& whole) {
    return memchr(text, '\0', N) != nullptr && whole.substr(0, N - 1) == text;
}

Words Sorted(Words words) {
    std::sort(words.begin(), words.end());
    return words;
}

void CheckOptions(const Words& words) {
    ArgumentVector arguments(words);
    Options options;
    optind = 0;  // a new vector
    const bool goes_on = ReadOptions(arguments.count(), arguments.words(), options);
    const Expected expected = ReadPlainly(words);
    FUZZ_CHECK(goes_on == expected.goes_on);
    FUZZ_CHECK(options.debug_terminal == expected.debug_terminal);
    FUZZ_CHECK(IsCutOf(options.device, expected.device));
    FUZZ_CHECK(IsCutOf(options.config, expected.config));
    FUZZ_CHECK(IsCutOf(options.script, expected.script));
    FUZZ_CHECK(Sorted(arguments.Texts()) == Sorted(words));
}

/// Checks the list against the words that it was made of, and empties it.
void CheckAndFree(TraceName** list, const Words& words) {
    Words names;
    while (*list != nullptr) {
        TraceName* node = *list;
        FUZZ_CHECK(std::count(names.begin(), names.end(), node->name) == 0);
        FUZZ_CHECK(std::count(words.begin(), words.end(), node->name) > 0);
        names.emplace_back(node->name);
        *list = node->next;
        free(node->name);
        free(node);
    }
}

void CheckTraceWords(const Words& words) {
    trace_level = kLogDetail;
    ArgumentVector arguments(words);
    trace_init(arguments.count(), arguments.words());
    FUZZ_CHECK(arguments.Texts() == words);
    FUZZ_CHECK(trace_level <= static_cast<int32_t>(kLogDebug));
    const auto gives_level = [](const std::string& word) {
        return std::min<int32_t>(ParseNumber(word.c_str()), kLogDebug) == trace_level;
    };
    FUZZ_CHECK(trace_level == kLogDetail || std::any_of(words.begin(), words.end(), gives_level));
    CheckAndFree(&trace_file_list, words);
    CheckAndFree(&trace_function_list, words);
    FUZZ_CHECK(trace_stream == nullptr || log_files.back() == trace_stream);
    trace_stream = nullptr;
    for (FILE* file : log_files) fclose(file);
    log_files.clear();
}

}  // namespace

// Log files have the names of the input: none of them gets onto the disk.
extern "C" FILE* __real_fopen(const char* path, const char* mode);
extern "C" FILE* __wrap_fopen(const char* path, const char* mode) {
    if (strcmp(mode, "a+") != 0) return __real_fopen(path, mode);
    if (path[0] == '\0') return nullptr;
    log_files.push_back(fdopen(memfd_create("log", 0), mode));
    return log_files.back();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Words words = SplitInput(bytes, size, '\0');
    words.insert(words.begin(), "ravelin-mobile");
    CheckTraceWords(words);
    CheckOptions(words);
    return 0;
}
