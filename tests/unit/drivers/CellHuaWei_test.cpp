// Module CellHuaWei: what Huawei modules of the ME909 kind have beside other families: the network type comes
// with their reports of the signal.
#include <algorithm>
#include <cstring>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class HuaWeiTest : public DriverTest {
  protected:
    HuaWeiTest() : DriverTest(kVendorHuaWei) {}
};

TEST_F(HuaWeiTest, NetworkTypeIsTheFirstFieldOfHcsq) {
    const struct {
        std::string rest;
        std::string expected;  // in m_NetworkType
    } cases[] = {
        {"\"LTE\",50,40,30,10", "\"LTE\""},
        {"\"WCDMA\",30,30,58\r\n", "\"WCDMA\""},
        {"\"NOSERVICE\"", "\"NOSERVICE\""},
        {"\"NOSERVICE\"\r\n", "\"NOSERVICE\"\r\n"},  // the comma alone ends it
        {"", ""},
        {",50", ""},
        {"LTE,1,2,3,4,5,6,7,8,9,10,11,12", "LTE"},
        {"123,1", "123"},
        {"\xff\x80,1", "\xff\x80"},
        {"%s%n,1", "%s%n"},
        {std::string(63, 'x') + ",1", std::string(63, 'x')},
        {std::string(64, 'x') + ",1", std::string(63, 'x')},
        {std::string(200, 'x'), std::string(63, 'x')},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(1, Hear("\r\n^HCSQ: " + test.rest)) << test.rest;
        EXPECT_EQ(test.expected, cell.m_NetworkType) << test.rest;
        const Texts lines = {"5 ParseAtResult: 26 " + test.rest + "\n",
                             "5 DealHint: Network type:" + test.expected + "\n"};
        EXPECT_EQ(lines, TakeLines());
    }
}

TEST_F(HuaWeiTest, HcsqFillsTheRecordToItsLast128thCharacter) {
    for (const size_t length : {127, 128, 129, 200}) {
        const std::string field(length, 'x');
        const AtResult result = Parse("^HCSQ: " + field);
        EXPECT_EQ(kHintHcsq, result.type);
        const size_t stored = strnlen(result.common_str, sizeof result.common_str);
        EXPECT_EQ(std::min<size_t>(length, 128), stored);
        EXPECT_EQ(0, memcmp(field.data(), result.common_str, stored));
    }
}

}  // namespace
