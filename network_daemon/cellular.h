// The modem engine: CellBase is the abstract driver of one modem, with everything that the modem families
// share. A driver overrides a handful of operations and otherwise relies on these defaults; it reads and
// writes the members directly, so the members are the contract of the engine, not private state.
//
// One object exists in the process, built by main once the modem is identified, reached through pCell.
// Nothing is locked: see the groups of members for who writes what.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "network_daemon/at_table.h"
#include "network_daemon/board.h"

namespace cc_cell {

constexpr int kAnswerLimit = 256;                    // bytes of modem text that one read takes
constexpr int kAnswerBufferSize = kAnswerLimit + 1;  // with the terminator
constexpr int kFieldSize = 64;                       // one field of a comma-separated answer
constexpr int kCommandSize = 256;                    // one command built from settings

/// Result codes of the SIM checks.
constexpr int kSimReady = 0;
constexpr int kSimNotReady = -2;

/// Shell commands that more than one place runs. The leading blank of the kill line is part of it.
constexpr char kCommandDhcpStart[] = "/ubi/local/apps/network/if-lte /run/network/ifcfg-lte dhcp";
constexpr char kCommandDhcpKill[] = " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte kill_dhcp";

/// Settings file of the link, whatever path the command line gave as proof that settings exist.
constexpr char kSettingsPath[] = "/run/network/ifcfg-lte";

/// A registration `stat` that means service: 1 home network, 5 roaming.
constexpr bool IsRegistered(int32_t stat) {
    return (stat & ~4) == 1;
}

/// Switches of the signal collection.
struct SignalCollect {
    uint8_t signalEnFlag;           // set and never read
    uint8_t neighbourSignalEnFlag;  // guard of CollectNeighbourSignal
};

class CellBase {
  public:
    /// Takes the descriptor of the open AT port, which stays with the caller. Sets defaults, does no I/O.
    explicit CellBase(int cell_fd);
    CellBase(const CellBase&) = delete;
    CellBase& operator=(const CellBase&) = delete;

    // operations that a driver may override, in the order of the table of virtual operations

    virtual ~CellBase();

    /// Name of the modem's network interface. Never null.
    virtual const char* GetInterfaceName() = 0;
    virtual const char* GetIMSI();
    virtual const char* GetICCID();

    /// Reads the settings file into the members. A key that is absent leaves its member; a file that can't be
    /// read leaves all.
    virtual void GetLTEcfg();

    /// Stores at most 63 characters. 1; for null, or a text that an override refuses, 0 with nothing stored.
    virtual int32_t SetIMSI(const char* imsi);

    /// Sets the modem up over AT, about 12 seconds of exchanges. 1; an override may return 0, and one that
    /// runs this first ends with its 0, although this one has none to give.
    virtual int32_t Initialize();

    /// Asks for the IMEI. 1 filled m_csIMEI, 0 no usable answer.
    virtual int32_t CheckCardIMEI();

    /// Asks for the IMSI. 1 answered (m_card_imsi may stay empty), 0 no "OK" in the answer.
    virtual int32_t CheckCardIMSI();

    /// One step of attaching: waits, soft-resets, switches the SIM or dials. 0 asks for a device reset,
    /// else 1.
    virtual int32_t Connect();
    virtual int32_t DisConnect();

    /// Nonzero when the data link is up.
    virtual int32_t CheckConnection() = 0;

    /// Radio on, identity, readiness, carrier. kSimReady or kSimNotReady.
    virtual int32_t CheckSimCard();

    /// Nonzero when the network gives service.
    virtual int32_t CheckServiceStatus();
    virtual uint8_t IsOnline();

    /// The main loop. Returns only to ask for a hardware reset of the modem, always with -1.
    virtual int32_t Task();

    /// Interactive AT console on standard input and output. Never returns.
    virtual void DebugTerminal();

    /// Starts the DHCP client. The status of the shell, which nobody reads.
    virtual int32_t RunDhcpClient();
    virtual void CheckTempStatus();
    virtual void ConfigThermalLimit();
    virtual void CheckSignalStatus();

    // Places in the table that nothing calls or overrides; kept so that the order of the table stays.
    virtual void ReservedOp1();
    virtual int32_t ReservedOp2();
    virtual int32_t ReservedOp3();
    virtual int32_t ReservedOp4();
    virtual void ReservedOp5();

    /// Firmware upgrade of the modem, on the upgrade thread. 0 done, 1 failed, 2 not supported, 3 file
    /// missing; an override also -1 and -2.
    virtual int32_t ModuleOtaTask();
    virtual void CheckNeighbourSignal();

    /// Asks for the signal. 1 stored in m_nCSQ, 0 no usable answer (m_nCSQ stays).
    virtual int32_t ReadCSQ();

    /// Dials. 1 started, 0 failed. An override that runs this first ends with its 0, although this one has
    /// none.
    virtual int32_t DoConnect();

    /// Recognises a text of the modem. Cuts the text in place: it can be parsed only once. Null gives type 0.
    /// What the text says goes to the record alone; but a driver whose row holds the network type stores that
    /// in m_NetworkType, and not in the record.
    virtual AtResult ParseAtResult(char* text);

    /// First line of an answer that consists of one bare line and "OK"; null without "OK". Cuts the text in
    /// place.
    virtual char* ParseAtLine(char* text);

    /// Acts on a recognised unsolicited text. 1 acted, 0 not.
    virtual int32_t DealHint(AtResult result);

    // operations that every driver shares

    /// Sends `command` and "\r\n", waits one second, returns what came: at most 256 bytes, terminated, in a
    /// static buffer that is good until the next call. Never null; silence is an empty text. Main thread
    /// only.
    char* AtRequest(const char* command);

    /// The same with a wait of `seconds` and a buffer of its own.
    char* AtRequest_xs(const char* command, int seconds);

    /// Field number `index`, counted from 1, of `source` (cut in place) in a static buffer that is good until
    /// the next call; the last field when there are fewer; empty for an index below 1; null for a null
    /// argument.
    static char* StringSplitByNum(char* source, const char* delimiters, int index);

    /// Splits `source` (cut in place) into `count` targets of `size` bytes each. 1, also when fields ran out
    /// (their targets are empty); 0 when source, delimiters, targets or one of the targets is null.
    static int StringSplitToGetValue(char* source, const char* delimiters, int count, char* const* targets,
                                     int size);

    /// The same with the first `count` of `fields` as targets.
    template <size_t N>
    static int StringSplitToGetValue(char* source, const char* delimiters, int count,
                                     char (&fields)[N][kFieldSize]) {
        char* targets[N];
        for (size_t i = 0; i < N; ++i) targets[i] = fields[i];
        return StringSplitToGetValue(source, delimiters, count, targets, kFieldSize);
    }

    /// Position of `needle` in `haystack`, or null, also when either is null.
    static const char* ContainsText(const char* haystack, const char* needle);

    /// Generation by m_NetworkType: 3 LTE, 2, 1, or 0 for unknown and while no SIM is ready.
    int GetNetworkGeneration();

    /// The light test of the SIM: kSimReady or kSimNotReady (which blanks the identity texts).
    int CheckIfSimCardReady();

    // Setters: store what fits and log what was stored, but for SetRsrpLevel, which comes too often to log.
    void SetAPN(const char* apn);  // may stand in single quotes
    void SetUsername(const char* username);
    void SetPassword(const char* password);
    void SetEnable(const char* enable);
    void SetAuthType(int32_t auth_type);
    void SetCardPin(const char* pin);
    void SetOFFLINE(int32_t seconds);
    void SetLastOFFLINE(int32_t seconds);
    void SetBoard(int32_t board);
    void SetVendorType(int32_t vendor_type);
    void SetCell_fd(int cell_fd);
    void SetATPort(const char* path);
    void SetDhcpcScript(const char* path);
    void SetRsrpLevel(const char* rsrp);

    /// Seconds since the link came up while online, else 0.
    int32_t GetOnlineSeconds();

    /// Stops the DHCP client, re-initialises the modem over AT, reads the SIM again, clears m_online and
    /// publishes.
    void SoftReset();

    /// End-to-end check of a link that the modem calls up: probes, and what their failure leads to. 0 asks
    /// for a device reset, else 1.
    int32_t CheckNetwork();

    /// What the failed check number `check_count` leads to with two SIMs: a switch of the SIM with a soft
    /// reset, or nothing (1), or the wish for a device reset (0).
    int32_t CheckNetworkDoubleSim(int32_t check_count);

    /// Selects the other SIM by the selector pin. Takes 5 seconds.
    void SwitchSIMCard();

    /// Ties the link to the OCPP connection: soft-resets when no probe is answered and the outage of the OCPP
    /// service has just crossed a threshold. Takes as long as ping does.
    void ORLAPROC();

    /// Whether the outage has crossed a threshold since the previous check: 1 or 0.
    int isSoftReset();

    /// Rewrites the status files under /run/network.
    void WriteStatusFiles();

    /// Reads the neighbour cell if the settings allow. Nothing calls it yet.
    void CollectNeighbourSignal();

    /// Sends the OCPP service a frame with the one data byte `status`, once. The reply only reaches the log.
    void ReplyOcppUpgradeStatus(const char* destination, int msg_id, int cmd, uint8_t status);

    // state
    // Texts are terminated arrays; a writer never stores more than fits. Written by the main thread and read
    // by the bus library's threads (which tolerate a half-written text, and cut the blanks at the end of
    // m_fw_version), where the group says nothing else.

    // Requests of the FIFO thread; Task consumes them.
    uint8_t m_soft_reset_req = 0;    // honoured at the top of a pass
    uint8_t m_device_reset_req = 0;  // honoured at the end of a pass

    char m_card_iccid[21];
    char m_NetworkType[64];      // radio access as the modem words it
    int32_t m_carrier_code = 0;  // 0 unknown, 1 China Mobile, 2 China Unicom, 3 China Telecom
    uint8_t m_online = 0;
    int32_t m_CGREG = 0;          // last stat of +CGREG
    int32_t m_CEREG = 0;          // last stat of +CEREG; with some drivers also of +CREG
    int32_t m_Tempture = 0;       // degrees Celsius
    int32_t m_reset4g_times = 0;  // hardware resets, counted by main
    uint8_t m_carrier_valid = 0;  // written and not read
    char m_vendor_name[16];

    // Set by the bus handler, cleared by the upgrade thread: an upgrade is running.
    uint8_t m_ota_running = 0;

    char m_fw_version[32];
    char m_RSSI[16];
    char m_RSRP[16];  // begins with the value in dBm
    char m_RSRQ[16];
    char m_SINR[16];
    char m_signal_spare[16];  // never written
    char m_band[16];
    char m_pcid[16];
    char m_neighbour_rsrp[16];
    char m_neighbour_pcid[16];
    uint8_t m_Primary_SIM =
        0;  // 1 primary, 0 secondary; 0 at first, so that the first switch selects the primary
    char m_csIMEI[64];
    char m_card_imsi[64];
    char m_carrier[64];  // as +COPS gives it, quotes included
    SignalCollect m_SignalCollect = {1, 1};
    int32_t m_vendor_type = 0;          // stays 0 for five of the families
    int m_cell_fd;                      // AT port; owned by main
    uint32_t m_connect_time = 0;        // uptime in seconds when the link came up
    int32_t m_reconnect_times = 0;      // attempts to connect, never cleared
    int32_t m_check_service_times = 0;  // failed service checks since the last progress
    int32_t m_softrest_times = 0;       // soft resets for lack of service
    uint8_t m_sim_ready = 0;
    uint8_t m_double_sim = 0;
    uint8_t m_orla_project = 0;
    uint8_t m_bracken_project = 0;       // stored and not read
    int32_t m_CSQ_weak_check_times = 0;  // failed end-to-end checks
    uint8_t m_auto_connect = 0;          // shown in the status file only
    int32_t m_sim_type = 0;              // written and not read
    char m_apn[64];                      // empty: the APN follows the carrier
    char m_username[64];
    char m_password[64];
    char m_card_pin[64];
    char m_meid[64];             // written and not read
    int32_t m_auth_type = 0;     // 0 none, 1 PAP, 2 CHAP, 3 PAP-CHAP
    int32_t m_nCSQ = 0;          // the status files take 0 for no value
    char m_enable[10];           // exactly "false" stops the link
    int32_t m_offline = 0;       // seconds that the OCPP service has been offline
    int32_t m_last_offline = 0;  // its value at the previous check
    char m_dhcpc_script[256];    // stored only
    char m_at_port[256];         // device path; watched on Cinterion modems
    int32_t m_board = kBoardUnknown;
    char m_RSRP_LEVEL[10];  // what "SignalLevel=" shows

    // Model that CheckDevType found. Written once, before any object or second user of it exists.
    static std::string& m_ModuleName;
};

/// Runs a probe, a pipeline that prints how many replies to its 3 echo requests came in time. The number of
/// replies; -1 when the command is null or can't be run.
int pingCheck(const char* command);

/// Probes the network until an address answers. 1 answered, 0 none did.
int switchPingProc();

/// Finds out which modem sits behind the open port `fd`, before any driver exists: wakes it, asks maker and
/// model, sets CellBase::m_ModuleName and returns a VendorType. Takes 2 to 3 seconds at best, about 40 on a
/// silent port.
int CheckDevType(int fd);

}  // namespace cc_cell

/// The one driver object. Set and cleared by main alone; null until the factory step, after a refused module
/// and at the soft exit. Read by the FIFO thread and the bus handlers without a lock.
extern cc_cell::CellBase* pCell;
