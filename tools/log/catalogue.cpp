#include "tools/log/catalogue.h"

#include <cctype>
#include <cstring>
#include <vector>

namespace ravelin_log {
namespace {

// clang-format off
constexpr CatalogueRow kCatalogue[] = {
    // start
    {"THIS APP BUILD INFO: commit %s tag V2.5.1 by %s on %s", "main", 5, Event::kStart, "the daemon begins"},
    {"dev = %s, config = %s, script = %s", "main", 5, Event::kStart, "the daemon begins"},
    {"config %s don't exist", "main GetLTEcfg", 0, Event::kNoSettings,
     "no settings file, or none that can be read"},
    {"wait device  %s .", "main", 5, Event::kWaitsForPort, "the modem's port isn't there"},
    {"open device  %s  ok!", "main", 5, Event::kPortOpen, "the modem's port is open"},
    {"Unknow Cell Device!", "main", 0, Event::kUnknownModem, "the modem wasn't recognised, or didn't answer"},
    {"GetVendorType=%d!", "main", 0, Event::kVendor, "the driver has been chosen"},
    {"[whitelist] 4G module not allowd !!!", "main", 5, Event::kRefusedModule, "this model may not run here"},
    {"m_ModuleName = %s ", "Initialize", 5, Event::kBuild, "the modem is set up"},
    // settings
    {"DoubleSIM ENABLE !!!", "GetLTEcfg", 0, Event::kTwoSims, "two SIMs"},
    {"ORLA PROJECT !!!", "GetLTEcfg", 6, Event::kOrla, "the project's probes are on"},
    {"Enable = %s", "SetEnable", 6, Event::kEnable, "the switch in the settings"},
    // identity and SIM
    {"CheckCardIMEI m_csIMEI= %s", "CheckCardIMEI", 5, Event::kImei, "the modem's serial number"},
    {"Get Card IMEI fail, m_csIMEI = %s", "CheckSimCard", 5, Event::kNone,
     "the modem didn't tell its serial number"},
    {"Get Card IMEI fail, m_csIMEI = %s", "Task", 5, Event::kOnlineSign, "online, without a serial number"},
    {"Get Card IMSI fail, m_card_imsi = %s", "Task", 5, Event::kOnlineSign,
     "online, without a subscriber number"},
    {"CheckCardIMSI m_card_imsi= %s", "CheckCardIMSI", 5, Event::kOnlineSign,
     "online, reads what was forgotten"},
    {"Get Card:  m_card_imsi = %s", "CheckSimCard", 5, Event::kImsi, "the subscriber number"},
    {"Check SIM!", "CheckSimCard", 5, Event::kAsksSim, "asks whether the SIM is ready"},
    {"CheckIfSimCardReady: Check SIM!", "CheckIfSimCardReady", 5, Event::kAsksSimOnline,
     "the same, as the link is down"},
    {"CheckSimCard: SIM is not ready!", "CheckSimCard", 5, Event::kSimNotReady,
     "no SIM that is ready, asked three times"},
    {"CheckIfSimCardReady: SIM is not ready!", "CheckIfSimCardReady", 5, Event::kSimNotReadyOnline,
     "no SIM that is ready, or no answer, as the link is down"},
    {"No SIM card detected!!!", "Connect", 5, Event::kNoSim, "no service, and no SIM that is ready"},
    {"CARRIER :%s", "ParseAtResult", 5, Event::kCarrier, "the operator"},
    // service
    {"CREG :%d %d", "ParseAtResult", 5, Event::kRegistration, "registration"},
    {"CGREG :%d %d", "ParseAtResult", 5, Event::kRegistration, "registration for data"},
    {"CEREG :%d %d", "ParseAtResult", 5, Event::kRegistration, "registration for LTE"},
    {"SYSINFO: srv_status=%d,srv_domain=%d,roam_status=%d,", "ParseAtResult", 5, Event::kServiceInfo,
     "service"},
    {"Check service status.  %d/34 times.", "Connect", 5, Event::kServiceCheck, "no service"},
    {"Check service softrest_times.  %d/9 times.", "Connect", 5, Event::kServiceRound,
     "rounds without service"},
    {"Check service status.  %d/3 times.", "Connect", 5, Event::kServiceCheckTwoSims,
     "no service, with two SIMs"},
    {"no service status,Soft reset once!", "Connect", 5, Event::kServiceGivenUp, "34 checks without service"},
    {"Check service status, 9 times, current m_Primary_SIM[%d].", "Connect", 5, Event::kServiceGivenUpTwoSims,
     "neither SIM has service"},
    // dial
    {"Do connect.  %d times.", "Connect", 5, Event::kDial, "dials"},
    {"Do connect fail, need connect again !", "Connect", 5, Event::kDialRefused,
     "the modem refused the dial"},
    {"QCRMCALL=1,1 fail:%d", "DoConnect", 5, Event::kDialError, "the modem didn't take the dial"},
    {"AT+ZECMCALL=1 ERROR !!!", "DoConnect", 6, Event::kDialError, "the modem didn't take the dial"},
    {"AT+GTRNDIS=1 ERROR !!!", "DoConnect", 6, Event::kDialError, "the modem didn't take the dial"},
    {"m_reconnect_times=  %d times,Reset device!", "Connect", 5, Event::kFifthDial,
     "every fifth attempt is a reset"},
    {"DoConnect unknown APN info:%s", "DoConnect", 5, Event::kUnknownApn, "dials without an APN"},
    {"Run DhcpClient!!!", "RunDhcpClient", 5, Event::kDhcpStarted, "the dial was taken, DHCP begins"},
    {"AT+QNETDEVSTATUS fail:%d", "CheckConnection", 5, Event::kLookFailed, "the modem calls the link down"},
    {"AT+QNETDEVCTL fail:%d", "CheckConnection", 5, Event::kLookFailed, "the modem calls the link down"},
    {"AT+ZECMCALL? fail:%d", "CheckConnection", 5, Event::kLookFailed, "the modem calls the link down"},
    {"Connect Status:%d", "ParseAtResult", 5, Event::kLook, "the link, 0 is down"},
    {"Connect Status: stat=%d AcT=%d", "ParseAtResult", 5, Event::kLook, "the link, 0 is down"},
    {"Online check :%d", "ParseAtResult", 5, Event::kLook, "the link, 0 is down"},
    {"Network Open:%s", "ParseAtResult", 5, Event::kLookWord, "the link"},
    // online
    {"Check connection. offline %d/10 times", "Task", 1, Event::kOfflineCheck,
     "online, but the modem calls the link down"},
    {"Band change: last band[%s] rsrp[%s], current band[%s] rsrp[%s]",
     "CheckSignalStatus CheckNeighbourSignal", 5,
     Event::kBand, "online, on another band"},
    {"AT+QENG signal return not LTE!!! ", "CheckSignalStatus", 3, Event::kNotLte, "online, without LTE"},
    {"AT+CELLINFO? return not LTE!!! ", "CheckNeighbourSignal", 3, Event::kNotLte, "online, without LTE"},
    {"lte ENABLE=false, disconnect network !!!", "Task", 1, Event::kSwitchedOff,
     "switched off in the settings while online"},
    {"LTE ENABLE=false !!!", "Task", 1, Event::kIsOff, "switched off in the settings"},
    {"Ping Check failed for first 2 times, ignore, check %d times!",
     "CheckNetwork", 1, Event::kPathCheckFailed,
     "online, but no ping was answered, or there is no LTE, or no SIM"},
    {"The wireless network signal is weak,m_nCSQ=:%d,NetType=%d", "CheckNetwork", 7, Event::kPathProbed,
     "the same, with signal and kind of network"},
    {"CheckNetwork, %d times, current m_Primary_SIM[%d].", "CheckNetwork", 5, Event::kPathGivenUp,
     "nine failed checks of the network"},
    // recovery
    {"CEREG fail or Ping fail, need Switch SIM Card and Soft reset!",
     "CheckNetworkDoubleSim", 5, Event::kSwitchesSim,
     "count 3 or 7 with two SIMs"},
    {"The wireless network signal is weak, Switch to a secondary SIM card!",
     "SwitchSIMCard", 1, Event::kSecondSim,
     "takes the second SIM"},
    {"The wireless network signal is weak, Switch to a Primary SIM card!",
     "SwitchSIMCard", 1, Event::kFirstSim,
     "takes the first SIM"},
    {"########################## The response time of ping is more than 500ms and ocpp offline...!!!",
     "ORLAPROC", 1,
     Event::kOcppReset, "no answer to pings, and the outage of the OCPP service passed a threshold"},
    {"Soft reset!", "SoftReset", 5, Event::kSoftReset, "the modem is set up anew"},
    {"kill udhcpc lte!!!", "SoftReset main", 5, Event::kKillsDhcp, "the DHCP client is stopped"},
    {"No response! Reset device...", "Task", 1, Event::kMute, "three times no answer to AT+CSQ"},
    {"Connect error! Reset device...", "Task", 1, Event::kConnectError, "a hardware reset is due"},
    {"Cinterion PLS83-W %s not exist! Reset device...", "Task", 1, Event::kPortGone,
     "the modem's port is gone"},
    {"Reset4G.sh start pin_rst", "main", 5, Event::kResetScript, "the reset script runs"},
    {"Reset4G.sh start pin_power", "main", 5, Event::kResetScript, "the reset script cuts the power"},
    {"etc init.d S84Reset4G.sh start ", "main", 5, Event::kResetScript, "the board's reset script runs"},
    {"check interface lte!!!", "main", 5, Event::kInterfaceCheck, "the interface is checked"},
    {"Reset4G time=%d", "main", 5, Event::kHardResetDone, "the hardware reset is done"},
    {"open device error. %s", "main", 3, Event::kPortLost, "the port didn't come back: the daemon ends"},
    // pipe
    {"[FIFO]SoftReset:1", "handle_command", 5, Event::kAsksSoftReset, "a script asks for a soft reset"},
    {"[FIFO]Reset4G:1", "handle_command", 5, Event::kAsksHardReset, "a script asks for a hardware reset"},
    {"[FIFO]S84Reset4G:1", "handle_command", 5, Event::kAsksHardReset, "a script asks for a hardware reset"},
    {"[FIFO] SoftReset run", "Task", 5, Event::kCommandedSoftReset, "it is carried out"},
    {"[FIFO] DeviceReset run", "Task", 5, Event::kCommandedHardReset, "it is carried out"},
    {"[FIFO]4G_MODEM_STATUS:offline:index %d", "handle_command", 5, Event::kScriptSaysOffline,
     "a script finds the link down"},
    // upgrade
    {"[OTA] get ocpp msg and set ota upgrade flag true",
     "ravelin_deal_dbus_message", 5, Event::kUpgradeAccepted,
     "an upgrade was accepted"},
    {"[OTA] get ocpp msg , ota is on going", "ravelin_deal_dbus_message", 5, Event::kUpgradeRefused,
     "a second upgrade was refused"},
    {"[OTA] run ota task", "thread_function_ota", 5, Event::kUpgradeBegins, "the upgrade begins"},
    {"[OTA] send ocpp ota upgrade status ok", "thread_function_ota", 5, Event::kUpgradeOk,
     "the upgrade succeeded"},
    {"[OTA] send ocpp ota upgrade status fail", "thread_function_ota", 5, Event::kUpgradeFailed,
     "the upgrade failed"},
    {"[OTA] send ocpp 4G module not support ota", "thread_function_ota", 5, Event::kUpgradeUnsupported,
     "this model can't be upgraded"},
    {"[OTA] send ocpp ota file path or file not exist", "thread_function_ota", 5, Event::kUpgradeNoTool,
     "the upgrade tool isn't there"},
    {"[OTA] reset ota upgrade flag", "thread_function_ota", 5, Event::kUpgradeOver, "the upgrade is over"},
    {"[OTA] module ota run", "main", 5, Event::kResetWaits, "a reset was due, and waits for the upgrade"},
    // others
    {"query baseband temperature %d!", "ParseAtResult", 4, Event::kHot, "the modem is too hot or too cold"},
    {"[RAVELIN] get ocpp msg id=%x cmd=%x length=%d", "ravelin_deal_dbus_message", 5, Event::kStatusQuery,
     "a frame has come on the bus"},
};
// clang-format on

// clang-format off
constexpr ReadingRow kReadings[] = {
    {"Band change: last band[%s] rsrp[%s], current band[%s] rsrp[%s]",
     "CheckSignalStatus CheckNeighbourSignal", 5, Measure::kRsrp},
    {"QENG info, rsrp:%s !", "CheckSignalStatus", 7, Measure::kRsrp},
    {"CPSI info, rsrp:%s !", "CheckSignalStatus", 7, Measure::kRsrp},
    {"CESQ info,caculate real rsrp_level:%d !!!!!!", "CheckSignalStatus", 7, Measure::kRsrp},
    {"QENG info, sinr:%s !", "CheckSignalStatus", 7, Measure::kSinr},
    {"The wireless network signal is weak,m_nCSQ=:%d,NetType=%d", "CheckNetwork", 7, Measure::kCsq},
    {"query baseband temperature %d!", "ParseAtResult", 4, Measure::kTemperature},
    {"Quectel Temp Baseband(%d),XO(%d),PA(%d)", "ParseAtResult", 7, Measure::kTemperature},
    {"m_Tempture[%d] temp.val[%d]", "CheckTempStatus", 7, Measure::kTemperature},
};
// clang-format on

constexpr size_t kReadingRows = sizeof kReadings / sizeof kReadings[0];

/// What a value can be; anything else is a modem that doesn't know, or that is misunderstood.
bool CanBe(Measure measure, int64_t value) {
    switch (measure) {
        case Measure::kRsrp:
            return value >= -156 && value <= -31;
        case Measure::kSinr:
            return value >= -23 && value <= 40;
        case Measure::kCsq:
            return value >= 0 && value <= 31;
        case Measure::kTemperature:
            return value >= -60 && value <= 150 && value != 0;  // 0: it gave none
        default:
            return false;
    }
}

constexpr size_t kCatalogueRows = sizeof kCatalogue / sizeof kCatalogue[0];
constexpr size_t kByteValues = 256;

/// What scripts write into the pipe about the DHCP client; it has no text of the daemon's own.
constexpr char kDhcpWord[] = "udhcpc";
constexpr char kDhcpFunction[] = "thread_function_pipe";
constexpr CatalogueRow kDhcpRow = {"%s", kDhcpFunction, 6, Event::kDhcpClient,
                                   "what the DHCP client's script says"};

bool HoldsWord(const char* words, std::string_view word) {
    const std::string_view text = words;
    for (size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
        const size_t end = at + word.size();
        if ((at == 0 || text[at - 1] == ' ') && (end == text.size() || text[end] == ' ')) return true;
    }
    return false;
}

std::string_view WithoutBlanksAtEnd(std::string_view text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

bool TakeNumber(std::string_view* text, bool is_hexadecimal, int64_t* number) {
    size_t count = 0;
    const bool is_negative = !text->empty() && (*text)[0] == '-';
    if (is_negative) ++count;
    int64_t value = 0;
    const size_t first = count;
    while (count < text->size() && count < 18) {
        const char c = (*text)[count];
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
        if (digit >= (is_hexadecimal ? 16 : 10)) break;
        value = value * (is_hexadecimal ? 16 : 10) + digit;
        ++count;
    }
    if (count == first) return false;
    text->remove_prefix(count);
    *number = is_negative ? -value : value;
    return true;
}

/// Whether `message` is one that `format` makes. A %s reaches as far as it can up to what follows it.
bool Match(const char* format, std::string_view message, Said* said) {
    std::string_view rest = message;
    while (true) {
        const char* conversion = strchr(format, '%');
        const std::string_view literal =
            conversion == nullptr ? WithoutBlanksAtEnd(format)
                                  : std::string_view(format, static_cast<size_t>(conversion - format));
        if (rest.substr(0, literal.size()) != literal) return false;
        rest.remove_prefix(literal.size());
        if (conversion == nullptr) return rest.empty() || literal.back() == ',';
        format = conversion + 2;
        if (conversion[1] == 's') {
            const char* next = strchr(format, '%');
            const std::string_view behind =
                next == nullptr ? WithoutBlanksAtEnd(format)
                                : std::string_view(format, static_cast<size_t>(next - format));
            const size_t end = behind.empty() ? rest.size() : rest.find(behind);
            if (end == std::string_view::npos) return false;
            said->text = rest.substr(0, end);
            rest.remove_prefix(end);
            if (behind.empty() && next == nullptr) return true;
        } else {
            int64_t number = 0;
            if (!TakeNumber(&rest, conversion[1] == 'x', &number)) return false;
            if (said->numbers < 4) said->number[said->numbers++] = number;
        }
    }
}

/// Rows by the first byte of their text: most lines have a look at a few of them only.
class Index {
  public:
    Index() {
        for (const CatalogueRow& row : kCatalogue) {
            rows_[static_cast<unsigned char>(row.text[0])].push_back(&row);
        }
    }
    const std::vector<const CatalogueRow*>& RowsOf(char first) const {
        return rows_[static_cast<unsigned char>(first)];
    }

  private:
    std::vector<const CatalogueRow*> rows_[kByteValues];
};

}  // namespace

const CatalogueRow* Catalogue(size_t* count) {
    *count = kCatalogueRows;
    return kCatalogue;
}

Said Understand(const Line& line) {
    static const Index index;
    Said said;
    if (line.kind != Line::Kind::kSaid || line.message.empty()) return said;
    const bool has_place = !line.place.function.empty();
    const std::string_view message = WithoutBlanksAtEnd(line.message);
    if (message.empty()) return said;
    for (const CatalogueRow* row : index.RowsOf(message[0])) {
        if (has_place && !HoldsWord(row->functions, line.place.function)) continue;
        Said match;
        if (!Match(row->text, message, &match)) continue;
        match.event = row->event;
        match.row = row;
        return match;
    }
    const bool may_be_dhcp =
        has_place ? line.place.function == kDhcpFunction : message.substr(0, 6) == kDhcpWord;
    if (may_be_dhcp && message.substr(0, 6) != "[FIFO]" &&
        message.find(kDhcpWord) != std::string_view::npos) {
        said.event = Event::kDhcpClient;
        said.row = &kDhcpRow;
        said.text = message;
    }
    return said;
}

const ReadingRow* ReadingCatalogue(size_t* count) {
    *count = kReadingRows;
    return kReadings;
}

Reading UnderstandReading(const Line& line) {
    Reading reading;
    if (line.kind != Line::Kind::kSaid || line.message.empty()) return reading;
    const bool has_place = !line.place.function.empty();
    const std::string_view message = WithoutBlanksAtEnd(line.message);
    for (const ReadingRow& row : kReadings) {
        if (message.empty() || message[0] != row.text[0]) continue;
        if (has_place && !HoldsWord(row.functions, line.place.function)) continue;
        Said match;
        if (!Match(row.text, message, &match)) continue;
        int64_t value = match.number[0];
        if (match.numbers == 0) {
            std::string_view text = match.text;
            if (!TakeNumber(&text, false, &value)) continue;
        }
        if (!CanBe(row.measure, value)) continue;
        return {row.measure, static_cast<int>(value), row.level};
    }
    return reading;
}

}  // namespace ravelin_log
