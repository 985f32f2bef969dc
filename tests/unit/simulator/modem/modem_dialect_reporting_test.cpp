// Dialects of Huawei, LongSung, NodeCom, Cinterion and ChuangYi modems: every command that the daemon sends
// is answered as that modem would, what they report unsolicited, and the port that takes another name.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"
#include "tests/support/modem_answers.h"
#include "tests/support/modem_exchange.h"

namespace {

using modem_sim::Modem;
using modem_sim::ModemOptions;

struct Exchanged {
    std::string command;
    std::string answer;
};

/// A modem with echo off, and its clock.
class Desk {
  public:
    explicit Desk(const std::string& family, const std::string& model = "")
        : modem(ModemOptions{family, model}) {
        Turn("echo off");
    }

    std::string Ask(const std::string& command) {
        Hear();
        modem.Receive(command + "\r\n", now_ms);
        const std::string answer = modem.TakeOutput(now_ms, kAll);
        now_ms += kExchange_ms;
        return answer + modem.TakeOutput(now_ms, kAll);
    }

    void Turn(const std::string& knob) {
        std::string reply;
        EXPECT_TRUE(modem.Control(knob, &reply, now_ms)) << reply;
    }

    std::string Hear() { return modem.TakeOutput(now_ms, kAll); }

    std::string Wait(int64_t milliseconds) {
        now_ms += milliseconds;
        return Hear();
    }

    Modem modem;
    int64_t now_ms = 0;
};

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The commands in turn; each answer begins as specified, and no command is unknown.
void Converse(Desk& desk, const std::vector<Exchanged>& talk) {
    for (const Exchanged& each : talk) {
        EXPECT_EQ(each.answer, desk.Ask(each.command).substr(0, each.answer.size())) << each.command;
    }
    EXPECT_EQ(0u, desk.modem.unknown_command_count());
}

void BringUp(Desk& desk, const std::string& maker) {
    Converse(desk, {{"AT", kOk},
                    {"AT+CGMI", Answer(maker)},
                    {"ATZ", kOk},
                    {"AT&F", "AT&F\r\r\nOK\r\n"},
                    {"ATE0", "ATE0\r\r\nOK\r\n"},
                    {"AT+CFUN=0", kOk},
                    {"AT+CFUN=1", kOk}});
    desk.Wait(kSearch_ms);
}

// Huawei

TEST(HuaweiDialect, AnswersEveryCommandOfTheDaemon) {
    Desk desk("huawei");
    BringUp(desk, "Huawei Technologies Co., Ltd.");
    Converse(desk, {{"AT+MODODR=2", kError},
                    {"AT+MEID", kError},
                    {"AT^LEDCTRL=1", kOk},
                    {"AT+SIMTEST?", kError},
                    {"AT^ICCID?", Answer("^ICCID: 89860012317001122334")},
                    {"AT+PSRAT", kError},
                    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", kOk},
                    {"at^ NDISSTATQRY?", Answer("^NDISSTATQRY: 0,,,\"IPV4\"")},
                    {"AT^NDISDUP=1,1,\"a\",\"b\",\"c\",\"1234\",\"2\"", kOk},
                    {"at^ NDISSTATQRY?", Answer("^NDISSTATQRY: 1,,,\"IPV4\"")},
                    {"AT^NDISDUP=1,0", kOk},
                    {"at^ NDISSTATQRY?", Answer("^NDISSTATQRY: 0,,,\"IPV4\"")},
                    {"AT^NDISDUP=1,1", kOk},
                    {"AT^NDISDUP=1,2", kError},
                    {"AT^NDISDUP=2,1", kError},
                    {"AT^LEDCTRL=9", kError}});
    desk.Turn("link down");
    Converse(desk, {{"AT^NDISSTATQRY?", Answer("^NDISSTATQRY: 0,33,,\"IPV4\"")}});
    desk.Turn("dial fail");
    Converse(desk, {{"AT^NDISDUP=1,1", kError}});
}

TEST(HuaweiDialect, ReportsCallAndSignalUnasked) {
    Desk desk("huawei");
    EXPECT_TRUE(Holds(desk.Wait(7000), "\r\n^HCSQ: \"LTE\",54,46,170,18\r\n"));
    desk.Turn("network WCDMA");
    EXPECT_TRUE(Holds(desk.Hear(), "\r\n^HCSQ: \"WCDMA\",54,54,50\r\n"));
    desk.Turn("link up");
    EXPECT_TRUE(Holds(desk.Hear(), "\r\n^NDISSTAT: 1,,,\"IPV4\"\r\n"));
    desk.Turn("link down");
    EXPECT_TRUE(Holds(desk.Hear(), "\r\n^NDISSTAT: 0,33,,\"IPV4\"\r\n"));
    desk.Turn("registration 0");
    EXPECT_TRUE(Holds(desk.Wait(7000), "\r\n^HCSQ: \"NOSERVICE\"\r\n"));
}

// LongSung and NodeCom

const std::vector<Exchanged> kReports = {{"AT+SIGNALIND=1", kOk},    {"AT+NWTYPEIND=1", kOk},
                                         {"AT+URCIND=1", kOk},       {"AT+PSDIALIND=1", kOk},
                                         {"AT+DATASTATUSEN=1", kOk}, {"AT+URCIND=2", kError}};

TEST(LongSungDialect, AnswersEveryCommandOfTheDaemonAndCallsByItself) {
    Desk desk("longsung");
    BringUp(desk, "LONGSUNG");
    Converse(desk, kReports);
    Converse(desk, {{"AT+MODODR=2", kOk},
                    {"AT+MEID", kError},
                    {"AT+SIMTEST?", Answer("+SIMTEST: 1")},
                    {"AT^ICCID?", Answer("^ICCID: 89860012317001122334")},
                    {"AT+PSRAT", Answer("+PSRAT: FDD LTE")},
                    {"AT+DATASTATUS", Answer("+DATASTATUS: 0")},
                    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", kOk},
                    {"AT+DATASTATUS", Answer("+DATASTATUS: 1")}});
    desk.Turn("link down");
    Converse(desk, {{"AT+DATASTATUS", Answer("+DATASTATUS: 0")}});
    desk.Turn("dial fail");
    Converse(desk, {{"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", kOk}, {"AT+DATASTATUS", Answer("+DATASTATUS: 0")}});
}

TEST(NodeComDialect, AnswersEveryCommandOfTheDaemon) {
    Desk desk("nodecom");
    BringUp(desk, "Nodecom");
    Converse(desk, kReports);
    Converse(desk, {{"AT+MODODR=2", kOk},
                    {"AT+MEID", kError},
                    {"AT+SIMTEST?", Answer("+SIMTEST: 1")},
                    {"AT^ICCID?", Answer("^ICCID: 89860012317001122334")},
                    {"AT+PSRAT", Answer("+PSRAT: FDD LTE")},
                    {"AT+PKTSTATUS", Answer("+PKTSTATUS: 0,1")},
                    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", kOk},
                    {"AT+PKTSTATUS", Answer("+PKTSTATUS: 0,1")},
                    {"at+ecmdup=1,1,1,0,0", kOk},
                    {"AT+PKTSTATUS", Answer("+PKTSTATUS: 1,1")},
                    {"at+ecmdup=1,0,1,0,0", kOk},
                    {"AT+PKTSTATUS", Answer("+PKTSTATUS: 0,1")},
                    {"at+ecmdup=1,1", kError}});
    desk.Turn("dial fail");
    Converse(desk, {{"at+ecmdup=1,1,1,0,0", "\r\nNO CARRIER\r\n"}});
}

TEST(DataStatusDialects, ReportWhatTheyWereToldToReport) {
    for (const char* family : {"longsung", "nodecom"}) {
        Desk desk(family);
        desk.Turn("link up");
        desk.Turn("network WCDMA");
        EXPECT_EQ("", desk.Wait(8000)) << family;
        for (const Exchanged& each : kReports) desk.Ask(each.command);
        desk.Turn("link down");
        EXPECT_TRUE(Holds(desk.Hear(), "\r\n^DATADISCONN\r\n\r\n+DATASTATUS: 0\r\n")) << family;
        desk.Turn("link up");
        EXPECT_TRUE(Holds(desk.Hear(), "\r\n^DATACONNECT\r\n\r\n+DATASTATUS: 1\r\n")) << family;
        desk.Turn("network FDD LTE");
        EXPECT_TRUE(Holds(desk.Hear(), "\r\n+NWTYPEIND: 7\r\n")) << family;
        EXPECT_TRUE(Holds(desk.Wait(7000), "\r\n+SIGNALIND: 23,99\r\n")) << family;
    }
}

// Cinterion

TEST(CinterionDialect, AnswersEveryCommandOfTheDaemon) {
    Desk desk("cinterion");
    BringUp(desk, "Cinterion");
    Converse(desk, {{"ATI", Answer("Cinterion\r\nPLS83-W\r\nREVISION 01.202")},
                    {"AT+MODODR=2", kError},
                    {"AT+MEID", kError},
                    {"AT+SIMTEST?", kError},
                    {"AT^ICCID?", kError},
                    {"AT+PSRAT", kError},
                    {"AT^SCTM=1,1", kOk},
                    {"AT^SCTM?", Answer("^SCTM: 1,0,38")},
                    {"AT+CCID", Answer("+CCID: 89860012317001122334")},
                    {"AT^SMONI", Answer("^SMONI: LTE,1650,3,5,5,FDD,460,00,5A1C,B3F2A10,211,19,-95,-11")},
                    {"AT^SWWAN?", Answer("^SWWAN: 1,0,1")},
                    {"AT^SWWAN=1,1", kOk},
                    {"AT^SWWAN?", Answer("^SWWAN: 1,1,1")},
                    {"AT^SWWAN=0,1", kOk},
                    {"AT^SWWAN?", Answer("^SWWAN: 1,0,1")},
                    {"AT^SWWAN=2,1", kError},
                    {"AT^SCTM=3", kError}});
    desk.Turn("dial fail");
    Converse(desk, {{"AT^SWWAN=1,1", kError}});
}

TEST(CinterionDialect, PortTakesTheOtherNameWithEachRestart) {
    Desk desk("cinterion");
    EXPECT_EQ("", desk.modem.port_path());
    EXPECT_EQ("/dev/ttyACM0", desk.modem.PortPathFrom("/dev/ttyACM0"));
    desk.Turn("reset");
    EXPECT_EQ("/dev/ttyACM1", desk.modem.PortPathFrom("/dev/ttyACM0"));
    EXPECT_EQ("./ttyACM1", desk.modem.PortPathFrom("./port"));
    EXPECT_EQ("ttyACM1", desk.modem.PortPathFrom("port"));
    EXPECT_EQ("", desk.modem.PortPathFrom(""));
    desk.Wait(10000);
    desk.Turn("reset");
    EXPECT_EQ("/dev/ttyACM0", desk.modem.PortPathFrom("/dev/ttyACM0"));
    desk.Turn("plug /dev/other");
    EXPECT_EQ("/dev/other", desk.modem.PortPathFrom("/dev/ttyACM0"));
}

// ChuangYi

TEST(ChuangYiDialect, AnswersEveryCommandOfTheDaemon) {
    Desk desk("chuangyi");
    BringUp(desk, "Innofidei");
    Converse(desk, {{"AT+MODODR=2", kError},
                    {"AT+MEID", kError},
                    {"AT+SIMTEST?", kError},
                    {"AT^ICCID?", Answer("^ICCID: 89860012317001122334")},
                    {"AT+PSRAT", kError},
                    {"AT+SYSINFO", Answer("+SYSINFO: 2,3,0,17,1,0,9")},
                    {"AT+RRCSTATE", Answer("+RRCSTATE: 0,7")},
                    {"AT+CGACT=1,1", kError},  // no context yet
                    {"AT+CGDCONT=1", kOk},
                    {"AT+CGDCONT=1,\"IP\"", kOk},
                    {"AT+CGACT=1,1", kOk},
                    {"AT+RRCSTATE", Answer("+RRCSTATE: 1,7")},
                    {"AT+CGACT=0,1", kOk},
                    {"AT+RRCSTATE", Answer("+RRCSTATE: 0,7")},
                    {"AT+SCFG=SAVE", kError},  // nothing noted yet
                    {"AT+SCFG=usim,460,01,12345", kOk},
                    {"AT+CIMI", Answer("460001112223334")},
                    {"AT+SCFG=SAVE", kOk},
                    {"AT+CIMI", Answer("4600112345")}});
    desk.Turn("registration 3");
    Converse(desk, {{"AT+SYSINFO", Answer("+SYSINFO: 1,0,0,17,1,0,9")}});
    desk.Turn("registration 0");
    Converse(desk, {{"AT+SYSINFO", Answer("+SYSINFO: 0,0,0,17,1,0,9")}});
    desk.Turn("registration 5");
    Converse(desk, {{"AT+SYSINFO", Answer("+SYSINFO: 2,3,1,17,1,0,9")}});
}

}  // namespace
