// Dialects: every command that the daemon sends to a family is answered as that modem would, and the tables
// of all families are sound.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "modem_exchange.h"
#include "simulator/modem/dialect.h"
#include "simulator/modem/modem_model.h"
#include "simulator/modem/text.h"

namespace {

using modem_sim::AllFamilies;
using modem_sim::Family;
using modem_sim::Modem;
using modem_sim::ModemOptions;
using modem_sim::Row;

// ---- Quectel modules on Qualcomm chipsets
// ---------------------------------------------------------------------

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
        // the registration needs its time behind the set-up, as in the daemon
        if (std::string(expected.command) == "AT+CREG?") now_ms += 5000;
        EXPECT_EQ(Exchange(modem, expected.command, &now_ms), expected.answer) << expected.command;
    }
    EXPECT_EQ(modem.unknown_command_count(), 0u);
}

TEST(ModemDialect, QuectelQcomModelsIntroduceThemselves) {
    const struct {
        const char* model;
        const char* answer;
    } kIntroductions[] = {
        {"", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n"},
        {"EG25", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n"},
        {"EG21", "\r\nQuectel\r\nEG21\r\nRevision: EG21GGBR07A11M1G\r\n\r\nOK\r\n"},
        {"EC20", "\r\nQuectel\r\nEC20\r\nRevision: EC20GBR07A01M1G\r\n\r\nOK\r\n"},
    };
    for (const auto& introduction : kIntroductions) {
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

// ---- what the standard gives to all
// ---------------------------------------------------------------------------

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

// ---- soundness of the tables
// ----------------------------------------------------------------------------------

std::vector<const Row*> RowsOf(const Family& family) {
    std::vector<const Row*> rows;
    for (const Row& row : family.rows) rows.push_back(&row);
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
    std::set<std::string> names;
    for (const Family* family : AllFamilies()) {
        EXPECT_TRUE(names.insert(family->name).second) << family->name;
        EXPECT_TRUE(Modem::IsFamily(family->name));
        EXPECT_NE(family->models[0], nullptr) << family->name;
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

// ---- documentation
// --------------------------------------------------------------------------------------------

TEST(ModemDocumentation, NamesEveryKnobAndFamily) {
    std::ifstream file(std::string(RAVELIN_SOURCE_DIR) + "/docs/modem-simulator.md");
    std::stringstream text;
    text << file.rdbuf();
    ASSERT_FALSE(text.str().empty());
    const std::string help = Modem::KnobHelp();
    for (const std::string& knob : Modem::KnobNames()) {
        EXPECT_NE(text.str().find("| `" + knob), std::string::npos) << knob;
        EXPECT_NE(help.find("  " + knob), std::string::npos) << knob;
    }
    for (const std::string& family : Modem::Families()) {
        EXPECT_NE(text.str().find("`" + family + "`"), std::string::npos) << family;
    }
}

}  // namespace
