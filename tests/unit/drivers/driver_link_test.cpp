// The test of the data link of every driver: what it asks, which answers are a link, and what the log says of
// those that are none.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class LinkTest : public FamilyTest<LinkFacts> {
  protected:
    LinkTest() : FamilyTest(&DriverFacts::link) {}

    /// One test of the link, in which the questions before the last are refused.
    int32_t CheckAnswered(const std::string& answer) {
        modem.exchanges.clear();
        world.log.clear();
        for (const std::string& question : row->questions) AnswerTo(question, kError);
        AnswerTo(row->questions.back(), answer);
        const int32_t result = cell.CheckConnection();
        EXPECT_EQ(row->questions, modem.Sent()) << answer;
        return result;
    }

    void Expect(const LinkCase& test) {
        EXPECT_EQ(test.is_up, CheckAnswered(test.answer)) << test.answer;
        EXPECT_EQ(0, cell.m_online) << "what was asked for changes nothing: " << test.answer;
        const Texts lines = LinesOf("CheckConnection");
        Texts beginnings = row->always;
        if (test.is_up == 0 && *row->failure != '\0') {
            beginnings.push_back(row->failure + std::to_string(test.told) + "\n");
        }
        ASSERT_EQ(beginnings.size(), lines.size()) << test.answer;
        for (size_t i = 0; i < lines.size(); ++i) {
            const std::string level = i < row->always.size() ? "7 " : "5 ";
            EXPECT_EQ(0u, lines[i].find(level + beginnings[i])) << lines[i] << test.answer;
        }
    }
};

TEST_P(LinkTest, LinkIsUpByItsAnswerAlone) {
    for (const LinkCase& test : row->cases) Expect(test);
    for (const char* answer : {kOk, kError, "", "\r\nNO CARRIER\r\n"}) Expect({answer, 0});
    Expect({Answer("+CREG: 1,1"), 0, 1});
}

TEST_P(LinkTest, AnswerOfTheEnginesRowsIsNoLinkEvenWithTheFamilysAnswer) {
    Expect({"\r\n" + row->up + "\r\n+CREG: 1,1\r\n", row->is_searched ? 1 : 0, 1});
}

TEST_P(LinkTest, AnswersOfOtherFamiliesAreNoLink) {
    for (const DriverFacts& other : AllFacts()) {
        if (other.link.up == row->up || row->is_searched) continue;
        EXPECT_EQ(0, CheckAnswered(Answer(other.link.up))) << other.link.up;
    }
}

TEST_P(LinkTest, StateAfterThe256thByteIsLost) {
    EXPECT_EQ(0, CheckAnswered(CutAfter(row->up.size() - 1, row->up + "\r\n\r\nOK\r\n")));
    EXPECT_NE(0, CheckAnswered(CutAfter(row->up.size(), row->up + "\r\n\r\nOK\r\n")));
}

TEST_P(LinkTest, DeadModemHasNoLink) {
    modem.Mute(true);
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_EQ(row->questions, modem.Sent());
}

INSTANTIATE_TEST_SUITE_P(, LinkTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
