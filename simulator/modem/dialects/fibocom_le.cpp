// Fibocom LE370: as its relatives in USB mode and data link, with another mode for the network card; gives
// its cells by AT+GTCCINFO? and its signal by AT+CESQ. Delivered with the echo off, and with the name of the
// command in front of the subscriber number.
#include <algorithm>

#include "simulator/modem/dialect.h"
#include "simulator/modem/dialects/fibocom_rows.h"

namespace modem_sim {

namespace {

// Indices that stand for levels (3GPP TS 27.007, +CESQ), and their value for "not known".
constexpr int kIndexUnknown = 255;
constexpr int kRsrpIndexMax = 97;
constexpr int kRsrpOffset_dbm = 141;
constexpr int kRsrqIndexMax = 34;
constexpr int kRsrqOffset_db = 20;
constexpr int kRsrqStepsPerDb = 2;

// Radio access as AT+GTCCINFO? numbers it.
constexpr const char* kRatUmts = "2";
constexpr const char* kRatLte = "4";

int RsrpIndex(const Device& device) {
    return std::clamp(device.air.rsrp_dbm + kRsrpOffset_dbm, 0, kRsrpIndexMax);
}

int RsrqIndex(const Device& device) {
    return std::clamp((device.air.rsrq_db + kRsrqOffset_db) * kRsrqStepsPerDb, 0, kRsrqIndexMax);
}

/// rxlev, ber, rscp, ecno, rsrq, rsrp: an LTE module measures the last two only.
Outcome AskSignal(Device& device, const Arguments&) {
    const bool is_measured = device.HasService() && IsLte(device);
    const int rsrq = is_measured ? RsrqIndex(device) : kIndexUnknown;
    const int rsrp = is_measured ? RsrpIndex(device) : kIndexUnknown;
    return Ok("+CESQ: 99,99,255,255," + std::to_string(rsrq) + "," + std::to_string(rsrp));
}

/// A head line, then a line a cell; the serving one is number 1.
Outcome AskCells(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+GTCCINFO:");
    const char* const rat = IsLte(device) ? kRatLte : kRatUmts;
    const std::string rsrp = std::to_string(RsrpIndex(device));
    return Filled(device,
                  std::string("+GTCCINFO:\n1,") + rat +
                      ",{country},{network-code},{area},{cell-address},{channel},{cell},{band},100,{sinr}," +
                      rsrp + "," + rsrp + "," + std::to_string(RsrqIndex(device)));
}

constexpr Model kModels[] = {{"LE370"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nRevision: {firmware}"},
    {"AT+CIMI", kSim, "+CIMI: {imsi}"},
    {"AT+GTCCINFO?", kNothing, AskCells},
    {"AT+CESQ", kNothing, AskSignal},
};

}  // namespace

extern constexpr Family kFibocomLeFamily = {
    .name = "fibocom_le",
    .maker = "Fibocom",
    .models = kModels,
    .firmware = "19121.1000.00.01.72.03",
    .imei = "864839060056780",
    .factory_usb_mode = 32,
    .factory_echo = false,
    .unsolicited = kFibocomUnsolicited,
    .rows = kRows,
    .shared_rows = FibocomRows,
};

}  // namespace modem_sim
