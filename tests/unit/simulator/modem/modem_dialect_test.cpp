// Dialects: every command that the daemon sends to a family is answered as that modem would, and the tables
// of all families are sound.
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/dialect.h"
#include "simulator/modem/modem_model.h"
#include "simulator/modem/text.h"
#include "tests/support/modem_exchange.h"

namespace {

using modem_sim::AllFamilies;
using modem_sim::Family;
using modem_sim::Modem;
using modem_sim::ModemOptions;
using modem_sim::Row;

// Quectel modules on Qualcomm chipsets

/// In the order in which the daemon sends them, from the identification to the end of a call.
constexpr Expected kQuectelQcom[] = {
    // who is there
    {"AT", "AT\r\r\nOK\r\n"},
    {"AT+CGMI", "AT+CGMI\r\r\nQuectel\r\n\r\nOK\r\n"},
    {"ATI", "ATI\r\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n"},
    // set-up
    {"ATZ", "ATZ\r\r\nOK\r\n"},
    {"AT&F", "AT&F\r\r\nOK\r\n"},
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1",
     "\r\nOK\r\n\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+qcfg=\"usbnet\",0", "\r\nOK\r\n"},
    {"AT+CMEE=2", "\r\nOK\r\n"},
    {"AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n", "\r\nOK\r\n"},
    {"AT+QICSGP=1,1,\"my.apn\",\"me\",\"secret\",3\r\n", "\r\nOK\r\n"},
    // SIM and identity
    {"AT+CGSN", "\r\n867698041122330\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+COPS?", "\r\n+COPS: 0,0,\"CHINA MOBILE\",7\r\n\r\nOK\r\n"},
    {"AT+QCCID", "\r\n+QCCID: 89860012317001122334\r\n\r\nOK\r\n"},
    // thermal limits
    {"AT+QCFG='thermal/limit_rates',1", "\r\nOK\r\n"},
    {"AT+QCFG='thermal/txpwrlmt',1,2,105,1000,3,10", "\r\nOK\r\n"},
    {"AT+QCFG='thermal/modem',1,100000,95000", "\r\nOK\r\n"},
    {"AT+QCFG='thermal/modem',2,105000,100000", "\r\nOK\r\n"},
    {"AT+QCFG='thermal/modem',3,115000,105000", "\r\nOK\r\n"},
    // service
    {"AT+CREG?", "\r\n+CREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CGREG?", "\r\n+CGREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+QNWINFO", "\r\n+QNWINFO: \"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n\r\nOK\r\n"},
    {"AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n"},
    // the call
    {"AT+QNETDEVSTATUS?", "\r\n+QNETDEVSTATUS: 0,0,0,1\r\n\r\nOK\r\n"},
    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", "\r\nOK\r\n"},
    {"AT+CGDCONT=1,\"IPV4V6\",\"\"", "\r\nOK\r\n"},
    {"AT$QCRMCALL=1,1", "\r\n$QCRMCALL: 1, V4\r\n\r\nOK\r\n"},
    {"AT+QNETDEVSTATUS?", "\r\n+QNETDEVSTATUS: 1,1,0,1\r\n\r\nOK\r\n"},
    // cells and temperature
    {"AT+QENG=\"servingcell\"\r\n",
     "\r\n+QENG: "
     "\"servingcell\",\"CONNECT\",\"LTE\",\"FDD\",460,00,B3F2A10,211,1650,3,5,5,5A1C,-95,-11,-67,14,27\r\n"
     "\r\nOK\r\n"},
    {"AT+QENG=\"neighbourcell\"\r\n",
     "\r\n+QENG: \"neighbourcell intra\",\"LTE\",1650,212,-14,-103,-75,0,22,7,16,6,44\r\n"
     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-16,-109,-80,0,18,2,15,4\r\n\r\nOK\r\n"},
    {"AT+QTEMP", "\r\n+QTEMP: 38,36,37\r\n\r\nOK\r\n"},
    // asked by hints and by other families' drivers of the same engine
    {"AT+PSRAT", "\r\nERROR\r\n"},
    {"AT+CGSN=1", "\r\n+CGSN: \"867698041122330\"\r\n\r\nOK\r\n"},
    // the end
    {"AT$QCRMCALL=0,1", "\r\n$QCRMCALL: 0, V4\r\n\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
};

TEST(ModemDialect, QuectelQcomAnswersEveryCommandOfTheDaemon) {
    Modem modem{ModemOptions{}};
    int64_t now_ms = 0;
    for (const Expected& expected : kQuectelQcom) {
        // the registration needs its time after the set-up, as in the daemon
        if (std::string(expected.command) == "AT+CREG?") now_ms += 5000;
        EXPECT_EQ(Exchange(modem, expected.command, &now_ms), expected.answer) << expected.command;
    }
    EXPECT_EQ(modem.unknown_command_count(), 0u);
}

TEST(ModemDialect, QuectelQcomModelsIntroduceThemselves) {
    const struct {
        const char* model;
        const char* answer;
    } introductions[] = {
        {"", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n"},
        {"EG25", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n"},
        {"EG21", "\r\nQuectel\r\nEG21\r\nRevision: EG21GGBR07A11M1G\r\n\r\nOK\r\n"},
        {"EC20", "\r\nQuectel\r\nEC20\r\nRevision: EC20GBR07A01M1G\r\n\r\nOK\r\n"},
    };
    for (const auto& introduction : introductions) {
        Modem modem{ModemOptions{"quectel_qcom", introduction.model}};
        modem.Control("echo off", nullptr, 0);
        int64_t now_ms = 0;
        EXPECT_EQ(Exchange(modem, "ATI", &now_ms), introduction.answer);
    }
}

TEST(ModemDialect, QuectelQcomRefusesWhatItsCommandsDontTake) {
    Modem modem{ModemOptions{}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    for (const char* command :
         {"AT+QICSGP=0,1,\"a\"", "AT+QICSGP=17", "AT+QICSGP=1,4,\"a\",\"\",\"\",0",
          "AT+QICSGP=1,1,\"a\",\"\",\"\",4", "AT+QICSGP=1,1", "AT+QICSGP=", "AT$QCRMCALL=1",
          "AT$QCRMCALL=2,1", "AT$QCRMCALL=1,2", "AT+QCFG=\"usbnet\",x", "AT+QCFG=\"usbnet\",9",
          "AT+QCFG=\"nosuch\",1", "AT+QCFG=", "AT+QCFG=\"thermal/modem\",4,1,1",
          "AT+QCFG=\"thermal/limit_rates\""}) {
        EXPECT_EQ(Exchange(modem, command, &now_ms), "\r\nERROR\r\n") << command;
    }
    EXPECT_EQ(modem.unknown_command_count(), 0u);
}

// Quectel modules on ASR and Unisoc chipsets

constexpr Expected kQuectelAsr[] = {
    {"AT", "AT\r\r\nOK\r\n"},
    {"AT+CGMI", "AT+CGMI\r\r\nQuectel\r\n\r\nOK\r\n"},
    {"ATI", "ATI\r\r\nQuectel\r\nEC200A\r\nRevision: EC200ACNHAR01A08M16\r\n\r\nOK\r\n"},
    // set-up
    {"ATZ", "ATZ\r\r\nOK\r\n"},
    {"AT&F", "AT&F\r\r\nOK\r\n"},
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+qcfg=\"usbnet\",1", "\r\nOK\r\n"},
    {"AT+CMEE=2", "\r\nOK\r\n"},
    // SIM and identity
    {"AT+CGSN", "\r\n861197068254106\r\n\r\nOK\r\n"},
    {"AT+CGSN=1", "\r\n+CGSN: \"861197068254106\"\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+COPS?", "\r\n+COPS: 0,0,\"CHINA MOBILE\",7\r\n\r\nOK\r\n"},
    {"AT+QCCID", "\r\n+QCCID: 89860012317001122334\r\n\r\nOK\r\n"},
    // service
    {"AT+CREG?", "\r\n+CREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CGREG?", "\r\n+CGREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+QNWINFO", "\r\n+QNWINFO: \"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n\r\nOK\r\n"},
    {"AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n"},
    // the call, which is reported after the answer
    {"AT+QNETDEVCTL?\r\n", "\r\n+QNETDEVCTL: 0,1,0,0\r\n\r\nOK\r\n"},
    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", "\r\nOK\r\n"},
    {"AT+QNETDEVCTL=1,1,1\r\n", "\r\nOK\r\n\r\n+QNETDEVSTATUS: 1,1,0,1\r\n"},
    {"AT+QNETDEVCTL?\r\n", "\r\n+QNETDEVCTL: 1,1,1,1\r\n\r\nOK\r\n"},
    // cells
    {"AT+QENG=\"servingcell\"\r\n",
     "\r\n+QENG: "
     "\"servingcell\",\"CONNECT\",\"LTE\",\"FDD\",460,00,B3F2A10,211,1650,3,5,5,5A1C,-95,-11,-67,14,27\r\n"
     "\r\nOK\r\n"},
    {"AT+QENG=\"neighbourcell\"\r\n",
     "\r\n+QENG: \"neighbourcell intra\",\"LTE\",1650,212,-103,-14,-75,0,22,7,16,6,44\r\n"
     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4,37\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    // the end
    {"AT+QNETDEVCTL=0\r\n", "\r\nOK\r\n\r\n+QNETDEVSTATUS: 1,3,0,1\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
};

/// What differs from those on ASR.
constexpr Expected kQuectelUnisoc[] = {
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"AT+CGMI", "\r\nQuectel\r\n\r\nOK\r\n"},
    {"ATI", "\r\nQuectel\r\nEC200U\r\nRevision: EC200UCNAAR03A12M08\r\n\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n\r\n+CPIN: READY\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+qcfg=\"usbnet\",1", "\r\nOK\r\n"},
    {"AT+QICSGP=1,1,\"my.apn\",\"me\",\"secret\",3\r\n", "\r\nOK\r\n"},
    {"AT+CGSN", "\r\n868214053390017\r\n\r\nOK\r\n"},
    {"AT+CGSN=1", "\r\n+CGSN: 868214053390017\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+QCCID", "\r\n+QCCID: 89860012317001122334\r\n\r\nOK\r\n"},
    {"AT+CREG?", "\r\n+CREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+QNWINFO", "\r\n+QNWINFO: \"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n\r\nOK\r\n"},
    {"AT+QNETDEVCTL?\r\n", "\r\n+QNETDEVCTL: 0,1,0,0\r\n\r\nOK\r\n"},
    {"AT+QNETDEVCTL=1,1,1\r\n", "\r\nOK\r\n"},
    {"AT+QNETDEVCTL?\r\n", "\r\n+QNETDEVCTL: 1,1,1,1\r\n\r\nOK\r\n"},
    {"AT+QENG=\"neighbourcell\"\r\n",
     "\r\n+QENG: \"neighbourcell intra\",\"LTE\",1650,212,-103,-14,-75,0,22,7,16,6\r\n"
     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    {"AT+QNETDEVCTL=0\r\n", "\r\nOK\r\n"},
    {"AT+QNETDEVCTL?\r\n", "\r\n+QNETDEVCTL: 0,1,0,0\r\n\r\nOK\r\n"},
};

template <size_t N>
void ExpectAnswers(const std::string& family, const Expected (&table)[N]) {
    Modem modem{ModemOptions{family, ""}};
    int64_t now_ms = 0;
    for (const Expected& expected : table) {
        // the registration needs its time after the set-up, as in the daemon
        const std::string command = expected.command;
        if (command == "AT+CREG?" || command == "AT+CEREG?") now_ms += 5000;
        EXPECT_EQ(Exchange(modem, command, &now_ms), expected.answer) << family << " " << command;
    }
    EXPECT_EQ(modem.unknown_command_count(), 0u) << family;
}

/// What a modem of each model answers to ATI, and so what tells the models apart.
void ExpectIntroductions(const std::string& family, const std::vector<std::string>& models) {
    EXPECT_EQ(Modem::Models(family), models);
    for (const std::string& model : models) {
        Modem modem{ModemOptions{family, model}};
        int64_t now_ms = 0;
        EXPECT_NE(Exchange(modem, "ATI", &now_ms).find(model), std::string::npos) << model;
    }
}

/// The family knows these commands and takes none of them.
void ExpectRefusals(const std::string& family, const std::vector<std::string>& commands) {
    Modem modem{ModemOptions{family, ""}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    for (const std::string& command : commands) {
        EXPECT_EQ(Exchange(modem, command, &now_ms), "\r\nERROR\r\n") << command;
    }
    EXPECT_EQ(modem.unknown_command_count(), 0u);
}

TEST(ModemDialect, QuectelAsrAnswersEveryCommandOfTheDaemon) {
    ExpectAnswers("quectel_asr", kQuectelAsr);
    ExpectIntroductions("quectel_asr", {"EC200A", "EC600M", "EG800K", "EC800K"});
}

TEST(ModemDialect, QuectelUnisocAnswersEveryCommandOfTheDaemon) {
    ExpectAnswers("quectel_unisoc", kQuectelUnisoc);
    ExpectIntroductions("quectel_unisoc", {"EC200U", "EC200G"});
}

TEST(ModemDialect, NetDevCtlRefusesWhatItDoesntTake) {
    for (const char* family : {"quectel_asr", "quectel_unisoc"}) {
        ExpectRefusals(family, {"AT+QNETDEVCTL=1", "AT+QNETDEVCTL=2,1,1", "AT+QNETDEVCTL=1,0,1",
                                "AT+QNETDEVCTL=1,1,2", "AT+QNETDEVCTL=1,1,1,1",
                                "AT+QNETDEVCTL=", "AT+QCFG=\"usbnet\",9", "AT+QCFG=\"usbnet\",x"});
    }
}

TEST(ModemDialect, RefusedNetDevCtlIsToldByUnisocAlone) {
    for (const char* family : {"quectel_asr", "quectel_unisoc"}) {
        const bool is_told = family == std::string("quectel_unisoc");
        Modem modem{ModemOptions{family, ""}};
        modem.Control("echo off", nullptr, 0);
        modem.Control("dial fail 1", nullptr, 0);
        int64_t now_ms = 0;
        EXPECT_EQ(Exchange(modem, "AT+QNETDEVCTL=1,1,1", &now_ms), is_told ? "\r\nERROR\r\n" : "\r\nOK\r\n");
        EXPECT_EQ(Exchange(modem, "AT+QNETDEVCTL?", &now_ms), "\r\n+QNETDEVCTL: 0,1,0,0\r\n\r\nOK\r\n");
        EXPECT_NE(Exchange(modem, "AT+QNETDEVCTL=1,1,0", &now_ms), "") << "the next one succeeds";
        EXPECT_EQ(Exchange(modem, "AT+QNETDEVCTL?", &now_ms), "\r\n+QNETDEVCTL: 1,1,0,1\r\n\r\nOK\r\n");
        modem.Control("link down", nullptr, now_ms);
        EXPECT_EQ(Exchange(modem, "AT+QNETDEVCTL?", &now_ms), "\r\n+QNETDEVCTL: 1,1,0,0\r\n\r\nOK\r\n");
        modem.Control("registration 3", nullptr, now_ms);
        EXPECT_EQ(Exchange(modem, "AT+QNETDEVCTL=1,1,1", &now_ms), "\r\n+CME ERROR: 30\r\n");
    }
}

// ZTE/Gosuncn

constexpr Expected kZte[] = {
    {"AT", "AT\r\r\nOK\r\n"},
    {"AT+CGMI", "AT+CGMI\r\r\nGOSUNCN\r\n\r\nOK\r\n"},
    {"ATI",
     "ATI\r\r\nManufacturer: GOSUNCN\r\nModel: ME3630\r\nRevision: ME3630C1CV1.0B06\r\nIMEI: "
     "866758041903325\r\n\r\nOK\r\n"},
    // set-up
    {"ATZ", "ATZ\r\r\nOK\r\n"},
    {"AT&F", "AT&F\r\r\nOK\r\n"},
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+CMEE=2", "\r\nOK\r\n"},
    {"AT+ZSWITCH=l", "\r\nOK\r\n"},
    {"AT+ZADSET=e", "\r\nOK\r\n"},
    // SIM and identity
    {"AT+CGSN", "\r\n866758041903325\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+COPS?", "\r\n+COPS: 0,0,\"CHINA MOBILE\",7\r\n\r\nOK\r\n"},
    {"AT+ZGETICCID", "\r\n+ZGETICCID: 89860012317001122334\r\n\r\nOK\r\n"},
    // service
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CGREG?", "\r\n+CGREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n"},
    {"AT+ZPAS?", "\r\n+ZPAS: \"FDD LTE\",\"CS_PS\"\r\n\r\nOK\r\n"},
    // the call
    {"AT+ZECMCALL?", "\r\n+ZECMCALL: IPV4\r\n\r\nOK\r\n"},
    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", "\r\nOK\r\n"},
    {"AT+ZECMCALL=1,\"CMNET\",1,\"me\",\"secret\",\"3\"", "\r\nOK\r\n\r\n+ZECMCALL: CONNECT\r\n"},
    {"AT+ZECMCALL=1", "\r\nOK\r\n"},
    {"AT+ZECMCALL?", "\r\n+ZECMCALL: IPV4, 10.64.12.7, 10.64.12.1, 10.64.0.11, 10.64.0.12\r\n\r\nOK\r\n"},
    // signal and cell
    {"AT+ZSRSP?", "\r\n+ZSRSP: \"-095\",\"-11\",\"-067\",\"014\"\r\n\r\nOK\r\n"},
    {"AT+ZCELLINFO?", "\r\n+ZCELLINFO: 5A1C,LTE,211,3,1650\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    // the end
    {"AT+ZECMCALL=0", "\r\nOK\r\n\r\n+ZECMCALL: DISCONNECT\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
};

TEST(ModemDialect, ZteAnswersEveryCommandOfTheDaemon) {
    ExpectAnswers("zte", kZte);
    ExpectIntroductions("zte", {"ME3630", "GM196", "GM196H"});
    ExpectRefusals("zte", {"AT+ZECMCALL=2", "AT+ZECMCALL=", "AT+ZECMCALL=0,1",
                           "AT+ZECMCALL=1,\"a\",1,\"b\",\"c\",\"1\",2"});
}

TEST(ModemDialect, ZteModelsTellTheCallEachInItsWay) {
    const struct {
        const char* model;
        const char* down;
        const char* up;
        bool measures;
    } models[] = {
        {"ME3630", "\r\n+ZECMCALL: IPV4\r\n\r\nOK\r\n", "10.64.12.7", true},
        {"GM196", "\r\nERROR\r\n", "\r\nOK\r\n", false},
        {"GM196H", "\r\n+ZECMCALL: IPV4\r\n\r\nOK\r\n", "10.64.12.7", false},
        {"ZM8620", "\r\n+ZECMCALL: IPV4\r\n\r\nOK\r\n", "10.64.12.7", false},
    };
    for (const auto& test : models) {
        Modem modem{ModemOptions{"zte", test.model}};
        modem.Control("echo off", nullptr, 0);
        int64_t now_ms = 0;
        EXPECT_EQ(Exchange(modem, "AT+ZECMCALL?", &now_ms), test.down) << test.model;
        Exchange(modem, "AT+ZECMCALL=1", &now_ms);
        EXPECT_NE(Exchange(modem, "AT+ZECMCALL?", &now_ms).find(test.up), std::string::npos) << test.model;
        EXPECT_EQ(Exchange(modem, "AT+ZSRSP?", &now_ms) != "\r\nERROR\r\n", test.measures) << test.model;
    }
}

TEST(ModemDialect, ZteRefusedDialDoesNotSayConnect) {
    Modem modem{ModemOptions{"zte", ""}};
    modem.Control("echo off", nullptr, 0);
    modem.Control("dial fail 1", nullptr, 0);
    int64_t now_ms = 0;
    EXPECT_EQ(Exchange(modem, "AT+ZECMCALL=1", &now_ms), "\r\nNO CARRIER\r\n");
}

// What the standard gives to all

TEST(ModemDialect, CommonCommands) {
    constexpr Expected kCommon[] = {
        {"AT+CGMM", "\r\nEG25\r\n\r\nOK\r\n"},
        {"AT+CGMR", "\r\nEG25GGBR07A08M2G\r\n\r\nOK\r\n"},
        {"AT+CGATT?", "\r\n+CGATT: 1\r\n\r\nOK\r\n"},
        {"AT+CGDCONT?", "\r\nOK\r\n"},
        {"AT+CGDCONT=1,\"IP\",\"one\"", "\r\nOK\r\n"},
        {"AT+CGDCONT=2,\"IPV6\"", "\r\nOK\r\n"},
        {"AT+CGDCONT?",
         "\r\n+CGDCONT: 1,\"IP\",\"one\",\"0.0.0.0\",0,0\r\n+CGDCONT: "
         "2,\"IPV6\",\"\",\"0.0.0.0\",0,0\r\n\r\nOK\r\n"},
        {"AT+CGDCONT=2", "\r\nOK\r\n"},
        {"AT+CGDCONT?", "\r\n+CGDCONT: 1,\"IP\",\"one\",\"0.0.0.0\",0,0\r\n\r\nOK\r\n"},
        {"AT+CGDCONT=0,\"IP\"", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CGDCONT=x", "\r\n+CME ERROR: 53\r\n"},
        {"AT+COPS=0,2", "\r\nOK\r\n"},
        {"AT+COPS?", "\r\n+COPS: 0,2,\"46000\",7\r\n\r\nOK\r\n"},
        {"AT+COPS=3,0", "\r\nOK\r\n"},
        {"AT+COPS=0,0", "\r\nOK\r\n"},
        {"AT+COPS=0", "\r\nOK\r\n"},
        {"AT+COPS=2", "\r\n+CME ERROR: 3\r\n"},
        {"AT+COPS=3,7", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CMEE=3", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CREG=3", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CGREG=2", "\r\nOK\r\n"},
        {"AT+CFUN=7", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CFUN=", "\r\n+CME ERROR: 53\r\n"},
        {"AT+CFUN=4", "\r\nOK\r\n\r\n+CGREG: 0\r\n"},
        {"AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n"},
        {"AT+CREG?", "\r\n+CREG: 0,0\r\n\r\nOK\r\n"},
        {"AT+CFUN=0", "\r\nOK\r\n"},
        {"AT+CPIN?", "\r\n+CME ERROR: 13\r\n"},
        {"AT+CIMI", "\r\n+CME ERROR: 13\r\n"},
    };
    Modem modem{ModemOptions{}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    for (const Expected& expected : kCommon) {
        EXPECT_EQ(Exchange(modem, expected.command, &now_ms), expected.answer) << expected.command;
    }
}

// Soundness of the tables

std::vector<const Row*> RowsOf(const Family& family) {
    std::vector<const Row*> rows;
    for (const Row& row : family.rows) rows.push_back(&row);
    if (family.shared_rows != nullptr) {
        for (const Row& row : family.shared_rows()) rows.push_back(&row);
    }
    for (const Row& row : modem_sim::CommonRows()) rows.push_back(&row);
    return rows;
}

TEST(ModemDialectTables, CommandsAreWrittenAsTheyAreCompared) {
    for (const Family* family : AllFamilies()) {
        for (const Row* row : RowsOf(*family)) {
            EXPECT_EQ(modem_sim::NormaliseCommand(row->command), row->command) << family->name;
            EXPECT_EQ(std::string(row->command).compare(0, 2, "AT"), 0)
                << family->name << " " << row->command;
        }
    }
}

TEST(ModemDialectTables, NoRowOfAFamilyHidesALaterOneOfItsOwn) {
    for (const Family* family : AllFamilies()) {
        std::vector<std::string> earlier;
        for (const Row& row : family->rows) {
            const std::string command = row.command;
            for (const std::string& each : earlier) {
                const bool is_open = each.back() == '*';
                const bool hides = is_open
                                       ? command.compare(0, each.size() - 1, each, 0, each.size() - 1) == 0
                                       : command == each;
                EXPECT_FALSE(hides) << family->name << ": " << each << " hides " << command;
            }
            earlier.push_back(command);
        }
    }
}

TEST(ModemDialectTables, TemplatesHoldKnownFieldsOnly) {
    for (const Family* family : AllFamilies()) {
        Modem modem{ModemOptions{family->name, ""}};
        modem.Control("echo off", nullptr, 0);
        for (const Row* row : RowsOf(*family)) {
            if (row->answer == nullptr) continue;
            EXPECT_EQ(row->action, nullptr) << row->command;
            int64_t now_ms = 0;
            const std::string answer = Exchange(modem, row->command, &now_ms);
            EXPECT_EQ(answer.find('{'), std::string::npos) << family->name << " " << row->command << answer;
        }
    }
}

TEST(ModemDialectTables, FamiliesAreCompleteAndNamedOnce) {
    EXPECT_EQ(ModemOptions{}.family, AllFamilies().front()->name) << "--help lists the default first";
    std::set<std::string> names;
    for (const Family* family : AllFamilies()) {
        EXPECT_TRUE(names.insert(family->name).second) << family->name;
        EXPECT_TRUE(Modem::IsFamily(family->name));
        EXPECT_GT(family->models.count, 0u) << family->name;
        EXPECT_GT(family->rows.count, 0u) << family->name;
    }
    EXPECT_FALSE(Modem::IsFamily("nosuch"));
    EXPECT_TRUE(Modem::Models("nosuch").empty());
    EXPECT_EQ(Modem::Models("quectel_qcom"), (std::vector<std::string>{"EG25", "EG21"}));
}

TEST(ModemDialectTables, UnknownFieldStaysAsItIsAndBracesAreNoTrap) {
    Modem modem{ModemOptions{}};
    modem.Control("operator {csq}{nosuch}}{", nullptr, 0);
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    EXPECT_EQ(Exchange(modem, "AT+COPS?", &now_ms), "\r\n+COPS: 0,0,\"{csq}{nosuch}}{\",7\r\n\r\nOK\r\n");
}

// Documentation

TEST(ModemDocumentation, NamesEveryKnob) {
    std::ifstream file(std::string(RAVELIN_SOURCE_DIR) + "/docs/modem-simulator.md");
    std::stringstream text;
    text << file.rdbuf();
    ASSERT_FALSE(text.str().empty());
    for (const std::string& knob : Modem::KnobNames()) {
        EXPECT_NE(text.str().find("| `" + knob), std::string::npos) << knob;
    }
}

}  // namespace
