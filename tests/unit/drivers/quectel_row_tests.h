// What all three Quectel families, Qualcomm, ASR and Unisoc, read alike: included by the suite of each
// driver, which instantiates it with its class.
#pragma once

#include "tests/support/driver_fixture.h"

namespace cc_cell {

constexpr char kServingCellQuery[] = "AT+QENG=\"servingcell\"";
constexpr char kNeighbourCellQuery[] = "AT+QENG=\"neighbourcell\"";
constexpr char kLteCell[] =
    "+QENG: \"servingcell\",\"NOCONN\",\"LTE\",\"FDD\",460,01,9A6A10C,177,1650,3,5,5,25F0,-97,-11,-68,13,27";

template <class Driver>
class QuectelRows : public DriverTest<Driver> {};
TYPED_TEST_SUITE_P(QuectelRows);

TYPED_TEST_P(QuectelRows, NetworkTypeIsTheFirstField) {
    const std::string many(300, 'n');
    const struct {
        std::string answer;
        std::string network;
    } cases[] = {
        {"+QNWINFO: \"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n", "\"FDD LTE\""},
        {"+QNWINFO: No Service\r\n", "No Service"},
        {"+QNWINFO: ", ""},
        {"+QNWINFO: ,x\r\n", ""},
        {"+QNWINFO: " + many + "\r\n", many.substr(0, 63)},
        {"+QNWINFO: \xe4\xff,1\r\n", "\xe4\xff"},
        {"+QNWINFO: a\r\n+QNWINFO: b\r\n", "a"},
        {"+QENG: b\r\n+QNWINFO: a\r\n", "a"},
    };
    for (const auto& test : cases) {
        copy_text(this->cell.m_NetworkType, "old");
        EXPECT_EQ(kHintQnwinfo, this->Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.network, this->cell.m_NetworkType) << test.answer;
        EXPECT_TRUE(this->world.Logged(7, "Network type:" + test.network + "\n")) << test.answer;
    }
}

TYPED_TEST_P(QuectelRows, TextsAreTheFirstLine) {
    const std::string many(300, 'x');
    this->ExpectTexts({
        {"+QCCID: 8986\r\n", kHintQccid, "8986"},
        {"+QCCID: 8986,7\r\n", kHintQccid, "8986,7"},
        {"+QCCID: ", kHintQccid, ""},
        {"+QCCID: \r\n8986\r\n", kHintQccid, ""},
        {"+QCCID: " + many, kHintQccid, many.substr(0, 127)},
        {"+QCCID: \x80\xff\r\n", kHintQccid, "\x80\xff"},
        {"+QCCID: %s%n\r\n", kHintQccid, "%s%n"},
        {"+QCCID: 1\r\n+QCCID: 2\r\n", kHintQccid, "1"},
        {"+QENG: a,b,,c\r\n", kHintQeng, "a,b,,c"},
        {"+QENG: ", kHintQeng, ""},
        {"+QENG: " + many, kHintQeng, many.substr(0, 127)},
        {"+QENG: \x80\xff\r\n", kHintQeng, "\x80\xff"},
        {"+QENG: a\r\n+QCCID: b\r\n", kHintQccid, "b"},
    });
    EXPECT_TRUE(this->world.Logged(5, "ICCID:8986\n"));
}

TYPED_TEST_P(QuectelRows, RowsEndWithThe256thByte) {
    this->ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+QNWINFO: ", "\"FDD LTE\",1", kHintQnwinfo},
        {"+QCCID: ", "8986", kHintQccid},
        {"+QENG: ", "\"servingcell\",1", kHintQeng},
    });
}

REGISTER_TYPED_TEST_SUITE_P(QuectelRows, NetworkTypeIsTheFirstField, TextsAreTheFirstLine,
                            RowsEndWithThe256thByte);

/// Answers to the call, which two of the families read.
inline std::vector<NumberCase> QcrmcallCases() {
    return {
        {"$QCRMCALL: 1, V4\r\n", kHintQcrmcall, 1},
        {"$QCRMCALL: 1,2,3,4\r\n", kHintQcrmcall, 1},
        {"$QCRMCALL: ", kHintQcrmcall, 0},
        {"$QCRMCALL: ,1", kHintQcrmcall, 0},
        {"$QCRMCALL: x", kHintQcrmcall, 0},
        {"$QCRMCALL: \xff", kHintQcrmcall, 0},
        {"$QCRMCALL: " + std::string(100, '9'), kHintQcrmcall, INT32_MAX},
        {"$QCRMCALL: 1\r\n$QCRMCALL: 2\r\n", kHintQcrmcall, 1},
        {"+QNETDEVCTL: 1,1,1,1\r\n$QCRMCALL: 2\r\n", kHintQcrmcall, 2},
        {"$QCRMCALL:1", 0, 0},
    };
}

}  // namespace cc_cell
