// Module QuectelDialect: what differs from family to family, and the limits. The rest is seen through the
// drivers.
#include "CellSubClass/src/QuectelDialect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

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
};

class QuectelDialectTest : public testing::Test {
  protected:
    static AtResult Record(int32_t type, const std::string& text) {
        AtResult result = {};
        result.type = type;
        copy_text(result.common_str, text.c_str());
        return result;
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
    char command[kCommandSize];
    BuildContextCommand(cell, command);
    EXPECT_EQ("AT+QICSGP=1,1,\"" + std::string(63, 'a') + "\",\"" + std::string(63, 'u') + "\",\"" +
                  std::string(63, 'p') + "\",-2147483648\r\n",
              command);
}

TEST_F(QuectelDialectTest, NeighbourRsrpStandsWhereTheFamilyPutsIt) {
    AtResult result = Record(kHintQeng, "\"neighbourcell intra\",\"LTE\",1850,177,-12,-98,-70,0,1,2,3,4");
    StoreNeighbourCell(kPlace, cell, result, 12, 4);
    EXPECT_STREQ("177", cell.m_neighbour_pcid);
    EXPECT_STREQ("-12", cell.m_neighbour_rsrp);
    EXPECT_EQ(0, world.CountLogged("neighbour info,pRes do not have valid data\n")) << "12 of 12 slots";

    result = Record(kHintQeng, "\"neighbourcell intra\",\"LTE\",1850,177,-12,-98,-70,0,1,2,3,4");
    StoreNeighbourCell(kPlace, cell, result, 13, 5);
    EXPECT_STREQ("-98", cell.m_neighbour_rsrp);
    EXPECT_TRUE(world.Logged(7, "neighbour info,pRes do not have valid data\n")) << "12 of 13 slots";
}

TEST_F(QuectelDialectTest, LinesCarryTheDriversPlace) {
    AtResult result = Record(kHintQeng, "\"servingcell\",\"NOCONN\",\"LTE\"");
    StoreServingCell(kPlace, cell, result);
    result = Record(kHintQeng, "\"neighbourcell\"");
    StoreNeighbourCell(kPlace, cell, result, 13, 5);
    modem.On("AT+CREG?", "+CREG: 0,1");
    AskRegistrationFromCreg(kPlace, cell);
    int own = 0;
    for (const World::LogLine& line : world.log) {
        if (line.file.find("CellSubClass") == std::string::npos) continue;
        EXPECT_EQ(kPlace.file, line.file);
        EXPECT_EQ(kPlace.function, line.function);
        ++own;
    }
    EXPECT_EQ(10, own);  // 1 early end and 4 values, 1 early end and 2 values, 2 of the registration
}

TEST_F(QuectelDialectTest, FieldsLongerThanTheirMembersAreCut) {
    const std::string field = "1234567890123456789012345";
    AtResult result = Record(kHintQeng, "a,b,c," + field + ",e," + field);
    StoreNeighbourCell(kPlace, cell, result, 13, 5);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_pcid);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_rsrp);
    EXPECT_TRUE(world.Logged(7, "neighbour info, pcid:" + field.substr(0, 23) + " !\n")) << "cut to its slot";
}

}  // namespace
