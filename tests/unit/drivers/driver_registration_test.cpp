// The registration test of the drivers: LTE first, then the packet side; with Quectel modules the
// circuit-switched side before both. Families that ask in words of their own have that in their own suites.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr int32_t kStatBefore = 9;  // a stat that no answer here gives

struct RegistrationCase {
    std::string lte, packet;  // answers
    int32_t lte_stat, packet_stat;
    bool is_registered;
};

const RegistrationCase kCases[] = {
    {Answer("+CEREG: 0,1"), kError, 1, kStatBefore, true},
    {Answer("+CEREG: 2,5"), kError, 5, kStatBefore, true},
    {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,1"), 2, 1, true},
    {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,5"), 2, 5, true},
    {Answer("+CEREG: 0,3"), Answer("+CGREG: 0,5"), 3, 5, true},
    {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,3"), 2, 3, false},
    {Answer("+CEREG: 0,0"), Answer("+CGREG: 0,3"), 0, 3, false},
    {Answer("+CEREG: 1"), Answer("+CGREG: 1"), 0, 0, false},
    {kError, Answer("+CGREG: 0,1"), kStatBefore, 1, true},
    {"", Answer("+CGREG: 0,1"), kStatBefore, 1, true},
    {Answer("+CGREG: 0,1"), Answer("+CEREG: 0,1"), kStatBefore, kStatBefore, false},
    {Answer("+CREG: 0,1"), Answer("+CREG: 0,1"), kStatBefore, kStatBefore, false},
    {Answer("+CEREG: 0,2"), kError, 2, kStatBefore, false},
    {"", "", kStatBefore, kStatBefore, false},
};

bool IsShared(Registration way) {
    return way != Registration::kOwn;
}

bool HasThreeSteps(Registration way) {
    return way == Registration::kThreeSteps;
}

class RegistrationTest : public FamilyTest<Registration> {
  protected:
    RegistrationTest() : FamilyTest(&DriverFacts::registration) {}

    void SetUp() override {
        FamilyTest::SetUp();
        cell.m_CEREG = cell.m_CGREG = kStatBefore;
    }
};

TEST_P(RegistrationTest, LteOrElseThePacketSideDecidesAndEachStatIsKept) {
    modem.On("AT+CREG?", kError);
    cell.m_check_service_times = 1;
    for (const RegistrationCase& test : kCases) {
        modem.exchanges.clear();
        cell.m_CEREG = cell.m_CGREG = kStatBefore;
        modem.On("AT+CEREG?", test.lte);
        modem.On("AT+CGREG?", test.packet);
        EXPECT_EQ(test.is_registered ? 1 : 0, cell.CheckServiceStatus()) << test.lte << test.packet;
        EXPECT_EQ(test.lte_stat, cell.m_CEREG) << test.lte << test.packet;
        EXPECT_EQ(test.packet_stat, cell.m_CGREG) << test.lte << test.packet;
        Texts questions = HasThreeSteps(*row) ? Texts{"AT+CREG?", "AT+CEREG?"} : Texts{"AT+CEREG?"};
        if (!IsRegistered(test.lte_stat)) questions.push_back("AT+CGREG?");
        EXPECT_EQ(questions, modem.Sent()) << test.lte << test.packet;
        const Texts lines = {"7 CheckServiceStatus: Get_network_check_times 1\n"};
        EXPECT_EQ(HasThreeSteps(*row) ? lines : Texts{}, TakeLines()) << test.lte << test.packet;
    }
}

INSTANTIATE_TEST_SUITE_P(, RegistrationTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::registration, IsShared)),
                         FamilyOfTest);

class CircuitSideTest : public RegistrationTest {};

TEST_P(CircuitSideTest, FirstTestOnlyReadsTheCircuitSwitchedSide) {
    modem.On("AT+CREG?", Answer("+CREG: 0,1"));
    cell.m_check_service_times = 0;
    EXPECT_EQ(0, cell.CheckServiceStatus());
    EXPECT_EQ(1, cell.m_CEREG);
    EXPECT_EQ(kStatBefore, cell.m_CGREG);
    EXPECT_EQ(Texts{"AT+CREG?"}, modem.Sent());
    const Texts lines = {"7 Get_network_check_times 0\n", "7 AT+CREG\n"};
    EXPECT_EQ(lines, LinesOf("CheckServiceStatus"));
}

TEST_P(CircuitSideTest, LaterTestsGoOnWhateverTheCircuitSwitchedSideSays) {
    for (const int32_t times : {1, 2, 100}) {
        modem.exchanges.clear();
        modem.On("AT+CREG?", Answer("+CREG: 0,3"));
        modem.On("AT+CEREG?", kError);
        modem.On("AT+CGREG?", Answer("+CGREG: 0,5"));
        cell.m_check_service_times = times;
        EXPECT_EQ(1, cell.CheckServiceStatus()) << times;
        EXPECT_EQ(3, cell.m_CEREG) << times;
        EXPECT_EQ(5, cell.m_CGREG) << times;
        EXPECT_EQ((Texts{"AT+CREG?", "AT+CEREG?", "AT+CGREG?"}), modem.Sent()) << times;
    }
}

INSTANTIATE_TEST_SUITE_P(, CircuitSideTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::registration, HasThreeSteps)),
                         FamilyOfTest);

}  // namespace
