// Module FibocomDialect: what both Fibocom families do alike: the USB mode, and the data link by AT+GTRNDIS.
#include <algorithm>
#include <string>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

struct FibocomRow {
    VendorType family;
    std::string usb_mode;
};

const FibocomRow kFibocomFamilies[] = {{kVendorFibocom, "18"}, {kVendorFibocomLe, "32"}};

class FibocomTest : public FamilyTest<FibocomRow> {
  protected:
    FibocomTest() : FamilyTest(kFibocomFamilies) {}

    /// A set-up with this answer to the question for the USB mode; what was sent from there on.
    Texts SetUpIn(const std::string& answer) {
        modem.AllowUnknown();
        modem.On("AT+gtusbmode?", answer);
        modem.exchanges.clear();
        world.log.clear();
        EXPECT_EQ(1, cell.Initialize());
        const Texts sent = modem.Sent();
        const auto question = std::find(sent.begin(), sent.end(), "AT+gtusbmode?");
        asked_at = question - sent.begin();
        return {question, sent.end()};
    }

    size_t asked_at = 0;
};

TEST_P(FibocomTest, ModeThatTheAnswerHoldsNeedsNoRestart) {
    for (const char* before : {"+GTUSBMODE: ", "+GTUSBMODE: 1", "+GTUSBMODE: 1,", "x"}) {
        for (const char* after : {"", "0"}) {
            const std::string answer = Answer(before + row->usb_mode + after);
            const Texts sent = SetUpIn(answer);
            for (const std::string& command : sent) {
                EXPECT_NE("AT+gtusbmode=" + row->usb_mode, command) << answer;
                EXPECT_NE("AT+CFUN=15\r\n", command) << answer;
            }
            EXPECT_EQ("6 AT+gtusbmode? " + answer + "!!! \n", LinesOf("Initialize").front());
        }
    }
}

TEST_P(FibocomTest, OtherModeIsSetAndTheModuleRestarted) {
    const std::string set = "AT+gtusbmode=" + row->usb_mode;
    modem.On("AT+CFUN=15", kOk);
    for (const std::string& answer : {Answer("+GTUSBMODE: 17"), std::string(kError), std::string()}) {
        for (const std::string& confirmed : {std::string(kOk), std::string(kError), std::string()}) {
            modem.On(set, confirmed);
            const Texts sent = SetUpIn(answer);
            ASSERT_LT(3u, sent.size());
            EXPECT_EQ((Texts{"AT+gtusbmode?", set, "AT+CFUN=15\r\n"}), Texts(sent.begin(), sent.begin() + 3));
            EXPECT_NEAR(1 + 20, GapAfter(asked_at + 2), 0.01);
            EXPECT_EQ("6 " + set + " " + confirmed + "!!! \n", LinesOf("Initialize").front());
        }
    }
}

TEST_P(FibocomTest, SetUpOfADeadModemSetsTheMode) {
    modem.Mute(true);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ("6 AT+gtusbmode=" + row->usb_mode + " !!! \n", LinesOf("Initialize").front());
}

TEST_P(FibocomTest, RefusedDialIsConnectedByTheOkToTheQuestion) {
    for (const std::string& refusal : {std::string(kError), std::string()}) {
        modem.On("AT+GTRNDIS=1,1", refusal);
        for (const std::string& answer :
             {std::string(kOk), Answer("+GTRNDIS: 0"), std::string(kError), std::string()}) {
            modem.exchanges.clear();
            world.log.clear();
            modem.On("AT+GTRNDIS?", answer);
            const bool is_up = answer.find("OK") != std::string::npos;
            EXPECT_EQ(is_up ? 1 : 0, cell.DoConnect()) << refusal << answer;
            EXPECT_EQ((Texts{"AT+GTRNDIS=1,1\r\n", "AT+GTRNDIS?"}), modem.Sent());
            EXPECT_EQ((Texts{"6 AT+GTRNDIS=1,1 return " + refusal + "\n",
                             is_up ? "6 CONNECTED!!! \n" : "6 AT+GTRNDIS=1 ERROR !!!\n"}),
                      LinesOf("DoConnect"));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, FibocomTest, testing::Values(kVendorFibocom, kVendorFibocomLe), FamilyOfTest);

}  // namespace
