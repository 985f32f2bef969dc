// Signal and health of every driver: the network type that is asked before the signal, and which questions
// the operations that a family may lack send.
#include <string>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class SignalTest : public FamilyTest<SignalFacts> {
  protected:
    SignalTest() : FamilyTest(&DriverFacts::signal) {}

    /// One reading of the signal, with these answers to the first question for the network type and to the
    /// one for the signal.
    int32_t ReadCsq(const std::string& network_answer, const std::string& answer) {
        modem.exchanges.clear();
        for (const std::string& question : row->network_questions) AnswerTo(question, kError);
        if (!row->network_questions.empty()) AnswerTo(row->network_questions.front(), network_answer);
        modem.On("AT+CSQ", answer);
        const int32_t result = cell.ReadCSQ();
        EXPECT_EQ(Joined(row->network_questions, {"AT+CSQ"}), modem.Sent());
        return result;
    }

    /// The network type, which the driver shows last if it shows it.
    void ExpectNetwork(const std::string& network) {
        EXPECT_EQ(network, cell.m_NetworkType);
        const Texts lines = LinesOf("ReadCSQ");
        ASSERT_EQ(row->level == nullptr, lines.empty());
        if (row->level == nullptr) return;
        EXPECT_EQ(row->level + std::string(" Network type:") + network + "\n", lines.back());
    }
};

TEST_P(SignalTest, NetworkTypeIsAskedBeforeTheSignal) {
    CopyText(cell.m_NetworkType, "before");
    EXPECT_EQ(1, ReadCsq(row->network_answer, Answer("+CSQ: 23,99")));
    EXPECT_EQ(23, cell.m_nCSQ);
    ExpectNetwork(row->network);
}

TEST_P(SignalTest, SignalAloneDecidesAndTheNetworkTypeStaysWithoutAnAnswer) {
    CopyText(cell.m_NetworkType, "before");
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CREG: 0,1")}) {
        cell.m_nCSQ = 7;
        EXPECT_EQ(1, ReadCsq(answer, Answer("+CSQ: 23,99"))) << answer;
        EXPECT_EQ(23, cell.m_nCSQ) << answer;
        EXPECT_EQ(0, ReadCsq(answer, kError)) << answer;
        EXPECT_EQ(0, ReadCsq(row->network_answer.empty() ? "" : answer, "")) << answer;
        EXPECT_EQ(23, cell.m_nCSQ) << answer;
        ExpectNetwork("before");
    }
}

INSTANTIATE_TEST_SUITE_P(, SignalTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

class OptionalOperationTest : public FamilyTest<OptionalFacts> {
  protected:
    OptionalOperationTest() : FamilyTest(&DriverFacts::optional) {}

    void Expect(const Texts& questions, void (CellBase::*operation)()) {
        modem.AllowUnknown();
        modem.exchanges.clear();
        (cell.*operation)();
        EXPECT_EQ(questions, modem.Sent());
        const Texts lines = TakeLines();
        EXPECT_TRUE(lines.empty() || row->speaks || !questions.empty()) << lines.front();
    }
};

TEST_P(OptionalOperationTest, FamilyWithoutItAsksNothing) {
    Expect(row->temperature, &CellBase::CheckTempStatus);
    Expect(row->thermal_limit, &CellBase::ConfigThermalLimit);
    Expect(row->signal, &CellBase::CheckSignalStatus);
    Expect(row->neighbour, &CellBase::CheckNeighbourSignal);
    modem.exchanges.clear();
    EXPECT_EQ(row->upgrade, cell.ModuleOtaTask());
    EXPECT_EQ(Texts{}, modem.Sent());
    EXPECT_EQ(Texts{}, world.Commands());
}

INSTANTIATE_TEST_SUITE_P(, OptionalOperationTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
