// Costs of what a steady pass does again and again: lines of the log, reading the settings, parsing an
// answer. Run by hand, build/bench/ravelin_bench; bench/measure gives the figures of the whole daemon.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>

#include "bench/silent_output.h"
#include "network_daemon/cellular.h"
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

void LoadUsualSettings(benchmark::State& state) {
    char path[] = "/tmp/ravelin_bench.XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0 || write(fd, kUsualSettings, strlen(kUsualSettings)) < 0) {
        state.SkipWithError("no temporary file");
        return;
    }
    close(fd);
    for (auto _ : state) {
        IniEntry* table = ini_load(path);
        benchmark::DoNotOptimize(ini_get(table, "CollectSignalFlag"));
        ini_free(table);
    }
    unlink(path);
}
BENCHMARK(LoadUsualSettings);

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
