// What the lines of the log say: one table, the text on the left. Nothing else in the tools knows a text of
// the daemon.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tools/log/reader.h"

namespace ravelin_log {

enum class Event {
    kNone,
    // start
    kStart,          // text: build
    kWaitsForPort,   // text: port
    kPortOpen,       // text: port
    kNoSettings,     // the run ends when main says so
    kUnknownModem,   // the run ends
    kVendor,         // numbers: kind of driver
    kRefusedModule,  // the run ends
    kBuild,          // the driver's set-up of the modem is done; text: model
    // settings
    kTwoSims,
    kOrla,
    kEnable,  // text: "true", "false"
    // identity and SIM
    kImei,           // text: number, empty when the modem didn't tell
    kImsi,           // text: number
    kAsksSim,        // at each reading of the SIM
    kAsksSimOnline,  // when a link has just been lost
    kSimNotReady,    // after three tries
    kSimNotReadyOnline,
    kNoSim,    // no service, and the SIM isn't ready: a soft reset in 10 s
    kCarrier,  // text: name
    // service
    kRegistration,  // numbers: mode and state; state 3 is refused
    kServiceInfo,   // ChuangYi: the first number is 2 with service
    kServiceCheck,  // numbers: count
    kServiceRound,  // numbers: rounds of 34 checks
    kServiceCheckTwoSims,
    kServiceGivenUp,
    kServiceGivenUpTwoSims,
    // dial
    kDial,  // numbers: attempts of the run
    kDialRefused,
    kDialError,  // the same, but the daemon goes on as if it hadn't
    kFifthDial,
    kUnknownApn,
    kDhcpStarted,
    kLookFailed,  // the modem calls the data call down
    kLook,        // numbers: 0 down, all else up
    kLookWord,    // text: the same as a word
    // online
    kOfflineCheck,  // numbers: count; beyond 10 the link is given up
    kBand,          // text: RSRP of the new band, last
    kNotLte,
    kOnlineSign,  // said only while the link is up
    kSwitchedOff,
    kIsOff,
    kPathCheckFailed,  // numbers: count
    kPathProbed,       // level 7; numbers: CSQ and generation of the network, 3 for LTE
    kPathGivenUp,
    // recovery
    kSwitchesSim,  // count 3 or 7
    kSecondSim,
    kFirstSim,
    kOcppReset,
    kSoftReset,
    kKillsDhcp,
    kMute,
    kConnectError,
    kPortGone,  // Cinterion
    kResetScript,
    kInterfaceCheck,
    kHardResetDone,  // numbers: hard resets of the run
    kPortLost,       // the run ends
    // pipe
    kAsksSoftReset,
    kAsksHardReset,
    kCommandedSoftReset,
    kCommandedHardReset,
    kScriptSaysOffline,
    kDhcpClient,  // text: what the DHCP client's script says
    // upgrade
    kUpgradeAccepted,
    kUpgradeRefused,  // one is running
    kUpgradeBegins,
    kUpgradeOk,
    kUpgradeFailed,
    kUpgradeUnsupported,
    kUpgradeNoTool,
    kUpgradeOver,
    kResetWaits,  // a reset was due, and waits for the upgrade
    // others
    kHot,  // numbers: degrees
    kStatusQuery,
};

struct CatalogueRow {
    const char* text;       // as in the daemon's code, without its line end
    const char* functions;  // that say it, with blanks between
    int level;
    Event event;
    const char* meaning;
};

/// The table, for tests and pages.
const CatalogueRow* Catalogue(size_t* count);

/// What a message says.
struct Said {
    Event event = Event::kNone;
    const CatalogueRow* row = nullptr;
    int numbers = 0;
    int64_t number[4] = {};
    std::string_view text;  // what stands in the place of the last %s
};

/// Looks a line up. Only words of the daemon are believed, and of those with a place only what that function
/// says.
Said Understand(const Line& line);

/// What the daemon has measured. No story follows from it, and most of it is said at level 7 alone.
enum class Measure { kNone, kRsrp, kSinr, kCsq, kTemperature };  // dBm, dB, as reported, degrees Celsius

struct Reading {
    Measure measure = Measure::kNone;
    int value = 0;
    int level = 0;
};

struct ReadingRow {
    const char* text;
    const char* functions;
    int level;
    Measure measure;
};
const ReadingRow* ReadingCatalogue(size_t* count);

/// Takes a value from a line; none from what can't be a value of that measure.
Reading UnderstandReading(const Line& line);

}  // namespace ravelin_log
