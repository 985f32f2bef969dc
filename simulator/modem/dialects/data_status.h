// What LongSung and NodeCom modems word alike: reports that the host turns on one by one, and the data link
// reported unasked.
#pragma once

#include <string>
#include <vector>

#include "simulator/modem/dialect.h"

namespace modem_sim {

/// Row of a switch such as AT+URCIND=N, which is kept under `name`.
Outcome SetReportSwitch(Device& device, const char* name, const Arguments& arguments);

inline constexpr char kSignalReport[] = "SIGNALIND";
inline constexpr char kTechnologyReport[] = "NWTYPEIND";
inline constexpr char kOtherReports[] = "URCIND";
inline constexpr char kDialReport[] = "PSDIALIND";
inline constexpr char kLinkReport[] = "DATASTATUSEN";

template <const char* kName>
Outcome ReportSwitchRow(Device& device, const Arguments& arguments) {
    return SetReportSwitch(device, kName, arguments);
}

std::string TellDataStatusEvent(const Device& device, Event event);
std::string TellDataStatusRadio(const Device& device, RadioReport report);

}  // namespace modem_sim
