#include "network_daemon/cellular.h"

#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/modem_answers.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::ScriptedModem;
using test_support::World;

class Identify : public testing::Test {
  protected:
    Identify() {
        CellBase::m_ModuleName.clear();
        modem.On("AT", "\r\nOK\r\n");
    }
    ~Identify() override { CellBase::m_ModuleName.clear(); }

    int CheckDevTypeOf(const std::string& maker, const std::string& model) {
        modem.On("AT+CGMI", Answer(maker));
        modem.On("ATI", Answer(model));
        return CheckDevType(modem.fd());
    }

    World world;
    ScriptedModem modem{world};
};

struct ModemCase {
    const char* maker;
    const char* model;
    int vendor;
    const char* module_name;
};

TEST_F(Identify, EveryMakerAndModel) {
    for (const ModemCase& expected : {
             ModemCase{"LONGSUNG", "", 1, "LONGSUNG"},
             ModemCase{"Innofidei", "", 2, "Innofidei"},
             ModemCase{"Nodecom", "", 3, "Nodecom"},
             ModemCase{"Huawei Technologies", "", 4, "Huawei"},
             ModemCase{"GOSUNCN", "ME3630", 5, "ME3630"},
             ModemCase{"GOSUNCN", "GM196", 5, "GM196"},
             ModemCase{"GOSUNCN", "GM196H", 5, "GM196H"},
             ModemCase{"GOSUNCN", "GM800", 5, "GOSUNCN"},
             ModemCase{"Quectel", "EG21", 6, "EG21"},
             ModemCase{"Quectel", "EG25", 6, "EG25"},
             ModemCase{"Quectel", "EC200G", 7, "EC200G"},
             ModemCase{"Quectel", "EC200U", 7, "EC200U"},
             ModemCase{"Quectel", "EC200A", 8, "EC200A"},
             ModemCase{"Quectel", "EC600M", 8, "EC600M"},
             ModemCase{"Quectel", "EG800K", 8, "EG800K"},
             ModemCase{"Quectel", "EC800K", 8, "EC800K"},
             ModemCase{"SIMCOM INCORPORATED", "", 9, "SIMCOM"},
             ModemCase{"Cinterion", "", 10, "Cinterion"},
             ModemCase{"Fibocom", "NL668", 11, "NL668"},
             ModemCase{"Fibocom", "MC116", 11, "MC116"},
             ModemCase{"Fibocom", "LE370", 14, "LE370"},
             ModemCase{"LYNQ", "", 13, "LYNQ"},
         }) {
        EXPECT_EQ(CheckDevTypeOf(expected.maker, expected.model), expected.vendor) << expected.module_name;
        EXPECT_EQ(CellBase::m_ModuleName, expected.module_name);
    }
}

// A module that is built on another maker's, or that changed hands, may name both.
TEST_F(Identify, OfTwoMakersTheEarlierInTheListWins) {
    const struct {
        const char* maker;
        int vendor;
    } makers[] = {{"LONGSUNG", 1}, {"Innofidei", 2}, {"Nodecom", 3}, {"Huawei", 4},     {"GOSUNCN", 5},
                  {"Fibocom", 11}, {"Quectel", 6},   {"SIMCOM", 9},  {"Cinterion", 10}, {"LYNQ", 13}};
    for (size_t i = 0; i + 1 < std::size(makers); ++i) {
        const std::string both = std::string(makers[i + 1].maker) + " " + makers[i].maker;
        EXPECT_EQ(CheckDevTypeOf(both, ""), makers[i].vendor) << both;
    }
}

TEST_F(Identify, FibocomLe370) {
    EXPECT_EQ(CheckDevTypeOf("Fibocom", "LE370-EA NL668"), 14);
    EXPECT_EQ(CellBase::m_ModuleName, "LE370");
}

TEST_F(Identify, FibocomNl668) {
    EXPECT_EQ(CheckDevTypeOf("Fibocom", "NL668-EAU"), 11);
    EXPECT_EQ(CellBase::m_ModuleName, "NL668");
}

TEST_F(Identify, FibocomNl668WinsOverMc116) {
    EXPECT_EQ(CheckDevTypeOf("Fibocom", "MC116 NL668"), 11);
    EXPECT_EQ(CellBase::m_ModuleName, "NL668");
}

TEST_F(Identify, FibocomOfUnknownModelKeepsTheNameEmpty) {
    EXPECT_EQ(CheckDevTypeOf("Fibocom", "FM150"), 11);
    EXPECT_EQ(CellBase::m_ModuleName, "");
}

TEST_F(Identify, Ec200gIsTestedBeforeEc200a) {
    EXPECT_EQ(CheckDevTypeOf("Quectel", "EC200A EC200G"), 7);
    EXPECT_EQ(CellBase::m_ModuleName, "EC200G");
}

// ATI also tells the revision, which can be named after the model that the firmware was made for.
TEST_F(Identify, OfTwoQuectelModelsTheEarlierInTheListWins) {
    const struct {
        const char* model;
        int vendor;
    } models[] = {{"EC200G", 7}, {"EC200U", 7}, {"EC200A", 8}, {"EC600M", 8},
                  {"EG800K", 8}, {"EC800K", 8}, {"EG21", 6},   {"EG25", 6}};
    for (size_t i = 0; i + 1 < std::size(models); ++i) {
        const std::string both = std::string(models[i + 1].model) + " " + models[i].model;
        EXPECT_EQ(CheckDevTypeOf("Quectel", both), models[i].vendor) << both;
        EXPECT_EQ(CellBase::m_ModuleName, models[i].model);
    }
}

TEST_F(Identify, Gm196hIsNotTakenForGm196) {
    EXPECT_EQ(CheckDevTypeOf("GOSUNCN", "GM196H"), 5);
    EXPECT_EQ(CellBase::m_ModuleName, "GM196H");
}

TEST_F(Identify, Me3630WinsOverGm196) {
    CheckDevTypeOf("GOSUNCN", "GM196H ME3630");
    EXPECT_EQ(CellBase::m_ModuleName, "ME3630");
}

TEST_F(Identify, MakerInOtherLetterCaseIsUnknown) {
    for (const char* maker : {"QUECTEL", "quectel", "longsung", "HUAWEI", "Simcom", "fibocom"}) {
        EXPECT_EQ(CheckDevTypeOf(maker, "EG25"), 0) << maker;
        EXPECT_EQ(CellBase::m_ModuleName, "");
    }
}

TEST_F(Identify, MakerIsAskedEvenWhenTheModemNeverSaysOk) {
    modem.On("AT", "\r\nERROR\r\n");
    EXPECT_EQ(CheckDevTypeOf("Quectel", "EG25"), 6);
    EXPECT_EQ(modem.Sent(), (std::vector<std::string>{"AT", "AT", "AT", "AT", "AT", "AT", "AT", "AT", "AT",
                                                      "AT+CGMI", "AT+CGMI", "ATI"}));
}

TEST_F(Identify, WakeUpStopsAtTheFirstOk) {
    modem.OnSequence("AT", {"", "\r\nERROR\r\n", "\r\nOK\r\n"});
    EXPECT_EQ(CheckDevTypeOf("Quectel", "EG25"), 6);
    EXPECT_EQ(modem.Sent(), (std::vector<std::string>{"AT", "AT", "AT", "AT+CGMI", "AT+CGMI", "ATI"}));
    EXPECT_DOUBLE_EQ(modem.exchanges.at(1).at_seconds - modem.exchanges.at(0).at_seconds, 4.0);
}

TEST_F(Identify, SilentModemCostsItsTriesAndIsUnknown) {
    modem.Mute(true);
    const int64_t start_ms = world.now_ms();
    EXPECT_EQ(CheckDevType(modem.fd()), 0);
    EXPECT_EQ(world.now_ms() - start_ms, 9 * (1000 + 3000) + 100 + 1000);
    EXPECT_EQ(CellBase::m_ModuleName, "");
}

TEST_F(Identify, MakerWithoutModelsIsNotAskedForOne) {
    EXPECT_EQ(CheckDevTypeOf("Huawei", "ME909s-821"), 4);
    EXPECT_EQ(modem.Sent(), (std::vector<std::string>{"AT", "AT+CGMI", "AT+CGMI"}));
}

TEST_F(Identify, SilenceAboutTheModelGivesTheMakersDefault) {
    modem.On("ATI", "");
    const struct {
        const char* maker;
        int vendor;
        const char* module_name;
    } expected[] = {{"Fibocom", 11, ""}, {"Quectel", 6, ""}, {"GOSUNCN", 5, "GOSUNCN"}};
    for (const auto& row : expected) {
        modem.On("AT+CGMI", Answer(row.maker));
        EXPECT_EQ(CheckDevType(modem.fd()), row.vendor);
        EXPECT_EQ(CellBase::m_ModuleName, row.module_name);
    }
}

// The first answer to AT+CGMI only empties the line: what stands in it doesn't count.
TEST_F(Identify, FirstAnswerAboutTheMakerIsThrownAway) {
    modem.OnSequence("AT+CGMI", {Answer("Huawei"), Answer("Cinterion")});
    EXPECT_EQ(CheckDevType(modem.fd()), 10);
    EXPECT_TRUE(world.Logged(7, "rest :" + Answer("Huawei") + " \n"));
}

TEST_F(Identify, AnswerAboutTheModelIsJudgedAlone) {
    modem.On("AT+CGMI", "\r\nQuectel EG25 and a good deal more text\r\n\r\nOK\r\n");
    modem.On("ATI", "\r\nX\r\n");
    EXPECT_EQ(CheckDevType(modem.fd()), 6);
    EXPECT_EQ(CellBase::m_ModuleName, "");
}

TEST_F(Identify, SilentSecondAnswerIsNotReplacedByTheFirst) {
    modem.OnSequence("AT+CGMI", {Answer("Quectel"), ""});
    EXPECT_EQ(CheckDevType(modem.fd()), 0);
}

TEST_F(Identify, UnknownModelKeepsAFormerName) {
    CellBase::m_ModuleName = "former";
    EXPECT_EQ(CheckDevTypeOf("Quectel", "EM05"), 6);
    EXPECT_EQ(CellBase::m_ModuleName, "former");
}

TEST_F(Identify, OnlyQuectelOfCodeSixLogsTheName) {
    CheckDevTypeOf("Quectel", "EG21");
    EXPECT_TRUE(world.Logged(5, "[OTA] m_ModuleName = EG21 \n"));
    world.log.clear();
    CellBase::m_ModuleName.clear();
    CheckDevTypeOf("Quectel", "EM05");
    EXPECT_TRUE(world.Logged(5, "[OTA] m_ModuleName =  \n"));
    world.log.clear();
    CheckDevTypeOf("Quectel", "EC200U");
    CheckDevTypeOf("Fibocom", "NL668");
    for (const auto& line : world.log) EXPECT_EQ(line.text.find("[OTA]"), std::string::npos);
}

TEST_F(Identify, EveryWriteAndAnswerIsLogged) {
    modem.OnSequence("AT", {"", "\r\nOK\r\n"});
    CheckDevTypeOf("Quectel", "EG25");
    EXPECT_EQ(world.LogOf("CheckDevType"), (std::vector<std::string>{
                                               "\nAT WRITE:\nAT\r\n\n",
                                               "\nAT RETURN:\n",
                                               "\nAT WRITE:\nAT\r\n\n",
                                               "\nAT RETURN:\r\nOK\r\n\n",
                                               "\nAT WRITE:\nAT+CGMI\r\n\n",
                                               "rest :" + Answer("Quectel") + " \n",
                                               "\nAT WRITE:\nAT+CGMI\r\n\n",
                                               "\nAT RETURN:" + Answer("Quectel") + "\n",
                                               "\nAT WRITE:\nATI\r\n\n",
                                               "\nAT RETURN:" + Answer("EG25") + "\n",
                                               "[OTA] m_ModuleName = EG25 \n",
                                           }));
    for (size_t i = 0; i + 1 < world.log.size(); ++i) EXPECT_EQ(world.log[i].level, 7u);
    for (const auto& line : world.log) EXPECT_EQ(line.file, "network_daemon/cellular_identify.cpp");
}

TEST_F(Identify, FlushTakesABlockOfOneByte) {
    modem.OnSequence("AT+CGMI", {std::string(257, 'a'), Answer("Nodecom")});
    EXPECT_EQ(CheckDevType(modem.fd()), 3);
    EXPECT_TRUE(world.Logged(7, "rest :a \n"));
}

TEST_F(Identify, FlushTakesALongAnswerInBlocks) {
    modem.OnSequence("AT+CGMI", {std::string(300, 'a'), Answer("Nodecom")});
    EXPECT_EQ(CheckDevType(modem.fd()), 3);
    EXPECT_TRUE(world.Logged(7, "rest :" + std::string(256, 'a') + " \n"));
    EXPECT_TRUE(world.Logged(7, "rest :" + std::string(44, 'a') + " \n"));
}

}  // namespace
}  // namespace cc_cell
