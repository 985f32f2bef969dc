// The SIM check of every driver: the engine's, after which nine families ask for the ICCID in words of their
// own.
#include <string>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

bool AsksForIccid(const SimFacts& sim) {
    return sim.question != nullptr;
}

class SimTest : public FamilyTest<SimFacts> {
  protected:
    SimTest() : FamilyTest(&DriverFacts::sim) {}

    void SetUp() override {
        FamilyTest::SetUp();
        AnswerSimCheck();
    }
};

TEST_P(SimTest, ReadySimIsAskedForItsIccidLast) {
    if (row->question != nullptr) modem.On(row->question, Answer(row->prefix + std::string("8986")));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(row->question == nullptr ? BaseSimCheck() : Joined(BaseSimCheck(), {row->question}),
              modem.Sent());
    EXPECT_STREQ(row->question == nullptr ? "" : "8986", cell.m_card_iccid);
    EXPECT_EQ(Texts{}, LinesOf("CheckSimCard"));
}

TEST_P(SimTest, KernelDriverIsReloadedOnOneBoardAndWithOneFamily) {
    for (const int board : {kBoardUnknown, kBoardImx6ul, kBoardStm32, kBoardA35, kBoardA53}) {
        world.shell.clear();
        cell.SetBoard(board);
        if (row->question != nullptr) modem.On(row->question, kError);
        EXPECT_EQ(kSimReady, cell.CheckSimCard()) << board;
        EXPECT_EQ(board == kBoardImx6ul ? row->shell : Texts{}, world.Commands()) << board;
    }
}

TEST_P(SimTest, SimThatIsNotReadyIsAskedForNothingMore) {
    modem.On("AT+CPIN?", kNoSim);
    cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimNotReady, cell.CheckSimCard());
    EXPECT_EQ("AT+CPIN?", modem.Sent().back());
    EXPECT_STREQ("", cell.m_card_iccid);
    EXPECT_EQ(row->failure, Lines());
    EXPECT_EQ(Texts{}, world.Commands());
}

INSTANTIATE_TEST_SUITE_P(, SimTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

class IccidTest : public SimTest {};

TEST_P(IccidTest, IccidIsAtMost20CharactersOfTheAnswer) {
    const std::string prefix = row->prefix;
    const struct {
        std::string answer, iccid;
    } cases[] = {
        {Answer(prefix + "89860011223344556677F"), "89860011223344556677"},
        {Answer(prefix + std::string(200, '8')), std::string(20, '8')},
        {Answer(prefix + "8986"), "8986"},
        {Answer(prefix), ""},
        {Answer(prefix + "\xff\x80"), "\xff\x80"},
        {Answer(prefix + "%s%n"), "%s%n"},
        {"\r\n" + prefix + "1\r\n" + prefix + "2\r\n", "1"},
        {Answer("+CREG: 0,1"), ""},
        {kError, ""},
        {"", ""},
        {CutAfter(prefix.size() + 3, prefix + "8986" + kOk), "898"},
        {CutAfter(prefix.size() - 1, prefix + "8986" + kOk), ""},
    };
    for (const auto& test : cases) {
        modem.On(row->question, test.answer);
        EXPECT_EQ(kSimReady, cell.CheckSimCard()) << test.answer;
        EXPECT_EQ(test.iccid, cell.m_card_iccid) << test.answer;
    }
}

TEST_P(IccidTest, IccidOfTheEnginesQuestionStaysWithoutAnAnswer) {
    modem.On("AT^ICCID?", Answer("^ICCID: 8986001"));
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CREG: 0,1")}) {
        modem.On(row->question, answer);
        EXPECT_EQ(kSimReady, cell.CheckSimCard());
        EXPECT_STREQ("8986001", cell.m_card_iccid) << answer;
    }
}

INSTANTIATE_TEST_SUITE_P(, IccidTest, testing::ValuesIn(FamiliesWhere(&DriverFacts::sim, AsksForIccid)),
                         FamilyOfTest);

}  // namespace
