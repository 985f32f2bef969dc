// Dialects of the simulated Fibocom modems.
#include <string>

#include "tests/support/modem_exchange.h"

using modem_sim::Modem;
using modem_sim::ModemOptions;

namespace {

// NL668 and MC116: the echo stays on

constexpr Expected kFibocom[] = {
    {"AT", "AT\r\r\nOK\r\n"},
    {"AT+CGMI", "AT+CGMI\r\r\nFibocom\r\n\r\nOK\r\n"},
    {"ATI", "ATI\r\r\nFibocom\r\nNL668\r\nRevision: 19006.1000.00.02.71.05\r\n\r\nOK\r\n"},
    // set-up
    {"AT+CFUN=0", "AT+CFUN=0\r\r\nOK\r\n"},
    {"AT+CFUN=1", "AT+CFUN=1\r\r\nOK\r\n\r\n+SIM READY\r\n"},
    {"AT+gtusbmode?", "AT+gtusbmode?\r\r\n+GTUSBMODE: 18\r\n\r\nOK\r\n"},
    {"AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", "AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"\r\r\nOK\r\n"},
    {"AT+MGAUTH=1,3,\"\",\"\"\r\n", "AT+MGAUTH=1,3,\"\",\"\"\r\r\nOK\r\n\r"},
    {"AT+MGAUTH=1,3,\"me\",\"secret\"\r\n", "AT+MGAUTH=1,3,\"me\",\"secret\"\r\r\nOK\r\n\r"},
    {"AT+MGAUTH?", "AT+MGAUTH?\r\r\n+MGAUTH: 1,3,\"me\",\"secret\"\r\n\r\nOK\r\n"},
    // SIM and identity
    {"AT+CGSN", "AT+CGSN\r\r\n864839050012340\r\n\r\nOK\r\n"},
    {"AT+CIMI", "AT+CIMI\r\r\n460001112223334\r\n\r\nOK\r\n"},
    {"AT+CPIN?", "AT+CPIN?\r\r\n+CPIN: READY\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "AT+SIMTEST?\r\r\nERROR\r\n"},
    {"AT^ICCID?", "AT^ICCID?\r\r\nERROR\r\n"},
    {"AT+COPS?", "AT+COPS?\r\r\n+COPS: 0,0,\"CHINA MOBILE\",7\r\n\r\nOK\r\n"},
    {"AT+CCID", "AT+CCID\r\r\n+CCID: 89860012317001122334\r\n\r\nOK\r\n"},
    // service and call
    {"AT+CEREG?", "AT+CEREG?\r\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+CGREG?", "AT+CGREG?\r\r\n+CGREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "AT+PSRAT\r\r\n+PSRAT: FDD LTE\r\n\r\nOK\r\n"},
    {"AT+CSQ", "AT+CSQ\r\r\n+CSQ: 23,99\r\n\r\nOK\r\n"},
    {"AT+GTRNDIS?\r\n", "AT+GTRNDIS?\r\r\n+GTRNDIS: 0\r\n\r\nOK\r\n\r"},
    {"AT+GTRNDIS=1,1\r\n", "AT+GTRNDIS=1,1\r\r\r\nOK\r\n"},
    {"AT+GTRNDIS?\r\n",
     "AT+GTRNDIS?\r\r\n+GTRNDIS: 1,1,\"10.32.11.7\",\"114.114.114.114\",\"8.8.8.8\"\r\n\r\nOK\r\n\r"},
    {"AT+GTRNDIS=0,1\r\n", "AT+GTRNDIS=0,1\r\r\nOK\r\n\r"},
    {"AT+GTRNDIS?", "AT+GTRNDIS?\r\r\n+GTRNDIS: 0\r\n\r\nOK\r\n"},
};

TEST(ModemFibocom, AnswersEveryCommandOfTheDaemon) {
    Modem modem{ModemOptions{"fibocom", ""}};
    ExpectAnswers(modem, kFibocom);
}

TEST(ModemFibocom, ModelsIntroduceThemselves) {
    const struct {
        const char *family, *model, *answer;
    } introductions[] = {
        {"fibocom", "", "\r\nFibocom\r\nNL668\r\nRevision: 19006.1000.00.02.71.05\r\n\r\nOK\r\n"},
        {"fibocom", "MC116", "\r\nFibocom\r\nMC116\r\nMC116CNA0.4.2\r\n\r\nOK\r\n"},
        {"fibocom", "FM650", "\r\nFibocom\r\nFM650\r\nRevision: 19006.1000.00.02.71.05\r\n\r\nOK\r\n"},
        {"fibocom_le", "", "\r\nFibocom\r\nLE370\r\nRevision: 19121.1000.00.01.72.03\r\n\r\nOK\r\n"},
    };
    for (const auto& introduction : introductions) {
        Modem modem{ModemOptions{introduction.family, introduction.model}};
        modem.Control("echo off", nullptr, 0);
        int64_t now_ms = 0;
        EXPECT_EQ(introduction.answer, Exchange(modem, "ATI", &now_ms));
    }
    EXPECT_EQ((std::vector<std::string>{"NL668", "MC116"}), Modem::Models("fibocom"));
    EXPECT_EQ(std::vector<std::string>{"LE370"}, Modem::Models("fibocom_le"));
}

TEST(ModemFibocom, RefusesWhatItsCommandsDontTake) {
    for (const char* family : {"fibocom", "fibocom_le"}) {
        Modem modem{ModemOptions{family, ""}};
        modem.Control("echo off", nullptr, 0);
        int64_t now_ms = 0;
        for (const char* command :
             {"AT+GTUSBMODE=", "AT+GTUSBMODE=x", "AT+GTUSBMODE=100", "AT+GTUSBMODE=1,2",
              "AT+GTRNDIS=", "AT+GTRNDIS=1", "AT+GTRNDIS=2,1", "AT+GTRNDIS=1,2", "AT+GTRNDIS=1,1,1"}) {
            EXPECT_EQ("\r\nERROR\r\n", Exchange(modem, command, &now_ms)) << command;
        }
        EXPECT_EQ(0u, modem.unknown_command_count());
    }
    Modem modem{ModemOptions{"fibocom", ""}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    for (const char* command :
         {"AT+MGAUTH=", "AT+MGAUTH=1", "AT+MGAUTH=0,3,\"\",\"\"", "AT+MGAUTH=1,4,\"\",\"\"",
          "AT+MGAUTH=1,3,\"\"", "AT+MGAUTH=1,3,\"\",\"\",1"}) {
        EXPECT_EQ("\r\nERROR\r\n", Exchange(modem, command, &now_ms)) << command;
    }
}

// USB mode

TEST(ModemFibocom, WrongUsbModeHasNoCallUntilARestartMadeTheRightOneTrue) {
    const struct { const char *family, *mode; } families[] = {{"fibocom", "18"}, {"fibocom_le", "32"}};
    for (const auto& each : families) {
        Modem modem{ModemOptions{each.family, ""}};
        modem.Control("usb-mode 17", nullptr, 0);
        modem.Control("echo off", nullptr, 0);
        int64_t now_ms = 0;
        const std::string shown_mode = std::string("\r\n+GTUSBMODE: ") + each.mode + "\r\n\r\nOK\r\n";
        EXPECT_EQ("\r\n+GTUSBMODE: 17\r\n\r\nOK\r\n", Exchange(modem, "AT+gtusbmode?", &now_ms));
        EXPECT_EQ("\r\nERROR\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));
        EXPECT_EQ("\r\nOK\r\n", Exchange(modem, std::string("AT+gtusbmode=") + each.mode, &now_ms));
        EXPECT_EQ("\r\n+GTUSBMODE: 17\r\n\r\nOK\r\n", Exchange(modem, "AT+gtusbmode?", &now_ms));

        const int64_t generation = modem.port_generation();
        EXPECT_EQ("", Exchange(modem, "AT+CFUN=15\r\n", &now_ms)) << "lost with the port";
        EXPECT_FALSE(modem.present());
        now_ms += 20000;
        modem.Advance(now_ms);
        EXPECT_TRUE(modem.present());
        EXPECT_EQ(generation + 1, modem.port_generation());
        modem.Control("echo off", nullptr, now_ms);
        Exchange(modem, "AT", &now_ms);
        EXPECT_EQ(shown_mode, Exchange(modem, "AT+gtusbmode?", &now_ms));
        EXPECT_EQ("\r\nOK\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));

        modem.Control("reset", nullptr, now_ms);
        now_ms += 20000;
        modem.Control("echo off", nullptr, now_ms);
        Exchange(modem, "AT", &now_ms);
        EXPECT_EQ(shown_mode, Exchange(modem, "AT+gtusbmode?", &now_ms)) << "restarts keep it";
    }
}

TEST(ModemFibocom, RestartByCommandKeepsAPortThatNoCableCarries) {
    Modem modem{ModemOptions{"fibocom", ""}};
    modem.Control("port-gone 0", nullptr, 0);
    modem.Receive("AT+CFUN=15\r\n", 0);
    EXPECT_EQ("AT+CFUN=15\r\r\nOK\r\n", modem.TakeOutput(50, 100));
    int64_t now_ms = 20000;
    EXPECT_EQ("\r\nAT command ready\r\n\r\n+SIM READY\r\nAT\r\r\nOK\r\n", Exchange(modem, "AT", &now_ms));
    EXPECT_EQ(1, modem.port_generation());
}

TEST(ModemFibocom, RefusedDialAndNoService) {
    Modem modem{ModemOptions{"fibocom", ""}};
    modem.Control("echo off", nullptr, 0);
    int64_t now_ms = 0;
    modem.Control("dial fail 1", nullptr, 0);
    EXPECT_EQ("\r\nERROR\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));
    EXPECT_EQ("\r\nOK\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));
    modem.Control("link down", nullptr, now_ms);
    EXPECT_EQ("\r\n+GTRNDIS: 0\r\n\r\nOK\r\n", Exchange(modem, "AT+GTRNDIS?", &now_ms));
    modem.Control("registration 0", nullptr, now_ms);
    Exchange(modem, "AT+CMEE=1", &now_ms);
    EXPECT_EQ("\r\n+CME ERROR: 30\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));
    EXPECT_EQ("\r\n+CME ERROR: 30\r\n", Exchange(modem, "AT+PSRAT", &now_ms));
    modem.Control("sim absent", nullptr, now_ms);
    EXPECT_EQ("\r\n+SIM DROP\r\n\r\n+CME ERROR: 10\r\n", Exchange(modem, "AT+GTRNDIS=1,1", &now_ms));
}

// LE370: the echo is off

constexpr Expected kFibocomLe[] = {
    {"AT", "\r\nOK\r\n"},
    {"AT+CGMI", "\r\nFibocom\r\n\r\nOK\r\n"},
    {"AT+gtusbmode?", "\r\n+GTUSBMODE: 32\r\n\r\nOK\r\n"},
    {"AT+CFUN=0", "\r\nOK\r\n"},
    {"AT+CFUN=1", "\r\nOK\r\n\r\n+SIM READY\r\n"},
    {"AT+CGSN", "\r\n864839060056780\r\n\r\nOK\r\n"},
    {"AT+CGSN=1", "\r\n+CGSN: \"864839060056780\"\r\n\r\nOK\r\n"},
    {"AT+CIMI", "\r\n+CIMI: 460001112223334\r\n\r\nOK\r\n"},
    {"AT+SIMTEST?", "\r\nERROR\r\n"},
    {"AT^ICCID?", "\r\nERROR\r\n"},
    {"AT+CCID", "\r\n+CCID: 89860012317001122334\r\n\r\nOK\r\n"},
    {"AT+PSRAT", "\r\nERROR\r\n"},
    {"AT+CEREG?", "\r\n+CEREG: 0,1\r\n\r\nOK\r\n"},
    {"AT+GTCCINFO?\r\n",
     "\r\n+GTCCINFO:\r\n1,4,460,00,5A1C,B3F2A10,1650,211,3,100,14,46,46,18\r\n\r\nOK\r\n"},
    {"AT+CESQ\r\n", "\r\n+CESQ: 99,99,255,255,18,46\r\n\r\nOK\r\n"},
    {"AT+GTRNDIS=1,1\r\n", "\r\nOK\r\n"},
    {"AT+GTRNDIS?\r\n", "\r\n+GTRNDIS: 1,1,\"10.32.11.7\",\"114.114.114.114\",\"8.8.8.8\"\r\n\r\nOK\r\n"},
};

TEST(ModemFibocom, Le370AnswersEveryCommandOfTheDaemon) {
    Modem modem{ModemOptions{"fibocom_le", ""}};
    ExpectAnswers(modem, kFibocomLe);
    modem.Control("echo on", nullptr, 20000);
    modem.Control("reset", nullptr, 20000);
    modem.Advance(40000);
    EXPECT_NE(std::string::npos, modem.Status().find("echo: off\n"));
}

TEST(ModemFibocom, Le370TellsItsSignalInSteps) {
    const struct {
        const char *knob, *answer;
    } cases[] = {
        {"rsrp -140", "\r\n+CESQ: 99,99,255,255,18,1\r\n\r\nOK\r\n"},
        {"rsrp -44", "\r\n+CESQ: 99,99,255,255,18,97\r\n\r\nOK\r\n"},
        {"rsrp 0", "\r\n+CESQ: 99,99,255,255,18,97\r\n\r\nOK\r\n"},
        {"rsrp -200", "\r\n+CESQ: 99,99,255,255,18,0\r\n\r\nOK\r\n"},
        {"network WCDMA", "\r\n+CESQ: 99,99,255,255,255,255\r\n\r\nOK\r\n"},
    };
    Modem modem{ModemOptions{"fibocom_le", ""}};
    int64_t now_ms = 0;
    for (const auto& each : cases) {
        modem.Control(each.knob, nullptr, now_ms);
        EXPECT_EQ(each.answer, Exchange(modem, "AT+CESQ", &now_ms)) << each.knob;
    }
    EXPECT_EQ(0u, Exchange(modem, "AT+GTCCINFO?", &now_ms).find("\r\n+GTCCINFO:\r\n1,2,460,"));
    modem.Control("registration 2", nullptr, now_ms);
    EXPECT_EQ("\r\n+GTCCINFO:\r\n\r\nOK\r\n", Exchange(modem, "AT+GTCCINFO?", &now_ms));
}

}  // namespace
