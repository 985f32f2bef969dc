#include "simulator/soak/watch.h"

#include <algorithm>

#include "simulator/soak/status_files.h"
#include "simulator/soak/vendors.h"

namespace soak {

namespace {

/// What the log says of a family's driver: its number, which five of them share, and its source file.
struct Driver {
    const char* family;
    int64_t vendor;
    std::string_view file;
};
constexpr Driver kDrivers[] = {
    {"chuangyi", 0, "CellSubClass/src/CellChuangYi.cpp"},
    {"cinterion", 10, "CellSubClass/src/CellCinterion.cpp"},
    {"fibocom", 11, "CellSubClass/src/CellFiboCom.cpp"},
    {"fibocom_le", 14, "CellSubClass/src/CellFiboComLE.cpp"},
    {"huawei", 0, "CellSubClass/src/CellHuaWei.cpp"},
    {"longsung", 0, "CellSubClass/src/CellLongSung.cpp"},
    {"lynq", 13, "CellSubClass/src/CellLYNQ.cpp"},
    {"nodecom", 0, "CellSubClass/src/CellNodeCom.cpp"},
    {"quectel_asr", 8, "CellSubClass/src/CellQuectelAsr.cpp"},
    {"quectel_qcom", 6, "CellSubClass/src/CellQuectelQcom.cpp"},
    {"quectel_unisoc", 7, "CellSubClass/src/CellQuectelUnisoc.cpp"},
    {"simcom", 0, "CellSubClass/src/CellSimCom.cpp"},
    {"zte", 5, "CellSubClass/src/CellZTE.cpp"},
};

const Driver* DriverOf(const std::string& family) {
    for (const Driver& driver : kDrivers) {
        if (family == driver.family) return &driver;
    }
    return nullptr;
}

constexpr std::string_view kOtherThreads[] = {
    "thread_function_pipe", "handle_command",       "ravelin_deal_dbus_message", "thread_function_ota",
    "ModuleOtaTask",        "IsOtaUpgradPathExist", "IsSupportModuleOTA",        "ReplyOcppUpgradeStatus"};

}  // namespace

bool Watch::IsOfMainThread() const {
    for (const std::string_view function : kOtherThreads) {
        if (log.function == function) return false;
    }
    return true;
}

void Watch::Take(const Entry& entry) {
    TakeTime(entry.at_ms);
    switch (entry.kind) {
        case EntryKind::kLogs:
        case EntryKind::kDebugs:
            log = SplitLogLine(entry.text);
            TakeLog();
            break;
        case EntryKind::kPublishes:
            if (StartsWith(entry.text, kStatusFile)) TakePublished(entry.text.substr(kStatusFile.size()));
            break;
        case EntryKind::kModem:
            if (entry.text == "port is gone") {
                port_is_there = false;
                port_lost_ms = entry.at_ms;
            } else if (entry.text == "port is back") {
                port_is_there = true;
            }
            break;
        case EntryKind::kWorld:
            if (entry.text == "starts again") StartRun();
            break;
        case EntryKind::kEnds:
            is_running = false;
            break;
        default:
            break;
    }
}

void Watch::TakeTime(int64_t at_ms) {
    now_ms = at_ms;
    while (next_healthy_ < truth.healthy.size() && truth.healthy[next_healthy_].from_ms <= at_ms) {
        healthy_ = &truth.healthy[next_healthy_++];
    }
    if (!truth.may_settle || healthy_ == nullptr || is_misled_) {
        is_calm_ = false;
        return;
    }
    // A request that is repeated while another upgrade runs may begin one that outlasts its fault.
    const int64_t from_ms = std::max(healthy_->from_ms, upgrade_over_ms_);
    is_calm_ = at_ms >= from_ms + truth.recovery_ms && at_ms < healthy_->to_ms;
}

void Watch::StartRun() {
    is_running = true;
    started_ms = now_ms;
    has_driver = false;
    vendor = board = -1;
    hard_resets = attempts = 0;
    is_upgrading = is_misled_ = false;
    port_opened_ms = now_ms;
}

void Watch::TakeLog() {
    const std::string_view text = log.message;
    if (log.function == "main") {
        if (StartsWith(text, "GetVendorType=")) {
            has_driver = true;
            got_driver_ms = now_ms;
            vendor = NumberAfter(text, "GetVendorType=");
            const Driver* driver = DriverOf(truth.scenario.modem_family);
            is_misled_ = driver == nullptr || vendor != driver->vendor;
        } else if (StartsWith(text, "Reset4G time=")) {
            hard_resets = NumberAfter(text, "Reset4G time=");
            port_opened_ms = now_ms;
        } else if (StartsWith(text, "open device  ")) {
            port_opened_ms = now_ms;
        }
    } else if (log.function == "SetBoard") {
        board = NumberAfter(text, "board = ");
    } else if (log.function == "Initialize" && StartsWith(text, "m_ModuleName = ")) {
        const Driver* driver = DriverOf(truth.scenario.modem_family);
        if (driver == nullptr || log.file != driver->file) is_misled_ = true;
        // Its module decides what this family takes for a link.
        const std::string_view name = text.substr(sizeof "m_ModuleName = " - 1);
        if (vendor == kVendorZte && name.substr(0, name.find(' ')) != truth.scenario.modem_model) {
            is_misled_ = true;
        }
    } else if (log.function == "Connect") {
        const int64_t number = NumberAfter(text, "Do connect.  ");
        if (number >= 0) attempts = number;
    } else if (text == "[OTA] get ocpp msg and set ota upgrade flag true") {
        is_upgrading = true;
        upgrade_over_ms_ = now_ms + truth.upgrade_ms;
    } else if (text == "[OTA] reset ota upgrade flag") {
        is_upgrading = false;
        upgrade_over_ms_ = now_ms;
    }
}

void Watch::TakePublished(std::string_view text) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) return;
    const std::string_view key = text.substr(0, equals), value = text.substr(equals + 1);
    const auto line = status.find(key);
    if (line == status.end()) {
        status.emplace(key, value);
    } else {
        line->second = value;
    }
    if (key != "Online" || is_online == (value == "TRUE")) return;
    is_online = !is_online;
    online_changed_ms = now_ms;
}

}  // namespace soak
