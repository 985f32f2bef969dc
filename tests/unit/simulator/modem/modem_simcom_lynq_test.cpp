// Dialects of the simulated SIMCom and LYNQ modems.
#include <string>

#include "tests/support/modem_exchange.h"

using modem_sim::Modem;
using modem_sim::ModemOptions;

namespace {

constexpr Expected kSimcom[] = {
    {"AT+CGMI", "AT+CGMI\r\r\nSIMCOM INCORPORATED\r\n\r\nOK\r\n"},
    {"ATZ", "ATZ\r\r\nOK\r\n"},
    {"AT&F", "AT&F\r\r\nOK\r\n"},
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"ATI",
     "\r\nManufacturer: SIMCOM INCORPORATED\r\nModel: SIM7600\r\nRevision: LE11B12SIM7600M22\r\n"
     "IMEI: 861585040123450\r\n\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n\r\n+CPIN: READY\r\n\r\nSMS DONE\r\n\r\nPB DONE\r\n"},
    {"AT+CPSI?", "\r\n+CPSI: NO SERVICE,Online\r\n\r\nOK\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+CGSN", "\r\n861585040123450\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+CICCID", "\r\n+ICCID: 89860012317001122334\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CGREG?", "\r\n+CGREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CPSI?",
     "\r\n+CPSI: LTE,Online,460-00,0x5A1C,B3F2A10,211,EUTRAN-BAND3,1650,5,5,-11,-95,-67,14\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL?", "\r\nOK\r\n"},
    {"AT+CGACT?", "\r\n+CGACT: 1,0\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL=1,1,1,,,,\"my.apn\",\"me\",\"secret\",3", "\r\n$QCRMCALL: 1,V4\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL=1,1,1,,,,\"my.apn\",\"\",\"\",", "\r\n$QCRMCALL: 1,V4\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL?", "\r\n$QCRMCALL: 1,V4\r\n\r\nOK\r\n"},
    {"AT+CGACT?", "\r\n+CGACT: 1,1\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL=0,1", "\r\n$QCRMCALL: 0,V4\r\n\r\nOK\r\n"},
    {"AT$QCRMCALL?", "\r\nOK\r\n"},
};

TEST(ModemSimcom, AnswersEveryCommandOfTheDaemon) {
    Modem modem{ModemOptions{"simcom", ""}};
    ExpectAnswers(modem, kSimcom);
}

TEST(ModemSimcom, DialsThatFail) {
    Modem modem{ModemOptions{"simcom", ""}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    for (const char* command :
         {"AT$QCRMCALL=", "AT$QCRMCALL=1", "AT$QCRMCALL=2,1", "AT$QCRMCALL=1,2",
          "AT$QCRMCALL=1,1,1,,,,\"a\",\"\",\"\"", "AT$QCRMCALL=1,1,1,,,,\"a\",\"\",\"\",4"}) {
        EXPECT_EQ("\r\nERROR\r\n", Exchange(modem, command, &now_ms)) << command;
    }
    modem.Control("dial fail 1", nullptr, now_ms);
    EXPECT_EQ("\r\nNO CARRIER\r\n", Exchange(modem, "AT$QCRMCALL=1,1", &now_ms));
    EXPECT_EQ("\r\n$QCRMCALL: 1,V4\r\n\r\nOK\r\n", Exchange(modem, "AT$QCRMCALL=1,1", &now_ms));
    modem.Control("registration 0", nullptr, now_ms);
    EXPECT_EQ("\r\n+CME ERROR: 30\r\n", Exchange(modem, "AT$QCRMCALL=1,1", &now_ms));
    modem.Control("registration 1", nullptr, now_ms);
    modem.Control("network WCDMA", nullptr, now_ms);
    EXPECT_EQ(0u, Exchange(modem, "AT+CPSI?", &now_ms).find("\r\n+CPSI: WCDMA,Online,460-00,"));
}

constexpr Expected kLynq[] = {
    {"AT+CGMI", "AT+CGMI\r\r\nLYNQ\r\n\r\nOK\r\n"},
    {"ATZ", "ATZ\r\r\nOK\r\n"},
    {"AT&F", "AT&F\r\r\nOK\r\n"},
    {"ATE0", "ATE0\r\r\nOK\r\n"},
    {"ATI", "\r\nLYNQ\r\nL503\r\nL503Cv01.02b14\r\n\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n\r\n+CPIN: READY\r\n"},
    {"AT+CPSI?", "\r\n+CPSI:NO SERVICE,Online\r\n\r\nOK\r\n"},
    {"AT+NETOPEN", "\r\n+NETOPEN:FAIL\r\n\r\nOK\r\n"},
    {"AT+MODODR=2", "\r\nERROR\r\n"},
    {"AT+MEID", "\r\nERROR\r\n"},
    {"AT+COPS=0,0", "\r\nOK\r\n"},
    {"AT+CGNETLED=1", "\r\nOK\r\n"},
    {"AT+CGNETLED=2", "\r\nERROR\r\n"},
    {"AT+CGSN", "\r\n+CGSN: \"869212040034560\"\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+ICCID", "\r\n+ICCID:89860012317001122334\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CPSI?",
     "\r\n+CPSI:LTE,Online,460-00,0x5A1C,B3F2A10,211,3,1650,100,100,-11,-95,-67,23,14\r\n\r\nOK\r\n"},
    {"AT+NETOPEN?", "\r\n+NETOPEN: 0\r\n\r\nOK\r\n"},
    {"AT+NETOPEN", "\r\n+NETOPEN:SUCCESS\r\n\r\nOK\r\n"},
    {"AT+NETOPEN?", "\r\n+NETOPEN: 1\r\n\r\nOK\r\n"},
    {"AT+NETCLOSE", "\r\n+NETCLOSE:SUCCESS\r\n\r\nOK\r\n"},
    {"AT+NETCLOSE", "\r\n+NETCLOSE:FAIL\r\n\r\nOK\r\n"},
    {"AT+NETOPEN?", "\r\n+NETOPEN: 0\r\n\r\nOK\r\n"},
};

TEST(ModemLynq, AnswersEveryCommandOfTheDaemon) {
    Modem modem{ModemOptions{"lynq", ""}};
    ExpectAnswers(modem, kLynq);
}

TEST(ModemLynq, DialsThatFail) {
    Modem modem{ModemOptions{"lynq", ""}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    modem.Control("dial fail 1", nullptr, 0);
    EXPECT_EQ("\r\n+NETOPEN:FAIL\r\n\r\nOK\r\n", Exchange(modem, "AT+NETOPEN", &now_ms));
    EXPECT_EQ("\r\n+NETOPEN:SUCCESS\r\n\r\nOK\r\n", Exchange(modem, "AT+NETOPEN", &now_ms));
    modem.Control("link down", nullptr, now_ms);
    EXPECT_EQ("\r\n+NETOPEN: 0\r\n\r\nOK\r\n", Exchange(modem, "AT+NETOPEN?", &now_ms));
    modem.Control("network WCDMA", nullptr, now_ms);
    EXPECT_EQ(0u, Exchange(modem, "AT+CPSI?", &now_ms).find("\r\n+CPSI:WCDMA,Online,460-00,"));
    modem.Control("sim absent", nullptr, now_ms);
    EXPECT_EQ("\r\n+CPIN: NOT INSERTED\r\n\r\n+CME ERROR: 10\r\n", Exchange(modem, "AT+NETOPEN", &now_ms));
}

}  // namespace
