// What every driver makes of the texts that its modem sends unsolicited.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

using Hints = std::vector<int32_t>;

bool HasHint(const Hints& hints, int32_t hint) {
    return std::find(hints.begin(), hints.end(), hint) != hints.end();
}

bool HasDataStatus(const Hints& hints) {
    return HasHint(hints, kHintDataStatus);
}

class ReportTest : public FamilyTest<Hints> {
  protected:
    ReportTest() : FamilyTest(&DriverFacts::hints) {}

    int32_t Deal(int32_t hint, int32_t value) {
        AtResult record = {};
        record.type = hint;
        record.val = value;
        return cell.DealHint(record);
    }
};

TEST_P(ReportTest, HintsOfTheFamilyAreActedOnAndOthersChangeNothing) {
    for (int32_t hint = 0; hint < kAtPrefixRows; ++hint) {
        if (hint == kHintNwtypeind) continue;
        CopyText(cell.m_NetworkType, "before");
        cell.m_online = 0;
        EXPECT_EQ(HasHint(*row, hint) ? 1 : 0, Deal(hint, 1)) << hint;
        EXPECT_EQ(hint == kHintDataStatus && HasHint(*row, hint) ? 1 : 0, cell.m_online) << hint;
        // The text of a record begins where its number stands.
        EXPECT_STREQ(hint == kHintHcsq && HasHint(*row, hint) ? "\x01" : "before", cell.m_NetworkType)
            << hint;
    }
    EXPECT_EQ(Texts{}, modem.Sent());
}

TEST_P(ReportTest, ChangeOfTheRadioTechnologyIsTheEngines) {
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE FDD"));
    EXPECT_EQ(1, Hear("\r\n+NWTYPEIND: 7\r\n"));
    EXPECT_EQ(Texts{"AT+PSRAT"}, modem.Sent());
    EXPECT_STREQ("LTE FDD", cell.m_NetworkType);
    EXPECT_EQ(0, Hear("+CREG: 1,1"));
    EXPECT_EQ(0, Hear("RING"));
    EXPECT_EQ(1u, modem.exchanges.size());
    EXPECT_STREQ("LTE FDD", cell.m_NetworkType);
    EXPECT_EQ(0, cell.m_online);
}

INSTANTIATE_TEST_SUITE_P(, ReportTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

class DataStatusReportTest : public ReportTest {};

TEST_P(DataStatusReportTest, StatusOtherThan0IsOnline) {
    for (const int32_t status : {1, 0, 2, 0, -1, 0, 256, 0}) {
        EXPECT_EQ(1, Deal(kHintDataStatus, status)) << status;
        EXPECT_EQ(status != 0 ? 1 : 0, cell.m_online) << status;
        EXPECT_EQ(status != 0 ? 1 : 0, cell.IsOnline()) << status;
    }
}

INSTANTIATE_TEST_SUITE_P(, DataStatusReportTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::hints, HasDataStatus)), FamilyOfTest);

}  // namespace
