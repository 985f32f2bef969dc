// Any bytes as a status file, as settings, and as text for a terminal and for JSON: whoever can write to the
// folder decides what ravelinctl reads there.
#include <algorithm>
#include <optional>
#include <string>

#include <rapidjson/document.h>

#include "tests/fuzz/fuzz_check.h"
#include "tools/board/daemon_line.h"
#include "tools/board/link.h"
#include "tools/board/pipe_command.h"
#include "tools/board/upgrade.h"
#include "tools/ctl/json.h"
#include "tools/ctl/terminal.h"

namespace {

constexpr time_t kNow = 1767225910;
constexpr size_t kWidth = 7;

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

/// Nothing of it can be a command of the terminal, in one byte or in the two of UTF-8; and nothing is lost by
/// cutting.
void CheckShown(const std::string& text) {
    const std::string shown = ctl::Shown(text);
    FUZZ_CHECK(std::none_of(shown.begin(), shown.end(), IsControl));
    for (size_t i = 0; i + 1 < shown.size(); ++i) {
        FUZZ_CHECK(shown[i] != '\xC2' || static_cast<unsigned char>(shown[i + 1]) >= 0xA0);
    }
    std::string joined;
    for (const std::string& line : ctl::Wrap(shown, kWidth)) {
        FUZZ_CHECK(ctl::Columns(line) <= kWidth);
        joined += line;
    }
    const auto without_blanks = [](std::string words) {
        words.erase(std::remove(words.begin(), words.end(), ' '), words.end());
        return words;
    };
    FUZZ_CHECK(without_blanks(joined) == without_blanks(shown));
}

/// A strict reader takes it, and gets what was meant.
void CheckJson(const std::string& text) {
    rapidjson::Document document;
    document.SetObject();
    document.AddMember("text", ctl::JsonText(text, document), document.GetAllocator());
    const std::string line = ctl::JsonLine(document);
    rapidjson::Document read;
    FUZZ_CHECK(!read.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str(), line.size()).HasParseError());
    const std::string meant(read["text"].GetString(), read["text"].GetStringLength());
    FUZZ_CHECK(meant == ctl::Utf8Of(text) && ctl::Utf8Of(meant) == meant);
}

void CheckFile(const char* name, const std::string& text) {
    board::StatusFile file = board::ParseStatus(name, text);
    FUZZ_CHECK((file.state == board::StatusState::kWhole) == board::IsWhole(text));
    if (file.state != board::StatusState::kWhole) {
        FUZZ_CHECK(file.lines.empty() && !file.problem.empty());
        return;
    }
    FUZZ_CHECK(text.back() == '\n' && !board::IsWhole(text.substr(0, text.size() - 1)));
    FUZZ_CHECK(file.Find("Now") != nullptr);
    for (const board::StatusLine& line : file.lines) {
        FUZZ_CHECK(line.value.find('\n') == std::string::npos && file.Find(line.key) != nullptr);
        FUZZ_CHECK(text.find(line.key + "=" + line.value) != std::string::npos);
    }
    file.written = kNow;
    const board::Link link = board::Judge({file, file, file}, {}, kNow);
    FUZZ_CHECK(link.verdict == board::Verdict::kOnline || link.verdict == board::Verdict::kOffline);
    FUZZ_CHECK(link.is_online == (file.Get("Online") == "TRUE"));
    FUZZ_CHECK(!link.waits_for.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    for (const char* name : {board::kStatusName, board::kSignalName, board::k3630Name}) CheckFile(name, text);
    CheckShown(text);
    CheckJson(text);
    const auto uptime = board::ParseUptime(text);
    FUZZ_CHECK(!uptime || *uptime >= 0);
    const auto level = board::ParseLevel(text);
    FUZZ_CHECK(!level || (*level > -1000000000 && *level < 1000000000));
    board::ParseNow(text, kNow);
    FUZZ_CHECK(!board::IsSwitchedOff(text) || text.find("false") != std::string::npos);
    const std::optional<board::DaemonLine> said = board::ReadDaemonLine(text);
    FUZZ_CHECK(!said || !board::OutcomeOf(*said) || text.find("[OTA]") != std::string::npos);
    const board::PipeCommand* command = board::FindPipeCommand(text);
    FUZZ_CHECK(command == nullptr || board::LineProblem(text).empty());
    return 0;
}
