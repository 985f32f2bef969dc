// Any bytes as a log. Whatever stands in it, it is read to its end, lines come in their order, and what is
// told of it can be parsed, holds nothing that a terminal obeys, and doesn't contradict itself.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include <rapidjson/document.h>

#include "tests/fuzz/fuzz_check.h"
#include "tools/log/history.h"
#include "tools/log/history_json.h"
#include "tools/log/reader.h"

namespace {

using namespace ravelin_log;

std::string Told(const std::string& path, size_t size, const ReaderOptions& options) {
    Reader reader;
    std::string problem;
    FUZZ_CHECK(reader.Open({path}, options, &problem));
    Historian historian;
    Line line;
    size_t lines = 0;
    int64_t number = 0;
    int64_t elapsed_ms = 0;
    while (reader.Next(&line)) {
        FUZZ_CHECK(++lines <= size + 1);
        FUZZ_CHECK(line.number >= number && line.elapsed_ms >= elapsed_ms);
        number = line.number;
        elapsed_ms = line.elapsed_ms;
        historian.Take(line);
    }
    const History history = historian.Finish();
    for (size_t i = 0; i < history.outages.size(); ++i) {
        const Outage& outage = history.outages[i];
        FUZZ_CHECK((outage.cause == cause::kUnknown) == (outage.certainty == Certainty::kUnknown));
        FUZZ_CHECK(outage.end.passed_ms >= outage.begin.passed_ms && !outage.evidence.empty());
        FUZZ_CHECK(!(outage.has_end && outage.is_open));
        for (const size_t reset : outage.resets) FUZZ_CHECK(reset < history.resets.size());
    }
    for (const Reset& reset : history.resets) {
        FUZZ_CHECK((reset.reason == cause::kUnknown) == (reset.certainty == Certainty::kUnknown));
        FUZZ_CHECK(!reset.evidence.empty() && !reset.next.empty());
    }
    FUZZ_CHECK(history.ledger.online_ms >= 0 && history.ledger.length_ms() >= 0);
    return HistoryAsJson(history, reader);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const int file = memfd_create("log", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    FUZZ_CHECK(ftruncate(file, 0) == 0);
    FUZZ_CHECK(pwrite(file, bytes, size, 0) == static_cast<ssize_t>(size));

    const std::string text = Told(path, size, {});
    FUZZ_CHECK(
        std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    FUZZ_CHECK(!document.HasParseError() && document.IsObject());
    FUZZ_CHECK(Told(path, size, {}) == text);
    ReaderOptions dated;
    dated.date = "2026-11-22";
    Told(path, size, dated);
    return 0;
}
