// Module CellNodeCom: what NodeCom modules have beside other families: the dial starts the DHCP client
// itself.
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kDial[] = "at+ecmdup=1,1,1,0,0";

class NodeComTest : public DriverTest {
  protected:
    NodeComTest() : DriverTest(kVendorNodeCom) {}

    void SetUp() override {
        DriverTest::SetUp();
        cell.m_carrier_code = 2;
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
        modem.On(kDial, kOk);
    }
};

TEST_F(NodeComTest, DhcpClientIsStartedTenSecondsAfterTheCall) {
    EXPECT_EQ(1, cell.DoConnect());
    ASSERT_EQ(Texts{kCommandDhcpStart}, world.Commands());
    EXPECT_NEAR(1 + 10, world.shell[0].at_seconds - modem.exchanges.back().at_seconds, 0.01);
}

TEST_F(NodeComTest, ConnectStartsTheDhcpClientTwice) {
    modem.On("AT+CEREG?", Answer("+CEREG: 0,1"));
    modem.On("AT+PKTSTATUS", Answer("+PKTSTATUS: 1,1"));
    EXPECT_EQ(1, cell.Connect());
    EXPECT_EQ(Texts(2, kCommandDhcpStart), world.Commands());
    EXPECT_EQ(1, cell.m_online);
}

}  // namespace
