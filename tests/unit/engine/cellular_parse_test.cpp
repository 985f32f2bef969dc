#include "network_daemon/cellular.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::kNoPort;
using test_support::World;

// The answer lies in memory of exactly its size, so that the address sanitizer sees a read or write beside
// it.
std::unique_ptr<char[]> Cuttable(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy;
}

class Parse : public testing::Test {
  protected:
    AtResult Result(const std::string& answer) { return cell.ParseAtResult(Cuttable(answer).get()); }

    World world;
    PlainCell cell{kNoPort};
};

// ParseAtResult: numbers

struct NumberCase {
    const char* name;
    const char* answer;
    int32_t type;
    int32_t val = 0;
    int32_t val2 = 0;
    int32_t val3 = 0;
    int32_t val4 = 0;
};

class ParseNumbers : public testing::TestWithParam<NumberCase> {};

TEST_P(ParseNumbers, GivesHintAndNumbers) {
    World world;
    PlainCell cell(kNoPort);
    const NumberCase& expected = GetParam();
    const AtResult result = cell.ParseAtResult(Cuttable(expected.answer).get());
    EXPECT_EQ(result.type, expected.type);
    EXPECT_EQ(result.val, expected.val);
    EXPECT_EQ(result.val2, expected.val2);
    EXPECT_EQ(result.val3, expected.val3);
    EXPECT_EQ(result.val4, expected.val4);
    EXPECT_EQ(result.val5, 0);
    EXPECT_EQ(result.val6, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ParseNumbers,
    testing::Values(NumberCase{"CsqOfAWholeAnswer", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n", kHintCsq, 23},
                    NumberCase{"Csq99GetsNoSpecialTreatment", "+CSQ: 99,99", kHintCsq, 99},
                    NumberCase{"CsqWithoutBlank", "+CSQ:7", kHintCsq, 7},
                    NumberCase{"CsqSkipsDelimitersInFront", "+CSQ:,\r\n,31,99", kHintCsq, 31},
                    NumberCase{"CsqWithoutValueTakesTheNextLine", "+CSQ:\r\n\r\nOK\r\n", kHintCsq, 0},
                    NumberCase{"CsqAtTheEnd", "+CSQ:", kHintCsq, 0},
                    NumberCase{"CsqSaturatesUpwards", "+CSQ: 99999999999999999999", kHintCsq, INT32_MAX},
                    NumberCase{"CsqSaturatesDownwards", "+CSQ: -99999999999999999999", kHintCsq, INT32_MIN},
                    NumberCase{"CsqBeyondRangeSaturates", "+CSQ: 4294967297", kHintCsq, INT32_MAX},
                    NumberCase{"UnknownWinsOverCsq", "+CSQ: 23,99 Unknow..", kHintUnknown},
                    NumberCase{"Simtest", "\r\n+SIMTEST: 2\r\n\r\nOK\r\n", kHintSimtest, 2},
                    NumberCase{"SimtestWithoutToken", "+SIMTEST:,\r\n", kHintSimtest, 0},
                    NumberCase{"Creg", "\r\n+CREG: 0,1\r\n\r\nOK\r\n", kHintCreg, 0, 1},
                    NumberCase{"CregWithLocation", "+CREG: 2,5,\"1A2B\",\"01C0FFEE\",7", kHintCreg, 2, 5},
                    NumberCase{"CregOfOneField", "+CREG: 3", kHintCreg, 3, 0},
                    NumberCase{"CregTakesTwoNumbers", "+CREG: 2,5,7,9", kHintCreg, 2, 5},
                    NumberCase{"CgregTakesTwoNumbers", "+CGREG: 2,5,7,9", kHintCgreg, 2, 5},
                    NumberCase{"CeregTakesTwoNumbers", "+CEREG: 2,5,7,9", kHintCereg, 2, 5},
                    NumberCase{"CregFieldsMayBeEmpty", "+CREG:,1", kHintCreg, 0, 1},
                    NumberCase{"Cgreg", "+CGREG: 0,5", kHintCgreg, 0, 5},
                    NumberCase{"Cereg", "+CEREG: 0,3", kHintCereg, 0, 3},
                    NumberCase{"CregWinsOverCereg", "+CEREG: 0,1\r\n+CREG: 0,2\r\n", kHintCreg, 0, 2},
                    NumberCase{"CgregWinsOverCereg", "+CEREG: 0,1\r\n+CGREG: 0,2\r\n", kHintCgreg, 0, 2},
                    NumberCase{"Clcc", "+CLCC: 1,2,3,4", kHintClcc, 1, 2, 3, 4},
                    NumberCase{"ClccIsNotCutAtLineEnds", "+CLCC: 1\r\n2,5,6,7", kHintClcc, 1, 5, 6, 7},
                    NumberCase{"Pktstatus", "+PKTSTATUS: 1,2,3", kHintPktstatus, 1, 2},
                    NumberCase{"Dsci", "^DSCI: 1,0,4,0,\"10086\",129", kHintDsci, 1, 0, 4, 0},
                    NumberCase{"DsciIsNotCutAtLineEnds", "^DSCI: 1\r\n2,5", kHintDsci, 1, 5},
                    NumberCase{"Nwtypeind", "\r\n+NWTYPEIND: 7\r\n", kHintNwtypeind},
                    NumberCase{"RowOfADriverIsUnknownHere", "+QNETDEVSTATUS: 1,1,4,1", kHintUnknown},
                    NumberCase{"PlainOk", "\r\nOK\r\n", kHintUnknown},
                    NumberCase{"EmptyText", "", kHintUnknown}),
    [](const auto& test) { return std::string(test.param.name); });

// ParseAtResult: texts

struct TextCase {
    const char* name;
    std::string answer;
    int32_t type;
    std::string text;
};

class ParseTexts : public testing::TestWithParam<TextCase> {};

TEST_P(ParseTexts, GivesHintAndText) {
    World world;
    PlainCell cell(kNoPort);
    const AtResult result = cell.ParseAtResult(Cuttable(GetParam().answer).get());
    EXPECT_EQ(result.type, GetParam().type);
    EXPECT_EQ(std::string(result.common_str), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ParseTexts,
    testing::Values(
        TextCase{"Psrat", "\r\n+PSRAT: FDD LTE,1\r\n\r\nOK\r\n", kHintPsrat, "FDD LTE,1"},
        TextCase{"PsratNeedsItsBlank", "+PSRAT:LTE", kHintUnknown, ""},
        TextCase{"PsratWithoutToken", "+PSRAT: \r\n", kHintPsrat, ""},
        TextCase{"Iccid", "^ICCID: 89860012345678901234\r\nOK\r\n", kHintIccid, "89860012345678901234"},
        TextCase{"IccidEndsAtComma", "^ICCID: 8986,0", kHintIccid, "8986"},
        TextCase{"IccidWithoutToken", "^ICCID: ", kHintIccid, ""},
        TextCase{"CgsnKeepsItsQuotes", "+CGSN: \"862000000000000\"\r\n\r\nOK\r\n", kHintCgsn,
                 "\"862000000000000\""},
        TextCase{"CgsnKeepsCommas", "\r\n+CGSN: 1,2\r\n", kHintCgsn, "1,2"},
        TextCase{"CgsnNeedsItsBlank", "+CGSN:1", kHintUnknown, ""},
        TextCase{"TextIsCutAt127", "+CGSN: " + std::string(200, '1'), kHintCgsn, std::string(127, '1')}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(Parse, UnknownWinsOverEveryOtherPrefix) {
    EXPECT_EQ(Result("Unknow..\r\n+CSQ: 23,99\r\n").type, 0);
}

TEST_F(Parse, NullGivesAClearedRecord) {
    const AtResult result = cell.ParseAtResult(nullptr);
    const AtResult cleared = {};
    EXPECT_EQ(memcmp(&result, &cleared, sizeof cleared), 0);
}

TEST_F(Parse, OperatorKeepsItsQuotesAndMissesTheFifthField) {
    const AtResult result = Result("+COPS: 0,0,\"CHN-CT\",7");
    EXPECT_EQ(result.type, kHintCops);
    EXPECT_EQ(result.val, 0);
    EXPECT_EQ(result.val2, 0);
    EXPECT_STREQ(result.carrier, "\"CHN-CT\"");
    EXPECT_EQ(result.act, 7);
    EXPECT_EQ(result.extra, 0);
    EXPECT_EQ(world.LogOf("StringSplitToGetValue").at(0),
              "StringSplitToGetValue[4]:pResult do not have valid data\n");
    EXPECT_TRUE(world.Logged(5, "CARRIER :\"CHN-CT\"\n"));
}

TEST_F(Parse, OperatorWithoutNameHasAnEmptyCarrier) {
    const AtResult result = Result("+COPS: 0");
    EXPECT_EQ(result.type, kHintCops);
    EXPECT_STREQ(result.carrier, "");
    EXPECT_TRUE(world.Logged(5, "StringSplitToGetValue[1]:pResult do not have valid data\n"));
    EXPECT_TRUE(world.Logged(5, "CARRIER :\n"));
}

TEST_F(Parse, OperatorOfFiveFields) {
    const AtResult result = Result("\r\n+COPS: 1,2,\"46000\",7,3\r\n\r\nOK\r\n");
    EXPECT_EQ(result.val, 1);
    EXPECT_EQ(result.val2, 2);
    EXPECT_STREQ(result.carrier, "\"46000\"");
    EXPECT_EQ(result.act, 7);
    EXPECT_EQ(result.extra, 3);
    EXPECT_TRUE(world.LogOf("StringSplitToGetValue").empty());
}

TEST_F(Parse, OperatorNameIsCutAt63) {
    EXPECT_EQ(std::string(Result("+COPS: 0,0," + std::string(100, 'A') + ",7").carrier),
              std::string(63, 'A'));
}

TEST_F(Parse, CregWinsOverCeregWhereverItStands) {
    EXPECT_EQ(Result("+CREG: 0,1\r\n+CEREG: 0,1").type, 5);
    EXPECT_EQ(Result("+CEREG: 0,1\r\n+CREG: 0,1").type, 5);
}

TEST_F(Parse, CutsTheTextInPlaceSoThatItParsesOnlyOnce) {
    const auto text = Cuttable("+CREG: 0,1");
    EXPECT_EQ(cell.ParseAtResult(text.get()).val2, 1);
    EXPECT_EQ(cell.ParseAtResult(text.get()).val2, 0);
}

TEST_F(Parse, StoresNothingInTheObject) {
    Result("+CSQ: 23,99");
    Result("+PSRAT: LTE");
    Result("+CEREG: 0,1");
    Result("+COPS: 0,0,\"CHN-CT\",7");
    Result("^ICCID: 8986");
    EXPECT_EQ(cell.m_nCSQ, 0);
    EXPECT_STREQ(cell.m_NetworkType, "");
    EXPECT_EQ(cell.m_CEREG, 0);
    EXPECT_STREQ(cell.m_carrier, "");
    EXPECT_STREQ(cell.m_card_iccid, "");
}

// ParseAtResult: lines of the log

struct LogCase {
    const char* name;
    const char* answer;
    unsigned level;    // of `line`
    const char* line;  // null: nothing is logged
};

class ParseLog : public testing::TestWithParam<LogCase> {};

TEST_P(ParseLog, SaysWhatItFound) {
    World world;
    PlainCell cell(kNoPort);
    cell.ParseAtResult(Cuttable(GetParam().answer).get());
    if (GetParam().line == nullptr) {
        EXPECT_TRUE(world.log.empty());
        return;
    }
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, GetParam().line);
    EXPECT_EQ(world.log[0].level, GetParam().level);
    EXPECT_EQ(world.log[0].function, "ParseAtResult");
    EXPECT_EQ(world.log[0].file, "network_daemon/cellular_parse.cpp");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ParseLog,
    testing::Values(
        LogCase{"Csq", "+CSQ: 1,2", 0, nullptr}, LogCase{"Psrat", "+PSRAT: LTE\r\n", 7, "PSRAT:LTE\n"},
        LogCase{"PsratWithoutToken", "+PSRAT: ", 7, "PSRAT:\n"},
        LogCase{"Simtest", "+SIMTEST: 2\r\n", 5, "SIMTYPE : 2 : 2\n"},
        LogCase{"SimtestWithoutToken", "+SIMTEST:", 0, nullptr},
        LogCase{"Iccid", "^ICCID: 8986\r\n", 5, "ICCID :8986\n"},
        LogCase{"IccidWithoutToken", "^ICCID: \r\n", 0, nullptr},
        LogCase{"Creg", "+CREG: 0,1\r\n", 5, "CREG :0 1\n"},
        LogCase{"Cgreg", "+CGREG: 2,5\r\n", 5, "CGREG :2 5\n"},
        LogCase{"Cereg", "+CEREG: 0,3\r\n", 5, "CEREG :0 3\n"},
        LogCase{"Cops", "+COPS: 0,0,\"CHN-CT\",7\r\n", 5, "CARRIER :\"CHN-CT\"\n"},
        LogCase{"Clcc", "+CLCC: 1,2,3,4", 0, nullptr}, LogCase{"Pktstatus", "+PKTSTATUS: 1,2", 0, nullptr},
        LogCase{"Dsci", "^DSCI: 1,2,3,4", 0, nullptr}, LogCase{"Nwtypeind", "+NWTYPEIND: 7", 0, nullptr},
        LogCase{"Cgsn", "+CGSN: 8620\r\n", 5, "IMEI :8620\n"},
        LogCase{"CgsnWithoutToken", "+CGSN: \r\n", 0, nullptr}, LogCase{"Unknown", "Unknow..", 0, nullptr},
        LogCase{"NoPrefix", "OK", 0, nullptr}),
    [](const auto& test) { return std::string(test.param.name); });

// ParseAtLine

TEST_F(Parse, LineIsTheFirstTokenOfAnAnswerWithOk) {
    EXPECT_STREQ(cell.ParseAtLine(Cuttable("\r\n862000000000000\r\n\r\nOK\r\n").get()), "862000000000000");
}

TEST_F(Parse, LineOfABareOkIsTheOk) {
    EXPECT_STREQ(cell.ParseAtLine(Cuttable("\r\nOK\r\n").get()), "OK");
}

TEST_F(Parse, LineIsNullWithoutOk) {
    EXPECT_EQ(cell.ParseAtLine(Cuttable("\r\n862000000000000\r\n").get()), nullptr);
    EXPECT_EQ(cell.ParseAtLine(Cuttable("").get()), nullptr);
    EXPECT_EQ(cell.ParseAtLine(nullptr), nullptr);
}

// StringSplitByNum

std::string FieldOf(const std::string& source, const char* delimiters, int index) {
    return CellBase::StringSplitByNum(Cuttable(source).get(), delimiters, index);
}

TEST_F(Parse, SplitByNumCountsFromOne) {
    EXPECT_EQ(FieldOf("a,b,c", ",", 1), "a");
    EXPECT_EQ(FieldOf("a,b,c", ",", 2), "b");
    EXPECT_EQ(FieldOf("a,b,c", ",", 3), "c");
    EXPECT_TRUE(world.log.empty());
}

TEST_F(Parse, SplitByNumWithIndexFourOnTwoTokensGivesTheSecond) {
    EXPECT_EQ(FieldOf("one:two", ":\n\r", 4), "two");
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, "StringSplitByNum[2]:pResult do not have valid data\n");
    EXPECT_EQ(world.log[0].level, 7u);
    EXPECT_EQ(world.log[0].function, "StringSplitByNum");
}

TEST_F(Parse, SplitByNumFindsTheValueOnTheSecondLine) {
    EXPECT_EQ(FieldOf("\r\n+CIMI: 460001234567890\r\n\r\nOK\r\n", ":\n\r", 4), " 460001234567890");
}

TEST_F(Parse, SplitByNumFindsTheTextBetweenQuotes) {
    EXPECT_EQ(FieldOf("'cmnet'", "'\r", 2), "cmnet");
    EXPECT_EQ(FieldOf("'cmnet", "'\r", 2), "cmnet");
    EXPECT_EQ(FieldOf("\"8620\"", "\"\r", 2), "8620");
    EXPECT_EQ(FieldOf("''", "'\r", 2), "");
}

TEST_F(Parse, SplitByNumGivesEmptyForAnEmptyField) {
    EXPECT_EQ(FieldOf("a,,c", ",", 2), "");
    EXPECT_EQ(FieldOf("a,", ",", 5), "");
}

TEST_F(Parse, SplitByNumGivesEmptyForAnIndexBelowOne) {
    EXPECT_EQ(FieldOf("a,b", ",", 0), "");
    EXPECT_EQ(FieldOf("a,b", ",", -3), "");
    EXPECT_TRUE(world.log.empty());
}

TEST_F(Parse, SplitByNumGivesNullForNull) {
    EXPECT_EQ(CellBase::StringSplitByNum(nullptr, ",", 1), nullptr);
    EXPECT_EQ(CellBase::StringSplitByNum(Cuttable("a").get(), nullptr, 1), nullptr);
}

TEST_F(Parse, SplitByNumForgetsTheFormerResult) {
    FieldOf("a_long_field", ",", 1);
    EXPECT_EQ(FieldOf("a,,c", ",", 2), "");
}

TEST_F(Parse, SplitByNumStoresAtMost256Characters) {
    EXPECT_EQ(FieldOf(std::string(400, 'x'), ",", 1), std::string(256, 'x'));
}

TEST_F(Parse, SplitByNumKeepsTheFirst63Delimiters) {
    const std::string delimiters = std::string(62, '.') + ",;";
    EXPECT_EQ(FieldOf("a,b;c", delimiters.c_str(), 2), "b;c");
}

TEST_F(Parse, SplitByNumOfItsOwnResultIsHarmless) {
    char* field = CellBase::StringSplitByNum(Cuttable("a:b").get(), ",", 1);
    EXPECT_STREQ(CellBase::StringSplitByNum(field, ":", 2), "");
}

TEST_F(Parse, SplitByNumBearsTheLargestIndex) {
    EXPECT_EQ(FieldOf("a,b", ",", INT32_MAX), "b");
}

// StringSplitToGetValue

class SplitToValues : public Parse {
  protected:
    SplitToValues() { memset(storage, 'z', sizeof storage); }
    int Split(const std::string& source, const char* delimiters, int count, int size) {
        return CellBase::StringSplitToGetValue(Cuttable(source).get(), delimiters, count, targets, size);
    }

    char storage[3][8];
    char* targets[3] = {storage[0], storage[1], storage[2]};
};

TEST_F(SplitToValues, FillsOneFieldPerTarget) {
    EXPECT_EQ(Split("a,,c\r\nd", ",\r\n", 3, 8), 1);
    EXPECT_STREQ(storage[0], "a");
    EXPECT_STREQ(storage[1], "");
    EXPECT_STREQ(storage[2], "c");
    EXPECT_TRUE(world.log.empty());
}

TEST_F(SplitToValues, MissingFieldsStayEmptyAndAreLoggedOnce) {
    EXPECT_EQ(Split("a", ",", 3, 8), 1);
    EXPECT_STREQ(storage[0], "a");
    EXPECT_STREQ(storage[1], "");
    EXPECT_STREQ(storage[2], "");
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, "StringSplitToGetValue[1]:pResult do not have valid data\n");
    EXPECT_EQ(world.log[0].level, 5u);
    EXPECT_EQ(world.log[0].function, "StringSplitToGetValue");
}

TEST_F(SplitToValues, ClearsTheWholeTarget) {
    EXPECT_EQ(Split("a", ",", 1, 8), 1);
    for (int i = 1; i < 8; ++i) EXPECT_EQ(storage[0][i], 0);
    EXPECT_EQ(storage[1][0], 'z');
}

TEST_F(SplitToValues, CutsAFieldToItsTarget) {
    EXPECT_EQ(Split("0123456789,b", ",", 2, 8), 1);
    EXPECT_STREQ(storage[0], "0123456");
    EXPECT_STREQ(storage[1], "b");
}

TEST_F(SplitToValues, TargetOfOneByteIsEmpty) {
    EXPECT_EQ(Split("ab,c", ",", 2, 1), 1);
    EXPECT_EQ(storage[0][0], 0);
    EXPECT_EQ(storage[0][1], 'z');
}

TEST_F(SplitToValues, TargetsWithoutSizeAreLeftAlone) {
    EXPECT_EQ(Split("ab,c", ",", 2, 0), 1);
    EXPECT_EQ(Split("ab,c", ",", 2, -5), 1);
    EXPECT_EQ(storage[0][0], 'z');
}

TEST_F(SplitToValues, NullTargetIsRefusedByItsNumberCountedFromZero) {
    targets[1] = nullptr;
    EXPECT_EQ(Split("a,b,c", ",", 3, 8), 0);
    EXPECT_STREQ(storage[0], "");
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, "input pDataValue[1] is error,return !\n");
    EXPECT_EQ(world.log[0].level, 5u);
    EXPECT_EQ(world.log[0].function, "StringSplitToGetValue");
}

TEST_F(SplitToValues, NullArgumentsAreRefused) {
    EXPECT_EQ(CellBase::StringSplitToGetValue(nullptr, ",", 3, targets, 8), 0);
    EXPECT_EQ(Split("a", nullptr, 3, 8), 0);
    EXPECT_EQ(CellBase::StringSplitToGetValue(Cuttable("a").get(), ",", 3, nullptr, 8), 0);
    EXPECT_EQ(storage[0][0], 'z');
}

TEST_F(SplitToValues, KeepsTheFirst63Delimiters) {
    const std::string delimiters = std::string(62, '.') + ",;";
    EXPECT_EQ(Split("a,b;c", delimiters.c_str(), 2, 8), 1);
    EXPECT_STREQ(storage[0], "a");
    EXPECT_STREQ(storage[1], "b;c");
}

TEST_F(SplitToValues, NoTargetsIsDone) {
    EXPECT_EQ(Split("a", ",", 0, 8), 1);
    EXPECT_EQ(Split("a", ",", -1, 8), 1);
    EXPECT_EQ(storage[0][0], 'z');
    EXPECT_TRUE(world.log.empty());
}

// ContainsText

TEST_F(Parse, ContainsTextGivesThePositionOrNull) {
    const char* text = "\r\nOK\r\n";
    EXPECT_EQ(CellBase::ContainsText(text, "OK"), text + 2);
    EXPECT_EQ(CellBase::ContainsText(text, "ERROR"), nullptr);
    EXPECT_EQ(CellBase::ContainsText(nullptr, "OK"), nullptr);
    EXPECT_EQ(CellBase::ContainsText(text, nullptr), nullptr);
}

// Any text

// Pieces of answers in any mixture: under the sanitizers this finds what reads or writes beside a text.
TEST_F(Parse, BearsAnyMixtureOfAnswers) {
    const std::vector<std::string> pieces = {
        ",",
        "\r\n",
        "\r",
        " ",
        "\"",
        "%s",
        "%n",
        "-",
        "99999999999999999999",
        "\xff\x80",
        "OK",
        "READY",
        std::string(100, 'A'),
        ":",
        "+",
        "1",
        "Unknow",
    };
    std::mt19937 random(20260101);
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        while (random() % 12 != 0 && text.size() < kAnswerLimit) {
            text += random() % 3 == 0 ? AtPrefixTable[random() % 14] : pieces[random() % pieces.size()];
        }
        const AtResult result = Result(text.substr(0, kAnswerLimit));
        ASSERT_GE(result.type, 0);
        ASSERT_LE(result.type, kHintCgsn);
        FieldOf(text, ":\n\r", static_cast<int>(random() % 8));
        cell.ParseAtLine(Cuttable(text).get());
        world.log.clear();
    }
}

}  // namespace
}  // namespace cc_cell
