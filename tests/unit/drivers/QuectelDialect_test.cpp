// Module QuectelDialect: what differs from family to family, and the limits. The rest is seen through the
// drivers.
#include "CellSubClass/src/QuectelDialect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/text_util.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using test_support::ScriptedModem;
using test_support::World;

namespace {

constexpr TracePlace kPlace = {"CellSubClass/src/CellSome.cpp", "SomeOperation", 12};

class SomeCell : public CellBase {
  public:
    using CellBase::CellBase;
    const char* GetInterfaceName() override { return "wwan0"; }
    int32_t CheckConnection() override { return 0; }
    AtResult ParseAtResult(char* text) override { return TakeFields(Recognise(*this, kSomeRows, text)); }

    static constexpr AtRow kSomeRows[] = {kQengRow};
};

class QuectelDialectTest : public testing::Test {
  protected:
    /// The modem's answer to the question for neighbour cells.
    void HasNeighbours(const std::string& report) {
        modem.On("AT+QENG=\"neighbourcell\"", "\r\n+QENG: " + report + "\r\n\r\nOK\r\n");
    }

    World world;
    ScriptedModem modem{world};
    SomeCell cell{modem.fd()};
};

TEST_F(QuectelDialectTest, ContextCommandHoldsTheLongestSettings) {
    copy_text(cell.m_apn, std::string(63, 'a').c_str());
    copy_text(cell.m_username, std::string(63, 'u').c_str());
    copy_text(cell.m_password, std::string(63, 'p').c_str());
    cell.m_auth_type = INT32_MIN;
    modem.AllowUnknown();
    SendContextAtDial(kPlace, cell);
    const std::vector<std::string> expected = {"AT+QICSGP=1,1,\"" + std::string(63, 'a') + "\",\"" +
                                               std::string(63, 'u') + "\",\"" + std::string(63, 'p') +
                                               "\",-2147483648\r\n"};
    EXPECT_EQ(expected, modem.Sent());
}

TEST_F(QuectelDialectTest, NeighbourRsrpStandsWhereTheFamilyPutsIt) {
    HasNeighbours("\"neighbourcell intra\",\"LTE\",1850,177,-12,-98,-70,0,1,2,3,4");
    ReadNeighbourCell(kPlace, cell, 12, 4);
    EXPECT_STREQ("177", cell.m_neighbour_pcid);
    EXPECT_STREQ("-12", cell.m_neighbour_rsrp);
    EXPECT_EQ(0, world.CountLogged("neighbour info,pRes do not have valid data\n")) << "12 of 12 slots";

    ReadNeighbourCell(kPlace, cell, 13, 5);
    EXPECT_STREQ("-98", cell.m_neighbour_rsrp);
    EXPECT_TRUE(world.Logged(7, "neighbour info,pRes do not have valid data\n")) << "12 of 13 slots";
}

TEST_F(QuectelDialectTest, LinesCarryTheDriversPlace) {
    modem.AllowUnknown();
    modem.On("AT+QENG=\"servingcell\"", "+QENG: \"servingcell\",\"NOCONN\",\"LTE\"");
    HasNeighbours("\"neighbourcell\"");
    modem.On("AT+CREG?", "+CREG: 0,1");
    InitializeQuectel(kPlace, cell, {"AT+qcfg=\"usbnet\",1", true, "Some", 20, "Unknown"});
    SendContextAtDial(kPlace, cell);
    ReadServingCell(kPlace, cell);
    ReadNeighbourCell(kPlace, cell, 13, 5);
    AskRegistrationFromCreg(kPlace, cell);
    int own = 0;
    for (const World::LogLine& line : world.log) {
        if (line.file.find("CellSubClass") == std::string::npos) continue;
        EXPECT_EQ(kPlace.file, line.file);
        EXPECT_EQ(kPlace.function, line.function);
        ++own;
    }
    // Of the set-up 2 and the dial 2; of the cells a report, an early end, and 4 and 2 values; of the
    // registration 2.
    EXPECT_EQ(2 + 2 + 6 + 4 + 2, own);
}

TEST_F(QuectelDialectTest, FieldsLongerThanTheirMembersAreCut) {
    const std::string field = "1234567890123456789012345";
    HasNeighbours("a,b,c," + field + ",e," + field);
    ReadNeighbourCell(kPlace, cell, 13, 5);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_pcid);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_rsrp);
    EXPECT_TRUE(world.Logged(7, "neighbour info, pcid:" + field.substr(0, 23) + " !\n")) << "cut to its slot";
}

}  // namespace
