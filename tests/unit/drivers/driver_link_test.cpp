// The test of the data link of every driver: what it asks, which answers are a link, and what the log says of
// those that are none.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

struct LinkCase {
    std::string answer;
    int32_t is_up;
    int32_t told = 0;  // the state that the log gives for a link that isn't up
};

struct LinkRow {
    VendorType family;
    Texts questions;              // the answer to the last one decides
    std::string up;               // a link, up to the character that says so
    std::vector<LinkCase> cases;  // answers to that question, beside those that every family gets
    const char* failure = "";     // begins the line about a link that isn't up; none is said without it
    Texts always = {};            // what the lines that are said in any case begin with
    bool is_searched = false;     // the answer is taken as it stands, whatever row it is
};

const std::vector<LinkCase> kDataStatusCases = {
    {Answer("+DATASTATUS: 1"), 1}, {Answer("+DATASTATUS:1"), 1}, {Answer("+DATASTATUS: 0"), 0},
    {Answer("+DATASTATUS: 2"), 0}, {Answer("+DATASTATUS:"), 0},  {Answer("+PKTSTATUS: 1,1"), 0},
    {Answer("^DATACONNECT"), 0},
};

const std::vector<LinkCase> kRrcStateCases = {
    {Answer("+RRCSTATE: 1,7"), 1},  {Answer("+RRCSTATE:1"), 1},    {Answer("+RRCSTATE: 1,0,3,4,5,6"), 1},
    {Answer("+RRCSTATE: 0,7"), 0},  {Answer("+RRCSTATE: 2,7"), 0}, {Answer("+RRCSTATE: ,1"), 0},
    {Answer("+RRCSTATE: on,1"), 0}, {Answer("+RRCSTATE:"), 0},     {Answer("+SYSINFO: 1,3"), 0},
};

const std::vector<LinkCase> kPacketStatusCases = {
    {Answer("+PKTSTATUS: 1,1"), 1},         {Answer("+PKTSTATUS:1"), 1},
    {Answer("+PKTSTATUS: 1,2,3,4,5,6"), 1}, {Answer("+PKTSTATUS: 0,1"), 0},
    {Answer("+PKTSTATUS: 2,1"), 0},         {Answer("+PKTSTATUS: ,1"), 0},
    {Answer("+PKTSTATUS: up,1"), 0},        {Answer("+PKTSTATUS:"), 0},
    {Answer("+DATASTATUS: 1"), 0},          {"\r\n+DATASTATUS: 0\r\n\r\n+PKTSTATUS: 1,1\r\n\r\nOK\r\n", 1},
};

const std::vector<LinkCase> kNdisStateCases = {
    {Answer("^NDISSTATQRY: 1,,,\"IPV4\""), 1},
    {Answer("^NDISSTATQRY: 1"), 1},
    {Answer("^NDISSTATQRY:1,,,\"IPV4\""), 1},
    {Answer("^NDISSTATQRY: 0,33,,\"IPV4\""), 0},
    {Answer("^NDISSTATQRY: 2,,,\"IPV4\""), 0},
    {Answer("^NDISSTATQRY: 11"), 0},
    {Answer("^NDISSTATQRY:"), 0},
    {Answer("^HCSQ: 1"), 0},
};

// "IPV4" has no dot, an address has.
const std::vector<LinkCase> kZecmcallCases = {
    {Answer("+ZECMCALL: 10.1.2.3"), 1}, {Answer("+ZECMCALL: IPV4, 10.1.2.3"), 1},
    {"1.0\r\n+ZECMCALL: IPV4\r\n", 1},  {Answer("+ZECMCALL: IPV4"), 0},
    {Answer("+ZECMCALL:10.1.2.3"), 0},  {Answer("10.1.2.3"), 0},
    {"+CSQ: 5,99\r\n\r\nOK\r\n", 0, 5},
};

const std::vector<LinkCase> kNetDevStatusCases = {
    {Answer("+QNETDEVSTATUS: 1,1,0,1"), 1}, {Answer("+QNETDEVSTATUS: 1,2,0,1"), 1},
    {Answer("+QNETDEVSTATUS: 0,1"), 1},     {Answer("+QNETDEVSTATUS: 1,3,0,1"), 0, 3},
    {Answer("+QNETDEVSTATUS: 1,0,0,1"), 0}, {Answer("+QNETDEVSTATUS: 1"), 0},
    {Answer("+QNETDEVCTL: 1,1,1,1"), 0},
};

const std::vector<LinkCase> kNetDevCtlCases = {
    {Answer("+QNETDEVCTL: 1,1,1,1"), 1}, {Answer("+QNETDEVCTL: 0,0,0,1"), 1},
    {Answer("+QNETDEVCTL: 1,1,1,0"), 0}, {Answer("+QNETDEVCTL: 1,1,1,2"), 0, 2},
    {Answer("+QNETDEVCTL: 1,1,1"), 0},   {Answer("+QNETDEVCTL: 1,1,1,"), 0},
    {Answer("$QNETDEVCTL: 1,1,1,1"), 0}, {Answer("+QNETDEVSTATUS: 1,2,0,1"), 0},
};

const std::vector<LinkCase> kQcrmcallCases = {
    {Answer("$QCRMCALL: 1,V4"), 1}, {Answer("$QCRMCALL: 1"), 1},      {Answer("$QCRMCALL: 0"), 0},
    {Answer("$QCRMCALL: 2"), 0},    {Answer("+CPSI: LTE,Online"), 0},
};

// Three ones in a row, wherever they stand.
const std::vector<LinkCase> kSwwanCases = {
    {Answer("^SWWAN: 1,1,1"), 1},   {"1,1,1", 1},
    {Answer("^SWWAN: 11,1,12"), 1}, {Answer("^SWWAN: 3,0,1\r\n^SWWAN: 1,1,1"), 1},
    {Answer("+CREG: 1,1,1"), 1},    {"AT^SWWAN?\r\r\n^SWWAN: 1,1,1\r\n\r\nOK\r\n", 1},
    {Answer("^SWWAN: 0,1,1"), 0},   {Answer("^SWWAN: 1,0,1"), 0},
    {Answer("^SWWAN: 1, 1, 1"), 0}, {Answer("^SWWAN: 1,1"), 0},
};

const std::vector<LinkCase> kRndisCases = {
    {Answer("+GTRNDIS: 1,1,\"10.0.0.2\""), 1},
    {Answer("+GTRNDIS: 1"), 1},
    {Answer("+GTRNDIS: 0"), 0},
    {Answer("+GTRNDIS: 2"), 0},
    {Answer("+GTRNDIS:1"), 0},
};

// A one anywhere in the text.
const std::vector<LinkCase> kNetopenCases = {
    {Answer("+NETOPEN: 1"), 1},  {Answer("+NETOPEN:1"), 1},
    {Answer("+NETOPEN:10"), 1},  {Answer("+NETOPEN: 0,1"), 1},
    {Answer("+NETOPEN: 0"), 0},  {Answer("+NETOPEN:"), 0},
    {Answer("+NETOPEN: 2"), 0},  {Answer("+NETOPEN:SUCCESS"), 0},
    {Answer("+NETCLOSE: 1"), 0}, {Answer("1"), 0},
};

const LinkRow kLinks[] = {
    {kVendorLongSung, {"AT+DATASTATUS"}, "+DATASTATUS: 1", kDataStatusCases},
    {kVendorChuangYi, {"AT+RRCSTATE"}, "+RRCSTATE:1", kRrcStateCases},
    {kVendorNodeCom, {"AT+PKTSTATUS"}, "+PKTSTATUS: 1", kPacketStatusCases},
    {kVendorHuaWei, {"at^ NDISSTATQRY?"}, "^NDISSTATQRY: 1", kNdisStateCases},
    {kVendorZte,
     {"AT+ZPAS?", "AT+ZECMCALL?"},
     "+ZECMCALL: 10.",
     kZecmcallCases,
     "AT+ZECMCALL? fail:",
     {"AT+ZECMCALL checkconnection return "}},
    {kVendorQuectelQcom,
     {"AT+QNETDEVSTATUS?"},
     "+QNETDEVSTATUS: 1,2",
     kNetDevStatusCases,
     "AT+QNETDEVSTATUS fail:"},
    {kVendorQuectelUnisoc,
     {"AT+QNETDEVCTL?\r\n"},
     "+QNETDEVCTL: 1,1,1,1",
     kNetDevCtlCases,
     "AT+QNETDEVCTL fail:"},
    {kVendorQuectelAsr,
     {"AT+QNETDEVCTL?\r\n"},
     "+QNETDEVCTL: 1,1,1,1",
     kNetDevCtlCases,
     "AT+QNETDEVCTL fail:"},
    {kVendorSimCom, {"AT$QCRMCALL?"}, "$QCRMCALL: 1", kQcrmcallCases},
    {kVendorCinterion, {"AT^SMONI", "AT^SWWAN?"}, "^SWWAN: 1,1,1", kSwwanCases, "", {}, true},
    {kVendorFibocom, {"AT+GTRNDIS?\r\n"}, "+GTRNDIS: 1", kRndisCases},
    {kVendorLynq,
     {"AT+CPSI?", "AT+NETOPEN?"},
     "+NETOPEN:1",
     kNetopenCases,
     "",
     {"AT+CPSI common str:", "AT+NETOPEN? and response "}},
    {kVendorFibocomLe, {"AT+GTRNDIS?\r\n"}, "+GTRNDIS: 1", kRndisCases},
};

class LinkTest : public FamilyTest<LinkRow> {
  protected:
    LinkTest() : FamilyTest(kLinks) {}

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
    for (const LinkRow& other : kLinks) {
        if (other.up == row->up || row->is_searched) continue;
        EXPECT_EQ(0, CheckAnswered(Answer(other.up))) << other.up;
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
