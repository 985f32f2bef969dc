// Which modem sits behind the port: asked once per process start, on the main thread, before any driver
// object exists. So the port is used directly here, and not through AtRequest.
#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstring>

#include "network_daemon/cellular_port.h"
#include "support/serial_port.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr int kWakeUpTries = 9;
constexpr unsigned kWakeUpPause_seconds = 3;
constexpr int kAnswerWait_ms = 1000;
constexpr int kFlushWait_ms = 100;

constexpr char kAskAlive[] = "AT\r\n";
constexpr char kAskMaker[] = "AT+CGMI\r\n";
constexpr char kAskModel[] = "ATI\r\n";

struct ModelRow {
    const char* word;  // in the answer to ATI; also the module's name
    VendorType vendor;
};

struct MakerRow {
    const char* word;        // in the answer to AT+CGMI
    VendorType vendor;       // of a model that isn't named
    const ModelRow* models;  // null: the model isn't asked for; closed by a null word
    bool names_module;       // the maker's word names a model that isn't named
};

// The first word that the answer holds decides, in each of these tables: "GM196H" stands before "GM196",
// which it holds.
constexpr ModelRow kGosuncnModels[] = {
    {"ME3630", kVendorZte}, {"GM196H", kVendorZte}, {"GM196", kVendorZte}, {nullptr, kVendorUnknown}};

constexpr ModelRow kFibocomModels[] = {{"LE370", kVendorFibocomLe},
                                       {"NL668", kVendorFibocom},
                                       {"MC116", kVendorFibocom},
                                       {nullptr, kVendorUnknown}};

constexpr ModelRow kQuectelModels[] = {
    {"EC200G", kVendorQuectelUnisoc}, {"EC200U", kVendorQuectelUnisoc}, {"EC200A", kVendorQuectelAsr},
    {"EC600M", kVendorQuectelAsr},    {"EG800K", kVendorQuectelAsr},    {"EC800K", kVendorQuectelAsr},
    {"EG21", kVendorQuectelQcom},     {"EG25", kVendorQuectelQcom},     {nullptr, kVendorUnknown}};

constexpr MakerRow kMakers[] = {
    {"LONGSUNG", kVendorLongSung, nullptr, true},
    {"Innofidei", kVendorChuangYi, nullptr, true},
    {"Nodecom", kVendorNodeCom, nullptr, true},
    {"Huawei", kVendorHuaWei, nullptr, true},
    {"GOSUNCN", kVendorZte, kGosuncnModels, true},
    {"Fibocom", kVendorFibocom, kFibocomModels, false},
    {"Quectel", kVendorQuectelQcom, kQuectelModels, false},
    {"SIMCOM", kVendorSimCom, nullptr, true},
    {"Cinterion", kVendorCinterion, nullptr, true},
    {"LYNQ", kVendorLynq, nullptr, true},
};

void Write(const TracePlace& place, int fd, const char* command) {
    TRACE_AT(place, kLogDebug, "\nAT WRITE:\n%s\n", command);
    WriteSerial(fd, command, strlen(command));
}

void Ask(const TracePlace& place, int fd, const char* command, AtBlock& answer) {
    Write(place, fd, command);
    ReadBlock(fd, answer, kAnswerWait_ms);
    TRACE_AT(place, kLogDebug, "\nAT RETURN:%s\n", answer);
}

/// A modem that was just powered up needs a while. One that stays silent is asked for its maker all the same.
void WakeUp(const TracePlace& place, int fd, AtBlock& answer) {
    for (int i = 0; i < kWakeUpTries; ++i) {
        Ask(place, fd, kAskAlive, answer);
        if (strstr(answer, "OK") != nullptr) return;
        sleep(kWakeUpPause_seconds);
    }
}

/// Asks for the maker and throws the answer away, together with all that the modem had queued before it.
void Flush(const TracePlace& place, int fd, AtBlock& answer) {
    Write(place, fd, kAskMaker);
    while (ReadBlock(fd, answer, kFlushWait_ms)) TRACE_AT(place, kLogDebug, "rest :%s \n", answer);
}

const MakerRow* FindMaker(const char* answer) {
    for (const MakerRow& maker : kMakers) {
        if (strstr(answer, maker.word) != nullptr) return &maker;
    }
    return nullptr;
}

/// The row of the model in the answer, or the closing row.
const ModelRow& FindModel(const ModelRow* models, const char* answer) {
    while (models->word != nullptr && strstr(answer, models->word) == nullptr) ++models;
    return *models;
}

}  // namespace

int CheckDevType(int fd) {
    AtBlock answer = {};
    WakeUp(TRACE_HERE, fd, answer);
    Flush(TRACE_HERE, fd, answer);
    Ask(TRACE_HERE, fd, kAskMaker, answer);

    const MakerRow* maker = FindMaker(answer);
    if (maker == nullptr) return kVendorUnknown;
    if (maker->models == nullptr) {
        CellBase::m_ModuleName = maker->word;
        return maker->vendor;
    }

    Ask(TRACE_HERE, fd, kAskModel, answer);
    const ModelRow& model = FindModel(maker->models, answer);
    const VendorType vendor = model.word != nullptr ? model.vendor : maker->vendor;
    if (model.word != nullptr) {
        CellBase::m_ModuleName = model.word;
    } else if (maker->names_module) {
        CellBase::m_ModuleName = maker->word;
    }
    // Only this family's driver can upgrade the modem, and it does so by the module's name.
    if (vendor == kVendorQuectelQcom) {
        TRACE(kLogProgress, "[OTA] m_ModuleName = %s \n", CellBase::m_ModuleName.c_str());
    }
    return vendor;
}

}  // namespace cc_cell
