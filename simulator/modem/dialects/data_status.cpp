// What LongSung and NodeCom modems word alike; see data_status.h.
#include "simulator/modem/dialects/data_status.h"

namespace modem_sim {

namespace {

constexpr char kSignalReport[] = "SIGNALIND";
constexpr char kTechnologyReport[] = "NWTYPEIND";
constexpr char kOtherReports[] = "URCIND";
constexpr char kDialReport[] = "PSDIALIND";
constexpr char kLinkReport[] = "DATASTATUSEN";

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}"},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}"},
    {"AT+SIMTEST?", kNothing, "+SIMTEST: 1"},
    {"AT+PSRAT", kNothing, "+PSRAT: {network}"},
    {"AT+MODODR=2", kNothing},
    {"AT+SIGNALIND=*", kNothing, StoreSetting<kSignalReport>},
    {"AT+NWTYPEIND=*", kNothing, StoreSetting<kTechnologyReport>},
    {"AT+URCIND=*", kNothing, StoreSetting<kOtherReports>},
    {"AT+PSDIALIND=*", kNothing, StoreSetting<kDialReport>},
    {"AT+DATASTATUSEN=*", kNothing, StoreSetting<kLinkReport>},
};

bool IsReported(const Device& device, const char* name) {
    return device.Setting(name) == "1";
}

}  // namespace

Table<Row> DataStatusRows() {
    return kRows;
}

std::string DataStatusCall(const Device& device, bool is_up) {
    std::string lines;
    if (IsReported(device, kDialReport)) lines = is_up ? "^DATACONNECT" : "^DATADISCONN";
    if (!IsReported(device, kLinkReport)) return lines;
    return FillTemplate(device, lines + (lines.empty() ? "" : "\n") + "+DATASTATUS: {up}");
}

std::string DataStatusRadio(const Device& device, RadioReport report) {
    const bool is_signal = report == RadioReport::kSignal;
    if (!IsReported(device, is_signal ? kSignalReport : kTechnologyReport)) return "";
    return FillTemplate(device, is_signal ? "+SIGNALIND: {csq},99" : "+NWTYPEIND: {act}");
}

}  // namespace modem_sim
