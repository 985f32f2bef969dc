#include "support/tlv.h"

#include <cstdio>
#include <numeric>

#include <gtest/gtest.h>

namespace {
int flushes_of_output = 0;
}  // namespace

extern "C" int __real_fflush(FILE* stream);
extern "C" int __wrap_fflush(FILE* stream) {
    if (stream == stdout) ++flushes_of_output;
    return __real_fflush(stream);
}

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

constexpr char kCutWarning[] = "Warning: Data is not large enough for TLV value. Skipping.\n";

struct Item {
    int type;
    int length;
    ByteArray value;
};

void ExpectItems(const TlvList& list, const std::vector<Item>& expected) {
    ASSERT_EQ(expected.size(), list.size());
    for (size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(expected[i].type, list[i].type) << "item " << i;
        EXPECT_EQ(expected[i].length, list[i].length) << "item " << i;
        EXPECT_EQ(expected[i].value, list[i].value) << "item " << i;
    }
}

struct ParseCase {
    const char* name;
    ByteArray bytes;
    std::vector<Item> items;
    std::string warning;
};

class ParseTlv : public testing::TestWithParam<ParseCase> {};

TEST_P(ParseTlv, GivesItemsAndWarning) {
    // An exact copy: one byte read after it is caught by the address sanitizer.
    const ByteArray bytes(GetParam().bytes);
    CaptureStderr();
    const TlvList list = ParseTlvBytes(bytes);
    EXPECT_EQ(GetParam().warning, GetCapturedStderr());
    ExpectItems(list, GetParam().items);
}

INSTANTIATE_TEST_SUITE_P(
    EdgeCases, ParseTlv,
    testing::Values(
        ParseCase{"EmptyInput", {}, {}, ""}, ParseCase{"LengthZeroTakesTwoBytes", {7, 0}, {{7, 0, {}}}, ""},
        ParseCase{"LengthZeroBetweenOthers", {7, 0, 8, 1, 9}, {{7, 0, {}}, {8, 1, {9}}}, ""},
        ParseCase{"OneItemWithValueAB", {0x01, 0x02, 0x41, 0x42}, {{1, 2, {'A', 'B'}}}, ""},
        ParseCase{"ValueCutShort", {0x01, 0x03, 0x41}, {}, kCutWarning},
        ParseCase{"TwoGoodItemsAndOneByte",
                  {1, 1, 'a', 2, 2, 'b', 'c', 3},
                  {{1, 1, {'a'}}, {2, 2, {'b', 'c'}}},
                  kCutWarning},
        ParseCase{"OneByteAlone", {1}, {}, kCutWarning},
        ParseCase{"LoneByteOf255", {1, 0, 0xFF}, {{1, 0, {}}}, kCutWarning},
        ParseCase{"SameTypeTwiceKeptInOrder", {5, 1, 'x', 5, 1, 'y'}, {{5, 1, {'x'}}, {5, 1, {'y'}}}, ""},
        ParseCase{"NothingBehindACutItemCounts", {1, 200, 2, 1, 'a'}, {}, kCutWarning},
        ParseCase{"TypeZeroAndAnyValueByte", {0, 3, 0, 0xFF, '\n'}, {{0, 3, {0, 0xFF, '\n'}}}, ""}),
    [](const auto& test) { return test.param.name; });

TEST(Tlv, ItemOfLength255IsTheLargestThatSurvives) {
    ByteArray value(255);
    std::iota(value.begin(), value.end(), uint8_t{0});
    TlvList list;
    AddTlvItem(list, 9, 255, value.data());
    const ByteArray bytes = EncodeTlvList(list);
    ASSERT_EQ(257u, bytes.size());
    ExpectItems(ParseTlvBytes(bytes), {{9, 255, value}});
}

TEST(Tlv, TextAndBytesMakeTheSameItem) {
    const unsigned char bytes[] = {'A', 0x80};
    TlvList list;
    AddTlvItem(list, 1, 2, "A\x80");
    AddTlvItem(list, 1, 2, bytes);
    ExpectItems(list, {{1, 2, {'A', 0x80}}, {1, 2, {'A', 0x80}}});
}

TEST(Tlv, ItemHoldsItsOwnCopy) {
    char text[] = "ab";
    TlvList list;
    AddTlvItem(list, 1, 2, text);
    text[0] = 'X';
    ExpectItems(list, {{1, 2, {'a', 'b'}}});
}

TEST(Tlv, NullBytesKeepTheDeclaredLength) {
    TlvList list;
    AddTlvItem(list, 4, 5, static_cast<const char*>(nullptr));
    AddTlvItem(list, 4, 0, "ignored");
    ExpectItems(list, {{4, 5, {}}, {4, 0, {}}});
    EXPECT_EQ((ByteArray{4, 5, 4, 0}), EncodeTlvList(list));
}

TEST(Tlv, EmptyListEncodesToNothing) {
    EXPECT_TRUE(EncodeTlvList({}).empty());
}

TEST(Tlv, EncodesItemsBackToBack) {
    TlvList list;
    AddTlvItem(list, 1, 1, "A");
    AddTlvItem(list, 2, 0, "");
    AddTlvItem(list, 255, 2, "BC");
    EXPECT_EQ((ByteArray{1, 1, 'A', 2, 0, 255, 2, 'B', 'C'}), EncodeTlvList(list));
}

TEST(Tlv, AppendCopiesAllItems) {
    TlvList list, other;
    AddTlvItem(list, 1, 1, "A");
    AddTlvItem(other, 2, 1, "B");
    AddTlvItem(other, 3, 1, "C");
    AppendTlvList(list, other);
    ExpectItems(list, {{1, 1, {'A'}}, {2, 1, {'B'}}, {3, 1, {'C'}}});
    ExpectItems(other, {{2, 1, {'B'}}, {3, 1, {'C'}}});
}

TEST(Tlv, AppendOfAListToItselfDoublesIt) {
    TlvList list;
    AddTlvItem(list, 1, 1, "A");
    AddTlvItem(list, 2, 1, "B");
    AppendTlvList(list, list);
    ExpectItems(list, {{1, 1, {'A'}}, {2, 1, {'B'}}, {1, 1, {'A'}}, {2, 1, {'B'}}});
}

TEST(Tlv, PrintShowsOneBackslashForBytesThatCannotBePrinted) {
    CaptureStdout();
    PrintTlvItem(TlvItem(200, 5, "A\n~\x7f\xff"));
    EXPECT_EQ("Type: 200, Length: 5, Value: A\\x0a~\\x7f\\xff\n", GetCapturedStdout());
}

TEST(Tlv, PrintHexHasNoLeadingZero) {
    CaptureStdout();
    PrintTlvItemHex(TlvItem(1, 3, "A\n\xff"));
    EXPECT_EQ("Type: 1, Length: 3, Value: 41 a ff \n", GetCapturedStdout());
}

TEST(Tlv, PrintBytesShowsBytesThenItems) {
    CaptureStdout();
    PrintTlvBytes({0x01, 0x01, 0x41, 0x02, 0x00});
    EXPECT_EQ(
        "Assembled TLV Data: 1 1 41 2 0 \n\nParsed TLVs:\nType: 1, Length: 1, Value: A\nType: 2, Length: 0, "
        "Value: \n",
        GetCapturedStdout());
}

TEST(Tlv, EachLineOfBytesIsFlushed) {
    CaptureStdout();
    flushes_of_output = 0;
    PrintTlvBytes({0x01, 0x01, 0x41, 0x02, 0x00});
    PrintTlvItemHex(TlvItem(1, 1, "A"));
    const int flushes = flushes_of_output;
    GetCapturedStdout();
    EXPECT_EQ(1 + 2 + 1, flushes);
}

TEST(Tlv, PrintBytesWarnsOnItsOwn) {
    CaptureStdout();
    CaptureStderr();
    PrintTlvBytes({9});
    EXPECT_EQ(kCutWarning, GetCapturedStderr());
    EXPECT_EQ("Assembled TLV Data: 9 \n\nParsed TLVs:\n", GetCapturedStdout());
}

TEST(Tlv, EveryLieAboutALengthIsContained) {
    CaptureStderr();
    for (size_t size = 0; size < 300; ++size) {
        for (const int length : {0, 1, 2, 127, 128, 254, 255}) {
            const ByteArray bytes(size, static_cast<uint8_t>(length));
            const TlvList list = ParseTlvBytes(bytes);
            EXPECT_EQ(size / static_cast<size_t>(length + 2), list.size()) << size << " bytes of " << length;
        }
    }
    GetCapturedStderr();
}

}  // namespace
