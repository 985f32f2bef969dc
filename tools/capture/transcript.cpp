#include "tools/capture/transcript.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string_view>

#include "simulator/text/text.h"
#include "tools/board/upgrade.h"
#include "tools/log/line.h"
#include "tools/log/reader.h"

namespace capture {

namespace {

using ravelin_log::kSecond_ms;
using ravelin_log::Line;
using simulator_text::StartsWith;
using Kind = Event::Kind;

constexpr size_t kLongestMessage_bytes = 64 * 1024;
constexpr int64_t kPauseAroundReset_seconds = 5;
constexpr int64_t kInterfacePause_seconds = 1;
constexpr int64_t kStartOfExchange_ms = 1;  // the line is drained before each command

/// A message of the daemon with all its lines.
struct Said {
    std::string file;
    std::string function;
    std::string text;
    int64_t at_ms = 0;
    int64_t before_ms = 0;
    bool begins_run = false;
};

/// Whether `text` begins with `start`; the rest goes to `rest`.
bool After(const std::string& text, std::string_view start, std::string* rest) {
    if (!StartsWith(text, start)) return false;
    *rest = text.substr(start.size());
    return true;
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

std::string WithoutBlank(std::string text) {
    if (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

std::string Word(const std::string& text) {
    std::string word = FirstLine(text);
    while (!word.empty() && (word.back() == '\r' || word.back() == ' ')) word.pop_back();
    return word;
}

struct FamilyRow {
    std::string_view file;  // of the driver, without folder and ending
    const char* family;
};
constexpr FamilyRow kFamilies[] = {
    {"CellLongSung", "longsung"},
    {"CellChuangYi", "chuangyi"},
    {"CellNodeCom", "nodecom"},
    {"CellHuaWei", "huawei"},
    {"CellZTE", "zte"},
    {"CellQuectelQcom", "quectel_qcom"},
    {"CellQuectelUnisoc", "quectel_unisoc"},
    {"CellQuectelAsr", "quectel_asr"},
    {"CellSimCom", "simcom"},
    {"CellCinterion", "cinterion"},
    {"CellFiboComLE", "fibocom_le"},
    {"CellFiboCom", "fibocom"},
    {"CellLYNQ", "lynq"},
};

struct VendorRow {
    int number;
    const char* family;
};
constexpr VendorRow kVendors[] = {
    {1, "longsung"},     {2, "chuangyi"},       {3, "nodecom"},     {4, "huawei"}, {5, "zte"},
    {6, "quectel_qcom"}, {7, "quectel_unisoc"}, {8, "quectel_asr"}, {9, "simcom"}, {10, "cinterion"},
    {11, "fibocom"},     {13, "lynq"},          {14, "fibocom_le"}};

/// Who probes, which probe, and what stands in its command and in no other.
struct ProbeRow {
    std::string_view function;
    std::string_view name;
    const char* part;
};
constexpr ProbeRow kProbes[] = {
    {"switchPingProc", "ping1", "ping  8.8.8.8  -c 3 -w 2"},
    {"switchPingProc", "ping2", "ping  8.8.4.4  -c 3 -w 2"},
    {"switchPingProc", "ping3", "ping  www.bing.com"},
    {"switchPingProc", "ping4", "ping  172.21.2.226"},
    {"ORLAPROC", "ping1", "ping  10.151.133.48 "},
    {"ORLAPROC", "ping2", "ping  10.151.133.173 "},
    {"ORLAPROC", "ping3", "ping  8.8.8.8 -c 3|"},
    {"ORLAPROC", "ping4", "ping  8.8.4.4 -c 3|"},
};

constexpr unsigned kUpgradeCommand = 0x7600;
constexpr int kMostData_bytes = 30720;  // of a frame
constexpr int64_t kForever_seconds = 1000000;
constexpr char kDhcpStart[] = "if-lte /run/network/ifcfg-lte dhcp";
constexpr char kDhcpKill[] = "if-lte /run/network/ifcfg-lte kill_dhcp";
constexpr char kCheckInterface[] = "check_interface";
constexpr char kResetScript[] = "Reset4G.sh start";

/// What the daemon says when it decides: the beginning of the message.
constexpr std::string_view kDecisions[] = {
    "Soft reset!",
    "Do connect.",
    "Do connect fail",
    "m_reconnect_times=",
    "Run DhcpClient!!!",
    "No response!",
    "Connect error!",
    "Cinterion PLS83-W /",
    "Reset4G time=",
    "No SIM card detected!!!",
    "no service status,Soft reset once!",
    "Check connection. offline",
    "[FIFO] SoftReset run",
    "[FIFO] DeviceReset run",
    "lte ENABLE=false",
    "The wireless network signal is weak, Switch",
    "Ping Check failed",
    "open device error",
    "Unknow Cell Device!",
};

class TranscriptReader {
  public:
    explicit TranscriptReader(Transcript* transcript) : transcript_(*transcript) {}

    void Take(const Said& said);
    void End() {
        EndWrite();
        EndSettings();
        if (has_tool_) EndTool(kForever_seconds);
    }

  private:
    Event& Add(Kind kind, const Said& said, std::string subject = "", std::string text = "") {
        Event event;
        event.kind = kind;
        event.at_ms = said.at_ms;
        event.before_ms = said.before_ms;
        event.subject = std::move(subject);
        event.text = std::move(text);
        transcript_.events.push_back(std::move(event));
        return transcript_.events.back();
    }

    void AddBytes(Kind kind, const Said& said, std::string subject, std::string text);
    void TakeIdentification(const Said& said);
    void EndWrite();
    bool TakeSetting(const Said& said);
    void EndSettings();
    void TakeShellTimes(const Said& said);
    void TakeFacts(const Said& said);
    void TakePing(const Said& said);
    void TakeUpgrade(const Said& said);
    void EndTool(int64_t seconds);
    void Know(Identity::Kind kind, const std::string& text);
    void SetFamily(const Said& said);

    Transcript& transcript_;
    bool is_full_ = false;  // the last read took all that it could: more of it may follow
    size_t full_event_ = 0;

    bool has_write_ = false;  // a command of the identification, whose answer hasn't been seen yet
    bool wrote_twice_ = false;
    Said write_;
    std::string write_command_;
    std::string write_answer_;
    bool is_flushed_ = false;

    bool in_settings_ = false;
    Said settings_said_;
    std::vector<std::pair<std::string, std::string>> settings_;
    bool was_double_ = false, was_orla_ = false, was_bracken_ = false;

    std::string shell_part_;  // the command that began at shell_from_ms_
    int64_t shell_from_ms_ = 0;
    int64_t shell_pause_ms_ = 0;

    bool has_frame_ = false;
    size_t frame_event_ = 0;

    bool has_tool_ = false;
    Said tool_;
    std::string tool_output_;
    std::vector<int64_t> tool_seconds_;  // when it said each line

    bool pings_ = false;
    int64_t ping_from_ms_ = 0;
    bool has_ping_ = false;
    bool ping_failed_ = false;
    Said ping_;
};

void TranscriptReader::Know(Identity::Kind kind, const std::string& text) {
    if (!text.empty()) transcript_.identities.push_back({kind, text});
}

// What follows a read that was full belongs to the same words of the modem.
void TranscriptReader::AddBytes(Kind kind, const Said& said, std::string subject, std::string text) {
    const bool fills = text.size() >= kRead_bytes;
    if (fills) ++transcript_.full;
    if (text.find('%') != std::string::npos) ++transcript_.percent;
    if (kind == Kind::kHeard && is_full_) {
        transcript_.events[full_event_].text += text;
    } else {
        Add(kind, said, std::move(subject), std::move(text));
        full_event_ = transcript_.events.size() - 1;
    }
    is_full_ = fills;
}

void TranscriptReader::EndWrite() {
    if (!has_write_) return;
    has_write_ = false;
    AddBytes(Kind::kAsk, write_, write_command_, write_answer_);
}

void TranscriptReader::TakeIdentification(const Said& said) {
    constexpr std::string_view kWrite = "\nAT WRITE:\n", kReturn = "\nAT RETURN:", kRest = "rest :";
    std::string rest;
    if (After(said.text, kWrite, &rest)) {
        EndWrite();
        transcript_.has_identification = true;
        has_write_ = true;
        is_flushed_ = false;
        write_ = said;
        write_command_ = Word(rest);
        write_answer_.clear();
    } else if (After(said.text, kReturn, &rest)) {
        if (!has_write_) return;
        write_answer_ = rest;
        write_.at_ms = said.at_ms;
        EndWrite();
    } else if (After(said.text, kRest, &rest)) {
        rest = WithoutBlank(rest);
        if (!has_write_ || is_flushed_) {
            EndWrite();
            AddBytes(Kind::kHeard, said, "", rest);
            return;
        }
        write_answer_ = rest;
        write_.at_ms = said.at_ms;
        is_flushed_ = true;
    }
}

void TranscriptReader::EndSettings() {
    if (!in_settings_) return;
    in_settings_ = false;
    const auto add_if = [&](bool& was, const char* key) {
        const auto is_key = [key](const auto& setting) { return setting.first == key; };
        const bool is = std::any_of(settings_.begin(), settings_.end(), is_key);
        if (was && !is) settings_.emplace_back(key, "0");
        was |= is;
    };
    add_if(was_double_, "DoubleSIM");
    add_if(was_orla_, "ORLA");
    add_if(was_bracken_, "BRACKEN_PROJECT");
    std::string text;
    for (const auto& [key, value] : settings_) text += key + "=" + value + "\n";
    settings_.clear();
    Add(Kind::kSettings, settings_said_, "", text);
}

/// Whether the line is one of those that a reading of the settings writes.
bool TranscriptReader::TakeSetting(const Said& said) {
    std::string key, value;
    const std::string& function = said.function;
    if (function == "SetEnable" && After(said.text, "Enable = ", &value)) {
        key = "ENABLE";
    } else if (function == "SetAPN") {
        if (!After(said.text, "input apn = ", &value)) return true;
        key = "APN";
    } else if (function == "SetUsername" && After(said.text, "username = ", &value)) {
        key = "USERNAME";
    } else if (function == "SetPassword" && After(said.text, "password = ", &value)) {
        key = "PASSWORD";
    } else if (function == "SetAuthType" && After(said.text, "auth type = ", &value)) {
        key = "AUTH_TYPE";
    } else if (function == "SetCardPin" && After(said.text, "PIN = ", &value)) {
        key = "CARD_PIN";
    } else if (function == "SetOFFLINE" && After(said.text, "OFFLINE = ", &value)) {
        key = "OFFLINE";
    } else if (function == "GetLTEcfg") {
        value = "1";
        if (StartsWith(said.text, "DoubleSIM ENABLE")) key = "DoubleSIM";
        if (StartsWith(said.text, "ORLA PROJECT")) key = "ORLA";
        if (StartsWith(said.text, "BRACKEN PROJECT")) key = "BRACKEN_PROJECT";
        if (StartsWith(said.text, "4G Module Signal collect switch config ")) key = "CollectSignalFlag";
        if (said.text.find("config DISABLE") != std::string::npos) value = "0";
    }
    if (key.empty()) return false;
    const auto has_key = [&](const auto& setting) { return setting.first == key; };
    if (std::any_of(settings_.begin(), settings_.end(), has_key)) EndSettings();
    if (!in_settings_) settings_said_ = said;
    in_settings_ = true;
    value = FirstLine(value);
    settings_.emplace_back(key, value);
    if (key == "APN") Know(Identity::Kind::kApn, Word(value));
    if (key == "USERNAME") Know(Identity::Kind::kUser, Word(value));
    if (key == "PASSWORD") Know(Identity::Kind::kPassword, Word(value));
    if (key == "CARD_PIN") Know(Identity::Kind::kPin, Word(value));
    return true;
}

// How long a command of the shell took shows in the line after it, less what the daemon waits in between.
void TranscriptReader::TakeShellTimes(const Said& said) {
    const bool is_exchange = said.function == "AtRequest" || said.function == "AtRequest_xs";
    const bool ends = said.function == "main" || said.function == "read_devname" || is_exchange;
    if (!shell_part_.empty() && ends) {
        const int64_t pause_ms = shell_pause_ms_ + (is_exchange ? kSecond_ms + kStartOfExchange_ms : 0);
        Event& event = Add(Kind::kShell, said, shell_part_);
        event.at_ms = shell_from_ms_;
        event.number = std::max<int64_t>(said.at_ms - shell_from_ms_ - pause_ms, 0) / kSecond_ms;
        shell_part_.clear();
    }
    const auto begin = [&](const char* part, int64_t pause_seconds) {
        shell_part_ = part;
        shell_from_ms_ = said.at_ms;
        shell_pause_ms_ = pause_seconds * kSecond_ms;
    };
    const bool is_main = said.function == "main";
    if (StartsWith(said.text, "Run DhcpClient!!!")) begin(kDhcpStart, 0);
    if (StartsWith(said.text, "kill udhcpc lte!!!")) {
        // For Cinterion no line stands before the script, so its time is part of this one.
        const bool is_script = is_main && transcript_.family == "cinterion";
        begin(is_script ? kResetScript : kDhcpKill, is_main ? kPauseAroundReset_seconds : 0);
    }
    if (is_main && (StartsWith(said.text, "Reset4G.sh start") || StartsWith(said.text, "etc init.d"))) {
        begin(kResetScript, kPauseAroundReset_seconds);
    }
    if (is_main && StartsWith(said.text, "check interface lte!!!")) {
        begin(kCheckInterface, kInterfacePause_seconds);
    }
}

void TranscriptReader::TakePing(const Said& said) {
    std::string rest;
    if (said.function == "pingCheck") {
        if (!pings_) ping_from_ms_ = said.before_ms;
        pings_ = true;
        const bool fails = StartsWith(said.text, "popen fail");
        if (!fails && !After(said.text, "pingCheck, file_buf is: ", &rest)) return;
        has_ping_ = true;
        ping_failed_ = fails;
        ping_ = said;
        ping_.before_ms = ping_from_ms_;
        pings_ = false;
        ping_.text = rest;
        return;
    }
    const size_t name = said.text.find(": ");
    if (!has_ping_ || name == std::string::npos || said.text[0] != '#') return;
    has_ping_ = false;
    const std::string words = said.text.substr(0, name);
    for (const ProbeRow& probe : kProbes) {
        const bool is_it = probe.function == said.function && words.size() > probe.name.size() &&
                           words.substr(words.size() - probe.name.size()) == probe.name;
        if (!is_it) continue;
        Event& event = Add(ping_failed_ ? Kind::kPingFailed : Kind::kPing, ping_, probe.part, ping_.text);
        event.number = (event.at_ms - event.before_ms + kSecond_ms / 2) / kSecond_ms;
    }
}

// The tool's output shows as far as the daemon understands it.
void TranscriptReader::TakeUpgrade(const Said& said) {
    if (StartsWith(said.text, "[OTA] OTA目录存在")) transcript_.has_upgrade_folder = true;
    if (StartsWith(said.text, "[OTA] QFirehose文件存在")) transcript_.has_upgrade_tool = true;
    if (StartsWith(said.text, "[OTA] run: ")) {
        has_tool_ = true;
        tool_ = said;
        tool_output_.clear();
        tool_seconds_.clear();
    }
    if (!has_tool_) return;
    const bool is_good = StartsWith(said.text, "[OTA] Upgrade module successfully");
    const bool is_bad = StartsWith(said.text, "[OTA] Upgrade module fail");
    if (is_good || is_bad) {
        tool_seconds_.push_back((said.at_ms - tool_.at_ms) / kSecond_ms);
        tool_output_ += is_good ? "successfully\n" : "Upgrade module fail\n";
    }
    if (said.function != "thread_function_ota") return;
    EndTool((said.at_ms - tool_.at_ms) / kSecond_ms);
}

/// Its lines come in even steps, with others between them that say nothing.
void TranscriptReader::EndTool(int64_t seconds) {
    has_tool_ = false;
    int64_t step = 0;
    for (const int64_t each : tool_seconds_) step = std::gcd(step, each);
    std::string output;
    int64_t at = 0;
    size_t begin = 0;
    for (const int64_t each : tool_seconds_) {
        const size_t end = tool_output_.find('\n', begin) + 1;
        for (; step > 0 && at + step < each; at += step) output += "-\n";
        at = each;
        output += tool_output_.substr(begin, end - begin);
        begin = end;
    }
    Event& event = Add(Kind::kPing, tool_, board::kFirmwareTool, output);
    event.number = tool_seconds_.empty() ? seconds : step;
    tool_seconds_.clear();
}

void TranscriptReader::SetFamily(const Said& said) {
    std::string rest;
    if (After(said.text, "GetVendorType=", &rest)) {
        const int number = atoi(rest.c_str());
        for (const VendorRow& vendor : kVendors) {
            if (vendor.number == number) transcript_.family = vendor.family;
        }
    }
    if (said.function == "SetVendorType" && After(said.text, "vendor type = ", &rest)) {
        const int number = atoi(rest.c_str());
        for (const VendorRow& vendor : kVendors) {
            if (vendor.number == number) transcript_.family = vendor.family;
        }
    }
    if (said.function == "main" && StartsWith(said.text, "Cell Device CellCinterion")) {
        transcript_.family = "cinterion";
    }
    if (!transcript_.family.empty()) return;
    const size_t folder = said.file.rfind('/');
    const std::string name = said.file.substr(folder == std::string::npos ? 0 : folder + 1);
    for (const FamilyRow& row : kFamilies) {
        if (!StartsWith(name, row.file)) continue;
        transcript_.family = row.family;
        return;
    }
}

void TranscriptReader::TakeFacts(const Said& said) {
    std::string rest;
    if (said.function == "main" && After(said.text, "dev = ", &rest)) {
        const size_t config = rest.find(", config = "), script = rest.find(", script = ");
        if (config != std::string::npos && script != std::string::npos && script > config) {
            transcript_.device = rest.substr(0, config);
            transcript_.config = rest.substr(config + 11, script - config - 11);
            transcript_.script = Word(rest.substr(script + 11));
        }
    }
    if (After(said.text, "[OTA] m_ModuleName = ", &rest)) transcript_.module = Word(rest);
    if (said.function == "SetBoard" && After(said.text, "board = ", &rest)) {
        transcript_.board = atoi(rest.c_str());
    }
    if (After(said.text, "CheckCardIMEI m_csIMEI= ", &rest)) Know(Identity::Kind::kImei, Word(rest));
    if (After(said.text, "Get Card:  m_card_imsi = ", &rest)) Know(Identity::Kind::kImsi, Word(rest));
    if (said.function == "main" && After(said.text, "wait device  ", &rest)) {
        Add(Kind::kPortMissing, said, rest.substr(0, rest.rfind(" .")));
    }
    if (said.function == "main" && After(said.text, "open device  ", &rest)) {
        Add(Kind::kPortOpen, said, rest.substr(0, rest.rfind("  ok!")));
    }
    if (said.function == "main" && StartsWith(said.text, "open device error")) Add(Kind::kPortLost, said);
    if (StartsWith(said.text, "Cinterion PLS83-W /")) Add(Kind::kPortGone, said);
    if (After(said.text, "Task SetATPort ", &rest)) Add(Kind::kPortFound, said, Word(rest));
    if (said.function == "GetLTEcfg" && StartsWith(said.text, "config ")) Add(Kind::kNoSettings, said);
    if (said.function == "main" && StartsWith(said.text, "config ")) {
        if (transcript_.events.empty()) {
            transcript_.has_start = true;  // the first and last line of such a run
        }
        Add(Kind::kNoSettings, said);
    }
    if (StartsWith(said.text, "[FIFO]RAVELIN_FIFO does not exist")) Add(Kind::kFifoGone, said);
    TakeUpgrade(said);
    if (said.function == "thread_function_pipe" && After(said.text, "[FIFO]fifo msg:", &rest)) {
        Add(Kind::kFifo, said, "", WithoutBlank(rest));
    }
    if (After(said.text, "[RAVELIN] get ocpp msg id=", &rest)) {
        unsigned id = 0, command = 0;
        int length = 0;
        if (sscanf(rest.c_str(), "%x cmd=%x length=%d", &id, &command, &length) == 3) {
            Event& event = Add(Kind::kFrame, said);
            event.number = id;
            event.other = command;
            // Nothing tells the bytes, but the texts of an upgrade request in a line of their own.
            event.text.assign(static_cast<size_t>(std::clamp(length, 0, kMostData_bytes)), '\0');
            if (command == kUpgradeCommand && !event.text.empty()) event.text[0] = 1;
            frame_event_ = transcript_.events.size() - 1;
            has_frame_ = true;
        }
    }
    if (has_frame_ && StartsWith(said.text, "[OTA] get ocpp unknown msg")) {
        transcript_.events[frame_event_].text[0] = 0;
    }
    if (has_frame_ && After(said.text, "[OTA] TLVS supportModule:", &rest)) {
        const size_t tool = rest.find(" otatool:"), path = rest.find(" otaPath:");
        if (tool != std::string::npos && path != std::string::npos && tool < path) {
            const std::string texts[] = {rest.substr(0, tool), rest.substr(tool + 9, path - tool - 9),
                                         Word(rest.substr(path + 9))};
            std::string data(1, '\1');
            char type = 0;
            for (const std::string& text : texts) {
                data += std::string(1, ++type) + static_cast<char>(text.size()) + text;
            }
            if (data.size() == transcript_.events[frame_event_].text.size()) {
                transcript_.events[frame_event_].text = data;
            }
        }
    }
    if (StartsWith(said.text, "[whitelist] halden project")) transcript_.has_network_json = true;
    if (After(said.text, "[whitelist] limitModuleName:  ", &rest)) transcript_.allowed.push_back(Word(rest));
    if (said.function == "board_version_info") transcript_.has_board_in_version = true;
    for (const std::string_view decision : kDecisions) {
        if (StartsWith(said.text, decision)) Add(Kind::kDecision, said, said.function, FirstLine(said.text));
    }
}

void TranscriptReader::Take(const Said& said) {
    if (said.begins_run) {
        End();
        if (!transcript_.events.empty() || !transcript_.has_start) Add(Kind::kStart, said);
        is_full_ = false;
        shell_part_.clear();
    }
    if (TakeSetting(said)) return;
    EndSettings();
    if (!transcript_.has_start && !transcript_.has_exchanges && said.function == "CheckConnection") {
        transcript_.begins_online = true;
    }
    SetFamily(said);
    TakeShellTimes(said);
    std::string rest;
    if (said.function == "AtRequest" || said.function == "AtRequest_xs") {
        if (After(said.text, "Redundance:", &rest)) {
            AddBytes(Kind::kHeard, said, "drain", WithoutBlank(rest));
            return;
        }
        std::string command, answer;
        if (!ParseExchange(said.text, &command, &answer)) {
            ++transcript_.torn;
            return;
        }
        transcript_.has_exchanges = true;
        is_full_ = false;
        AddBytes(Kind::kAsk, said, command, answer);
        return;
    }
    if (said.function == "CheckDevType") TakeIdentification(said);
    if (said.function != "CheckDevType") EndWrite();
    if (After(said.text, "Auto  hint:", &rest)) {
        AddBytes(Kind::kHeard, said, "hint", rest);
        return;
    }
    if (said.function == "pingCheck" || StartsWith(said.text, "####")) TakePing(said);
    TakeFacts(said);
}

}  // namespace

bool ParseExchange(const std::string& text, std::string* command, std::string* answer) {
    constexpr std::string_view kWrite = "AT WRITE:\n", kReturn = "\nAT RETURN:";
    const size_t write = text.find(kWrite);
    if (write == std::string::npos) return false;
    const size_t begin = write + kWrite.size();
    const size_t end = text.find(kReturn, begin);
    if (end == std::string::npos) return false;
    *command = text.substr(begin, end - begin);
    while (!command->empty() && (command->back() == '\r' || command->back() == '\n')) command->pop_back();
    *answer = text.substr(end + kReturn.size());
    return true;
}

Transcript ReadTranscript(ravelin_log::Reader& reader) {
    Transcript transcript;
    TranscriptReader taker(&transcript);
    Line line;
    Said said;
    bool has_said = false, has_first = false, ends_with_cr = false;
    int64_t first_ms = 0, last_ms = 0, last_wall_ms = 0, clock_ms = 0;
    const auto finish = [&] {
        if (!has_said) return;
        if (ends_with_cr) said.text += '\r';
        taker.Take(said);
        has_said = false;
    };
    while (reader.Next(&line)) {
        if (line.kind == Line::Kind::kOther) continue;
        if (line.kind == Line::Kind::kText) {
            // No message is as long; what follows a line that was cut off may have no end.
            if (!has_said || said.text.size() > kLongestMessage_bytes) continue;
            if (ends_with_cr) said.text += '\r';
            said.text += '\n';
            said.text += line.message;
            ends_with_cr = line.has_cr;
            continue;
        }
        finish();
        if (!has_first) {
            first_ms = last_ms = line.elapsed_ms;
            last_wall_ms = line.time_ms;
            has_first = true;
            transcript.has_start = line.begins_run;
        }
        said = {};
        said.file = line.place.file;
        said.function = line.place.function;
        said.text = line.message;
        said.at_ms = line.elapsed_ms - first_ms;
        said.before_ms = last_ms - first_ms;
        said.begins_run = line.begins_run;
        if (line.jumped) {
            Event event;
            event.kind = Kind::kClock;
            event.at_ms = said.at_ms;
            event.before_ms = said.before_ms;
            clock_ms = (line.time_ms - last_wall_ms) - (line.elapsed_ms - last_ms);
            event.number = clock_ms / kSecond_ms;
            transcript.events.push_back(event);
        }
        last_ms = line.elapsed_ms;
        last_wall_ms = line.time_ms;
        has_said = true;
        ends_with_cr = line.has_cr;
        transcript.has_lines = true;
        transcript.end_ms = said.at_ms;
        transcript.last_words = said.text;
    }
    finish();
    taker.End();
    return transcript;
}

}  // namespace capture
