// What LongSung and NodeCom modems word alike; see data_status.h.
#include "simulator/modem/dialects/data_status.h"

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr char kOn[] = "1";

bool IsReported(const Device& device, const char* name) {
    const auto stored = device.settings.find(name);
    return stored != device.settings.end() && stored->second == kOn;
}

}  // namespace

Outcome SetReportSwitch(Device& device, const char* name, const Arguments& arguments) {
    if (arguments.size() != 1 || !ParseInteger(arguments[0], 0, 1)) return Error();
    device.settings[name] = arguments[0];
    return Ok();
}

std::string TellDataStatusEvent(const Device& device, Event event) {
    const bool is_up = event == Event::kCallUp;
    std::string text;
    switch (event) {
        case Event::kBooted:
            return "\r\nSYSTEM READY\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: NOT INSERTED\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            if (IsReported(device, kDialReport))
                text += is_up ? "\r\n^DATACONNECT\r\n" : "\r\n^DATADISCONN\r\n";
            if (IsReported(device, kLinkReport)) {
                text += is_up ? "\r\n+DATASTATUS: 1\r\n" : "\r\n+DATASTATUS: 0\r\n";
            }
            break;
    }
    return text;
}

std::string TellDataStatusRadio(const Device& device, RadioReport report) {
    switch (report) {
        case RadioReport::kSignal:
            if (!IsReported(device, kSignalReport)) return "";
            return FillTemplate(device, "\r\n+SIGNALIND: {csq},99\r\n");
        case RadioReport::kTechnology:
            if (!IsReported(device, kTechnologyReport)) return "";
            return FillTemplate(device, "\r\n+NWTYPEIND: {act}\r\n");
    }
    return "";
}

}  // namespace modem_sim
