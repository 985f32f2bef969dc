// Module DataStatusDialect: what LongSung and NodeCom modules word alike, seen through both drivers.
#include "CellSubClass/src/DataStatusDialect.h"

#include "CellSubClass/src/CellLongSung.h"
#include "CellSubClass/src/CellNodeCom.h"
#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

const char* FileOf(const CellLongSung&) {
    return "CellSubClass/src/CellLongSung.cpp";
}
const char* FileOf(const CellNodeCom&) {
    return "CellSubClass/src/CellNodeCom.cpp";
}
const char* NameOf(const CellLongSung&) {
    return "LONGSUNG";
}
const char* NameOf(const CellNodeCom&) {
    return "Nodecom";
}

template <class Driver>
class DataStatusTest : public DriverTest<Driver> {
  protected:
    /// Lines of the driver's own file since the last call.
    Texts TakeLog() {
        Texts lines = this->LinesOfFile(FileOf(this->cell));
        this->world.log.clear();
        return lines;
    }
};

using Drivers = testing::Types<CellLongSung, CellNodeCom>;
TYPED_TEST_SUITE(DataStatusTest, Drivers);

// Set-up

TYPED_TEST(DataStatusTest, InitializeTurnsOnFiveReportsInOrder) {
    const Texts reports = {"AT+SIGNALIND=1", "AT+NWTYPEIND=1", "AT+URCIND=1", "AT+PSDIALIND=1",
                           "AT+DATASTATUSEN=1"};
    for (const std::string& command : reports) this->modem.On(command, kOk);
    EXPECT_EQ(1, this->cell.Initialize());
    EXPECT_EQ(Joined(BaseSetUp(), reports), this->modem.Sent());
    EXPECT_STREQ(NameOf(this->cell), this->cell.m_vendor_name);
    EXPECT_STREQ(NameOf(this->cell), this->cell.m_fw_version);
    EXPECT_EQ(Texts{"5 Initialize: m_ModuleName = Some \n"}, this->TakeLog());
}

TYPED_TEST(DataStatusTest, RefusedReportsAreNoFailure) {
    this->modem.AllowUnknown();
    EXPECT_EQ(1, this->cell.Initialize());
    EXPECT_EQ(BaseSetUp().size() + 5, this->modem.exchanges.size());
}

// Parser

struct StatusCase {
    std::string behind_prefix;
    int32_t expected;
};

TYPED_TEST(DataStatusTest, StatusIsANumberUpToTheEndOfTheLine) {
    const StatusCase cases[] = {
        {" 1\r\n", 1},
        {"1", 1},
        {"   0\r\n", 0},
        {"", 0},
        {"\r\n1", 0},
        {" 2,1,3,4,5,6,7,8", 2},
        {",1", 0},
        {" up", 0},
        {" \"1\"", 0},
        {" -1\n", -1},
        {" 1x", 1},
        {" 99999999999999999999", 2147483647},
        {" " + std::string(150, '0') + "7\r\n", 7},
        {" \xff\x80\r\n", 0},
        {" 1\xff", 1},
        {" %s%n", 0},
    };
    for (const StatusCase& test : cases) {
        const AtResult result = this->Parse("+DATASTATUS:" + test.behind_prefix);
        EXPECT_EQ(kHintDataStatus, result.type) << test.behind_prefix;
        EXPECT_EQ(test.expected, result.val) << test.behind_prefix;
        const Texts log = {"5 ParseAtResult: 16 " + test.behind_prefix + "\n",
                           "5 ParseAtResult: Connect Status:" + std::to_string(test.expected) + "\n"};
        EXPECT_EQ(log, this->TakeLog());
    }
}

struct RowCase {
    const char* answer;
    int32_t type;
    Texts log;
};

TYPED_TEST(DataStatusTest, RowsAreFoundInTheirOrder) {
    const RowCase cases[] = {
        {"\r\nOK\r\n", 0, {}},
        {"", 0, {}},
        {"+datastatus: 1", 0, {}},
        {"^NDISSTATQRY: 1", 0, {}},
        {"ReSeRvEd:x", 0, {"5 ParseAtResult: 15 x\n"}},
        {"^DATACONNECT: 1", 17, {"5 ParseAtResult: 17 : 1\n"}},
        {"^DATACONNECT", 17, {"5 ParseAtResult: 17 \n"}},
        {"^DATADISCONN\xff", 18, {"5 ParseAtResult: 18 \xff\n"}},
        {"^DATADISCONN\r\n^DATACONNECT", 17, {"5 ParseAtResult: 17 \n"}},
        {"^DATADISCONN\r\n+DATASTATUS: 0",
         16,
         {"5 ParseAtResult: 16  0\n", "5 ParseAtResult: Connect Status:0\n"}},
        {"+DATASTATUS: 1\r\n+DATASTATUS: 0",
         16,
         {"5 ParseAtResult: 16  1\r\n+DATASTATUS: 0\n", "5 ParseAtResult: Connect Status:1\n"}},
        {"+DATASTATUS: 1\r\n+PKTSTATUS: 0", kHintPktstatus, {}},
        {"+DATASTATUS: 1\r\n+CSQ: 3,99", kHintCsq, {}},
    };
    for (const RowCase& test : cases) {
        const AtResult result = this->Parse(test.answer);
        EXPECT_EQ(test.type, result.type) << test.answer;
        EXPECT_EQ(test.log, this->TakeLog()) << test.answer;
    }
    EXPECT_EQ(0, this->cell.ParseAtResult(nullptr).type);
}

TYPED_TEST(DataStatusTest, RowsEndWithThe256thByte) {
    this->ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+DATASTATUS:", " 12", kHintDataStatus},
        {"^DATACONNECT", ": 1", kHintDataConnect},
        {"^DATADISCONN", ": 1", kHintDataDisconn},
    });
}

// Unsolicited texts

TYPED_TEST(DataStatusTest, ReportedStatusIsTheOnlineState) {
    EXPECT_EQ(1, this->Hear("\r\n+DATASTATUS: 1\r\n"));
    EXPECT_EQ(1, this->cell.m_online);
    EXPECT_EQ(1, this->cell.IsOnline());
    EXPECT_EQ(1, this->Hear("\r\n+DATASTATUS: 0\r\n"));
    EXPECT_EQ(0, this->cell.m_online);
    for (const char* other : {"2", "-1", "256"}) {
        this->cell.m_online = 0;
        EXPECT_EQ(1, this->Hear(std::string("+DATASTATUS: ") + other));
        EXPECT_EQ(1, this->cell.m_online) << other;
    }
}

TYPED_TEST(DataStatusTest, ConnectAndDisconnectReportsHaveNoEffect) {
    this->cell.m_online = 1;
    EXPECT_EQ(kHintDataDisconn, this->Parse("\r\n^DATADISCONN\r\n").type);
    EXPECT_EQ(0, this->Hear("\r\n^DATADISCONN\r\n"));
    EXPECT_EQ(1, this->cell.m_online);
    this->cell.m_online = 0;
    EXPECT_EQ(0, this->Hear("\r\n^DATACONNECT\r\n"));
    EXPECT_EQ(0, this->cell.m_online);
}

TYPED_TEST(DataStatusTest, OtherHintsGoToTheEngine) {
    EXPECT_EQ(0, this->Hear("+CREG: 1,1"));
    EXPECT_EQ(0, this->Hear("RING"));
    this->modem.On("AT+PSRAT", Answer("+PSRAT: LTE FDD"));
    EXPECT_EQ(1, this->Hear("\r\n+NWTYPEIND: 7\r\n"));
    EXPECT_STREQ("LTE FDD", this->cell.m_NetworkType);
    EXPECT_EQ(0, this->cell.m_online);
}

// Places of the lines

TYPED_TEST(DataStatusTest, NoLineNamesTheSharedFile) {
    this->modem.AllowUnknown();
    this->cell.Initialize();
    this->Hear("+DATASTATUS: 1");
    this->Hear("^DATADISCONN");
    EXPECT_EQ(Texts{}, this->LinesOfHelpers());
}

}  // namespace
