// Costs of what a steady pass does again and again: lines of the log, reading the settings, parsing an
// answer. Run by hand, build/bench/ravelin_bench; bench/measure gives the figures of the whole daemon.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/silent_output.h"
#include "network_daemon/cellular.h"
#include "network_daemon/config/ConfigController.h"
#include "network_daemon/config/ini_store.h"
#include "platform/busglue/busglue.h"
#include "support/text_util.h"
#include "support/trace_log.h"
#include "support/trace_log_state.h"

/// The forwarder belongs to the bus library; what it costs is not ours to measure.
void log_send(const char* text) {
    benchmark::DoNotOptimize(text);
}

namespace {

constexpr char kNowhere[] = "/dev/null";

void TraceLineFiltered(benchmark::State& state) {
    for (auto _ : state) TRACE(7, "Auto  hint:%s\n", "+CSQ: 20,99");
}
BENCHMARK(TraceLineFiltered);

/// A command line with names to look for makes every line walk the lists.
void TraceLineFilteredWithEightNames(benchmark::State& state) {
    TraceName names[8];
    char name[] = "SomeOtherFunction";
    for (size_t i = 0; i < 8; ++i) names[i] = {name, i < 7 ? &names[i + 1] : nullptr};
    trace_function_list = names;
    for (auto _ : state) TRACE(7, "Auto  hint:%s\n", "+CSQ: 20,99");
    trace_function_list = nullptr;
}
BENCHMARK(TraceLineFilteredWithEightNames);

void TraceLineToStandardOutput(benchmark::State& state) {
    const SilentOutput silent;
    for (auto _ : state) TRACE(5, "Check service status.  %d/34 times.\n", 7);
}
BENCHMARK(TraceLineToStandardOutput);

/// A log file is flushed with every line.
void TraceLineToLogFile(benchmark::State& state) {
    trace_stream = fopen(kNowhere, "a+");
    for (auto _ : state) TRACE(5, "Check service status.  %d/34 times.\n", 7);
    fclose(trace_stream);
    trace_stream = nullptr;
}
BENCHMARK(TraceLineToLogFile);

constexpr char kUsualSettings[] =
    "# written by the charge point\n"
    "ENABLE=true\n"
    "APN='internet.example'\n"
    "USERNAME=user\n"
    "PASSWORD=secret\n"
    "AUTH_TYPE=3\n"
    "CARD_PIN=\n"
    "AUTOCONNECT=1\n"
    "DoubleSIM=0\n"
    "ORLA=0\n"
    "OFFLINE=0\n"
    "BRACKEN_PROJECT=0\n"
    "CollectSignalFlag=1\n";

/// A file that holds `text` while it lives.
class TextInFile {
  public:
    explicit TextInFile(const std::string& text) {
        const int fd = mkstemp(path_);
        if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) abort();
        close(fd);
    }
    ~TextInFile() { unlink(path_); }
    TextInFile(const TextInFile&) = delete;
    TextInFile& operator=(const TextInFile&) = delete;
    const char* path() const { return path_; }

  private:
    char path_[32] = "/dev/shm/ravelin_bench.XXXXXX";  // in memory, as /run is on a board
};

std::string ThousandSettings() {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "SETTING_" + std::to_string(i) + "=value " + std::to_string(i) + "\n";
    return text;
}

void LoadSettings(benchmark::State& state, const std::string& text, const char* key) {
    const TextInFile file(text);
    for (auto _ : state) {
        IniEntry* table = ini_load(file.path());
        benchmark::DoNotOptimize(ini_get(table, key));
        ini_free(table);
    }
}
BENCHMARK_CAPTURE(LoadSettings, usual, kUsualSettings, "CollectSignalFlag");
BENCHMARK_CAPTURE(LoadSettings, thousand_lines, ThousandSettings(), "SETTING_999");

constexpr size_t kLargeJson_bytes = 1000000;

/// One list with names of the usual length, of which each is a line of the dump.
std::string JsonOfManyNames() {
    std::string names;
    for (int i = 0; names.size() < kLargeJson_bytes; ++i)
        names += (i == 0 ? "" : ", ") + ("\"EC200A-" + std::to_string(i) + "\"");
    return "{\"module_name\": [" + names + "]}";
}

/// As many bytes in one text.
std::string JsonOfOneText() {
    return "{\"version\": \"" + std::string(kLargeJson_bytes, 'v') + "\"}";
}

void LoadNetworkJson(benchmark::State& state, const std::string& text) {
    const TextInFile file(text);
    const SilentOutput silent;
    for (auto _ : state) {
        ConfigController config;
        if (config.LoadNetworkJson(file.path()) != 1) state.SkipWithError("not loaded");
    }
}
BENCHMARK_CAPTURE(LoadNetworkJson, many_names, JsonOfManyNames())->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LoadNetworkJson, one_text, JsonOfOneText())->Unit(benchmark::kMicrosecond);

/// What the library itself takes for the text.
void ParseJsonAlone(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        rapidjson::Document document;
        benchmark::DoNotOptimize(document.Parse(text.c_str()).HasParseError());
    }
}
BENCHMARK_CAPTURE(ParseJsonAlone, many_names, JsonOfManyNames())->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ParseJsonAlone, one_text, JsonOfOneText())->Unit(benchmark::kMicrosecond);

/// The parser that the families share, with none of a family after it.
class BaseCell : public cc_cell::CellBase {
  public:
    BaseCell() : CellBase(-1) {}
    const char* GetInterfaceName() override { return ""; }
    int32_t CheckConnection() override { return 0; }
};

void ParseAnswer(benchmark::State& state, const char* answer) {
    const SilentOutput silent;  // some answers are logged
    BaseCell cell;
    char text[cc_cell::kAnswerBufferSize];
    for (auto _ : state) {
        CopyText(text, answer);  // the parser cuts it
        benchmark::DoNotOptimize(cell.ParseAtResult(text));
    }
}
BENCHMARK_CAPTURE(ParseAnswer, signal, "\r\n+CSQ: 20,99\r\n\r\nOK\r\n");
BENCHMARK_CAPTURE(ParseAnswer, registration, "\r\n+CEREG: 2,1,\"5A1E\",\"0BC2F315\",7\r\n\r\nOK\r\n");
BENCHMARK_CAPTURE(ParseAnswer, carrier, "\r\n+COPS: 0,0,\"CHINA MOBILE\",7\r\n\r\nOK\r\n");
BENCHMARK_CAPTURE(ParseAnswer, unknown, "\r\n+QIURC: \"pdpdeact\",1\r\n");

}  // namespace

BENCHMARK_MAIN();
