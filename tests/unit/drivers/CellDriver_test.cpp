// Module CellDriver: rows as tables, list splitting and the exchanges that families share.
#include "CellSubClass/src/CellDriver.h"

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using test_support::ScriptedModem;
using test_support::World;

namespace {

constexpr TracePlace kDriverPlace = {"CellSubClass/src/CellSome.cpp", "SomeOperation", 12};

/// A driver of rows 20 to 22 with no dialect besides.
constexpr AtRow kRows[] = {
    {20, "ReSeRvEd:", {}, ""},
    {kHintRrcstate, "+RRCSTATE:", {kToVal, kToVal2}, ",\r"},
    {kHintSysinfo, "+SYSINFO:", {kToVal, kToVal2, kToVal3, kToVal4, kToVal5, kToNowhere, kToVal6}, ",\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr AtRow kWrongPrefix[] = {{21, "+RRCSTATE: ", {kToVal}, ","}};
static_assert(!AgreesWithPrefixTable(kWrongPrefix));
constexpr AtRow kWrongNumber[] = {{22, "+RRCSTATE:", {kToVal}, ","}};
static_assert(!AgreesWithPrefixTable(kWrongNumber));
constexpr AtRow kWrongOrder[] = {{22, "+SYSINFO:", {kToVal}, ","}, {21, "+RRCSTATE:", {kToVal}, ","}};
static_assert(!AgreesWithPrefixTable(kWrongOrder));
constexpr AtRow kGap[] = {{20, "ReSeRvEd:", {}, ""}, {22, "+SYSINFO:", {kToVal}, ","}};
static_assert(!AgreesWithPrefixTable(kGap));
constexpr AtRow kBehindTable[] = {{71, "+SYSINFO:", {kToVal}, ","}};
static_assert(!AgreesWithPrefixTable(kBehindTable));

class SomeCell : public CellBase {
  public:
    using CellBase::CellBase;
    const char* GetInterfaceName() override { return "wwan0"; }
    int32_t CheckConnection() override { return 0; }
    AtResult ParseAtResult(char* text) override { return TakeFields(Recognise(*this, kSomeRows, text)); }

    static constexpr AtRow kSomeRows[] = {
        {kHintCinterionCcid, "+CCID: ", {kToText}, "\n\r"},
    };
};

class CellDriverTest : public testing::Test {
  protected:
    /// The record that a row makes of the text after its prefix.
    AtResult Take(const AtRow& row, const std::string& behind_prefix) {
        text = behind_prefix;
        return TakeFields(AtMatch{&row, text.data()});
    }

    World world;
    ScriptedModem modem{world};
    SomeCell cell{modem.fd()};
    std::string text;
};

// Finding a row

TEST_F(CellDriverTest, RowIsFoundAnywhereInTheAnswer) {
    char answer[] = "\r\n+RRCSTATE: 1,7\r\n\r\nOK\r\n";
    const AtMatch match = Recognise(cell, kRows, answer);
    EXPECT_TRUE(match.Is(kHintRrcstate));
    EXPECT_STREQ(" 1,7\r\n\r\nOK\r\n", match.text);
}

TEST_F(CellDriverTest, LowerRowWinsWhereverItStands) {
    char answer[] = "+SYSINFO: 2\r\n+RRCSTATE: 1\r\n";
    EXPECT_TRUE(Recognise(cell, kRows, answer).Is(kHintRrcstate));
}

TEST_F(CellDriverTest, NothingBehindThePrefixIsAnEmptyText) {
    char answer[] = "+RRCSTATE:";
    EXPECT_STREQ("", Recognise(cell, kRows, answer).text);
}

TEST_F(CellDriverTest, WithoutARowThereIsNoMatchNoLineAndNoHint) {
    char answer[] = "\r\nOK\r\n";
    const AtMatch match = Recognise(cell, kRows, answer);
    EXPECT_EQ(nullptr, match.row);
    EXPECT_FALSE(match.Is(kHintRrcstate));
    LogMatch(kDriverPlace, 7, match);
    EXPECT_TRUE(world.log.empty());
    EXPECT_EQ(kHintUnknown, TakeFields(match).type);
}

TEST_F(CellDriverTest, MatchIsLoggedInTheDriversName) {
    char answer[] = "+RRCSTATE: 1,7 %s%n";
    LogMatch(kDriverPlace, 5, Recognise(cell, kRows, answer));
    ASSERT_EQ(1u, world.log.size());
    EXPECT_EQ("21  1,7 %s%n\n", world.log[0].text);
    EXPECT_EQ("CellSubClass/src/CellSome.cpp", world.log[0].file);
    EXPECT_EQ("SomeOperation", world.log[0].function);
    EXPECT_EQ(12, world.log[0].line);
    EXPECT_EQ(5u, world.log[0].level);
}

TEST_F(CellDriverTest, TheBaseGoesFirstAndItsRecordStays) {
    char answer[] = "+RRCSTATE: 1,7\r\n+CEREG: 0,5\r\n";
    const AtMatch match = Recognise(cell, kRows, answer);
    EXPECT_EQ(nullptr, match.row);
    const AtResult result = TakeFields(match);
    EXPECT_EQ(kHintCereg, result.type);
    EXPECT_EQ(5, result.val2);
}

TEST_F(CellDriverTest, NoTextIsNoMatch) {
    const AtMatch match = Recognise(cell, kRows, nullptr);
    EXPECT_EQ(nullptr, match.row);
    EXPECT_EQ(kHintUnknown, TakeFields(match).type);
}

// What a row fills

TEST_F(CellDriverTest, RowWithoutFieldsGivesNoHint) {
    EXPECT_EQ(0, Take(kRows[0], "1,2\r\n").type);
}

TEST_F(CellDriverTest, HintOnlyRowFillsNothingElse) {
    constexpr AtRow kRow = {kHintDataConnect, "^DATACONNECT", {kHintOnly}, ""};
    const AtResult result = Take(kRow, ": 5\r\n");
    EXPECT_EQ(kHintDataConnect, result.type);
    EXPECT_EQ(0, result.val);
}

struct NumberCase {
    const char* behind_prefix;
    int32_t expected;
};

TEST_F(CellDriverTest, SingleNumberIsTheFirstField) {
    constexpr AtRow kRow = {kHintQcrmcall, "$QCRMCALL: ", {kToVal}, ",\n\r"};
    const NumberCase cases[] = {
        {"1, V4\r\n\r\nOK\r\n", 1}, {" 7\r\n", 7}, {"-3", -3}, {"", 0}, {",5", 0}, {"\r\n5", 0},
        {"99999999999", INT32_MAX}, {"12ab", 12},  {"ab", 0},
    };
    for (const NumberCase& row_case : cases) {
        const AtResult result = Take(kRow, row_case.behind_prefix);
        EXPECT_EQ(kHintQcrmcall, result.type);
        EXPECT_EQ(row_case.expected, result.val) << row_case.behind_prefix;
        for (const int32_t other : {result.val2, result.val3, result.val4, result.val5, result.val6}) {
            EXPECT_EQ(0, other) << row_case.behind_prefix;
        }
    }
    EXPECT_TRUE(world.log.empty());
}

TEST_F(CellDriverTest, NumbersGoWhereTheRowSays) {
    const AtResult result = Take(kRows[2], " 2,3,0,5,1,77,9\r\n\r\nOK\r\n");
    EXPECT_EQ(kHintSysinfo, result.type);
    const int32_t numbers[] = {result.val, result.val2, result.val3, result.val4, result.val5, result.val6};
    const int32_t expected[] = {2, 3, 0, 5, 1, 9};
    EXPECT_EQ(0, memcmp(expected, numbers, sizeof expected));
}

TEST_F(CellDriverTest, NumberFillsNothingButItsOwnPlace) {
    constexpr FieldTarget kTargets[] = {kToVal, kToVal2, kToVal3, kToVal4, kToVal5, kToVal6, kToNowhere};
    for (size_t i = 0; i < std::size(kTargets); ++i) {
        const AtRow row = {kHintSysinfo, "+SYSINFO:", {kTargets[i]}, ","};
        const AtResult result = Take(row, "7");
        std::vector<int32_t> expected(6, 0);
        if (i < expected.size()) expected[i] = 7;
        EXPECT_EQ(expected, (std::vector<int32_t>{result.val, result.val2, result.val3, result.val4,
                                                  result.val5, result.val6}));
    }
}

TEST_F(CellDriverTest, EmptyFieldBetweenDelimitersIsZero) {
    const AtResult result = Take(kRows[2], "2,,4,5,6,7,8\r\n");
    EXPECT_EQ(0, result.val2);
    EXPECT_EQ(4, result.val3);
    EXPECT_EQ(8, result.val6);
}

TEST_F(CellDriverTest, MissingNumbersAreZeroAndTold) {
    const AtResult result = Take(kRows[1], "1");
    EXPECT_EQ(1, result.val);
    EXPECT_EQ(0, result.val2);
    EXPECT_TRUE(world.Logged(5, "StringSplitToGetValue[1]:pResult do not have valid data\n"));
}

TEST_F(CellDriverTest, TextIsTheFirstFieldCutTo127) {
    constexpr AtRow kRow = {kHintQccid, "+QCCID: ", {kToText}, "\n\r"};
    EXPECT_STREQ("8986,01", Take(kRow, "8986,01\r\n\r\nOK\r\n").common_str);
    EXPECT_STREQ("", Take(kRow, "\r\n8986\r\n").common_str) << "an empty field, not the next line";
    EXPECT_STREQ("", Take(kRow, "").common_str);
    EXPECT_EQ(std::string(127, 'x'), Take(kRow, std::string(200, 'x')).common_str);
}

TEST_F(CellDriverTest, NetworkTypeIsTheFirstFieldCutTo63) {
    constexpr AtRow kRow = {kHintQnwinfo, "+QNWINFO: ", {kHintOnly}, ",\n\r"};
    const struct {
        std::string behind_prefix, network_type;
        const char* rest;
    } cases[] = {
        {"\"FDD LTE\",\"46001\"\r\n", "\"FDD LTE\"", "\"46001\"\r\n"},
        {std::string(100, 'x'), std::string(63, 'x'), nullptr},
        {"LTE\r\n", "LTE", "\n"},
        {"", "", nullptr},
    };
    for (const auto& test : cases) {
        text = test.behind_prefix;
        EXPECT_STREQ(test.rest, StoreNetworkType(cell, AtMatch{&kRow, text.data()})) << test.behind_prefix;
        EXPECT_EQ(test.network_type, cell.m_NetworkType);
    }
}

// Slots

TEST_F(CellDriverTest, SlotsTakeEmptyFieldsToo) {
    char list[] = "a,,c\rd";
    char slots[4][16];
    EXPECT_TRUE(SplitIntoSlots(list, ",\r", slots));
    EXPECT_STREQ("a", slots[0]);
    EXPECT_STREQ("", slots[1]);
    EXPECT_STREQ("c", slots[2]);
    EXPECT_STREQ("d", slots[3]);
}

TEST_F(CellDriverTest, TextThatEndsEarlyLeavesSlotsEmpty) {
    char list[] = "a,b";
    char slots[4][16];
    memset(slots, 'x', sizeof slots);
    EXPECT_FALSE(SplitIntoSlots(list, ",\r", slots));
    EXPECT_STREQ("b", slots[1]);
    EXPECT_STREQ("", slots[2]);
    EXPECT_STREQ("", slots[3]);
}

TEST_F(CellDriverTest, TextWithMoreFieldsThanSlotsIsNoEarlyEnd) {
    char list[] = "a,b,c,d,e";
    char slots[3][16];
    EXPECT_TRUE(SplitIntoSlots(list, ",\r", slots));
    EXPECT_STREQ("c", slots[2]);
}

TEST_F(CellDriverTest, FieldLongerThanItsSlotIsCut) {
    char list[] = "0123456789abcdefghij,next";
    char slots[2][16];
    EXPECT_TRUE(SplitIntoSlots(list, ",\r", slots));
    EXPECT_STREQ("0123456789abcde", slots[0]);
    EXPECT_STREQ("next", slots[1]);
}

TEST_F(CellDriverTest, MissingTextIsPrintedAsAWord) {
    EXPECT_STREQ("(null)", OrNullWord(nullptr));
    EXPECT_STREQ("x", OrNullWord("x"));
}

// Exchanges

struct TestedRegistration {
    const char* cereg;
    const char* cgreg;  // null: not asked
    int32_t expected;
    int32_t m_CEREG;
    int32_t m_CGREG;
};

TEST_F(CellDriverTest, RegistrationByEpsThenPacket) {
    const TestedRegistration cases[] = {
        {"+CEREG: 0,1", nullptr, 1, 1, 9},       {"+CEREG: 0,5", nullptr, 1, 5, 9},
        {"+CEREG: 0,2", "+CGREG: 0,1", 1, 2, 1}, {"+CEREG: 0,3", "+CGREG: 0,5", 1, 3, 5},
        {"+CEREG: 0,2", "+CGREG: 0,2", 0, 2, 2}, {"ERROR", "+CGREG: 0,1", 1, 9, 1},
        {"+CEREG: 0,2", "ERROR", 0, 2, 9},       {"", "", 0, 9, 9},
        {"+CREG: 0,1", "+CREG: 0,1", 0, 9, 9},
    };
    for (const TestedRegistration& test : cases) {
        modem.exchanges.clear();
        cell.m_CEREG = cell.m_CGREG = 9;
        modem.On("AT+CEREG?", test.cereg);
        if (test.cgreg != nullptr) modem.On("AT+CGREG?", test.cgreg);
        EXPECT_EQ(test.expected, AskRegistration(cell)) << test.cereg;
        EXPECT_EQ(test.m_CEREG, cell.m_CEREG) << test.cereg;
        EXPECT_EQ(test.m_CGREG, cell.m_CGREG) << test.cereg;
        EXPECT_EQ(test.cgreg == nullptr ? 1u : 2u, modem.exchanges.size()) << test.cereg;
    }
}

TEST_F(CellDriverTest, IccidIsCutTo20AndOnlyItsOwnHintCounts) {
    CopyText(cell.m_card_iccid, "old");
    modem.On("AT+CCID", "\r\nERROR\r\n");
    AskIccid(cell, "AT+CCID", kHintCinterionCcid);
    EXPECT_STREQ("old", cell.m_card_iccid);
    modem.On("AT+CCID", "\r\n+CCID: 898600112233445566778899\r\n\r\nOK\r\n");
    AskIccid(cell, "AT+CCID", kHintFibocomCcid);
    EXPECT_STREQ("old", cell.m_card_iccid);
    AskIccid(cell, "AT+CCID", kHintCinterionCcid);
    EXPECT_STREQ("89860011223344556677", cell.m_card_iccid);
    modem.On("AT+CCID", "\r\n+CCID: 8986\r\n\r\nOK\r\n");
    AskIccid(cell, "AT+CCID", kHintCinterionCcid);
    EXPECT_STREQ("8986", cell.m_card_iccid);
}

TEST_F(CellDriverTest, FirmwareIsWhatStandsBehindTheWord) {
    modem.On("ATI", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n");
    AskFirmware(cell, "Revision:", 18, "Qcom");
    EXPECT_STREQ(" EG25GGBR07A08M2G\r", cell.m_fw_version) << "a line end within the limit comes along";
    AskFirmware(cell, "Revision:", 7, "Qcom");
    EXPECT_STREQ(" EG25GG", cell.m_fw_version);
    AskFirmware(cell, "REVISION", 7, "Cinterion");
    EXPECT_STREQ("Cinterion", cell.m_fw_version);
    modem.On("ATI", "Revision:");
    AskFirmware(cell, "Revision:", 18, "Qcom");
    EXPECT_STREQ("", cell.m_fw_version);
}

TEST_F(CellDriverTest, ParametersAreAppendedQuoted) {
    char command[kCommandSize] = "AT^NDISDUP=1,1";
    EXPECT_TRUE(AppendQuoted(command, "cmnet"));
    EXPECT_FALSE(AppendQuoted(command, ""));
    EXPECT_TRUE(AppendQuoted(command, "user"));
    EXPECT_FALSE(AppendQuotedNumber(command, 0));
    EXPECT_TRUE(AppendQuotedNumber(command, -2));
    EXPECT_STREQ("AT^NDISDUP=1,1,\"cmnet\",\"user\",\"-2\"", command);
}

TEST_F(CellDriverTest, AppendedParametersAreCutToTheCommand) {
    char command[kCommandSize] = "AT";
    const std::string much(100, 'x');
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(AppendQuoted(command, much.c_str()));
    EXPECT_EQ(static_cast<size_t>(kCommandSize - 1), strlen(command));
}

TEST_F(CellDriverTest, CommandsOfATableAreSentInTurn) {
    constexpr const char* kCommands[] = {"AT+ONE", "AT+TWO"};
    modem.On("AT+ONE", "OK");
    modem.On("AT+TWO", "");
    SendAll(cell, kCommands);
    const std::vector<std::string> expected = {"AT+ONE", "AT+TWO"};
    EXPECT_EQ(expected, modem.Sent());
}

TEST_F(CellDriverTest, ChangeOfBandIsLoggedInTheDriversNameAndTheSameBandIsNot) {
    LogBandChange(kDriverPlace, "3", "-90", "3", "-91");
    EXPECT_TRUE(world.log.empty());
    LogBandChange(kDriverPlace, "3", "-90", "8", "-91");
    ASSERT_EQ(1u, world.log.size());
    EXPECT_EQ("Band change: last band[3] rsrp[-90], current band[8] rsrp[-91]\n", world.log[0].text);
    EXPECT_EQ(5u, world.log[0].level);
    EXPECT_EQ("SomeOperation", world.log[0].function);
}

}  // namespace
