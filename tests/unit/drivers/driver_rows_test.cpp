// The rows of every driver: which texts it recognises, what each fills and where its fields end, and what the
// log says of it. Missing, empty, surplus, over-long and non-numeric fields are tried with every row.
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

bool IsText(const RowFacts& row) {
    return row.kind == RowKind::kText || row.kind == RowKind::kNetworkType;
}

/// A field as the modem may send it, and the number that it counts as.
struct Field {
    std::string text;
    int32_t number;
};

const Field kFields[] = {
    {"1", 1},
    {" 7", 7},
    {"   0", 0},
    {"-3", -3},
    {"+4", 4},
    {"", 0},
    {"12ab", 12},
    {"ab", 0},
    {"\"1\"", 0},
    {"99999999999999999999", INT32_MAX},
    {"-99999999999999999999", INT32_MIN},
    {std::string(100, '9'), INT32_MAX},
    {"\xff\x80", 0},
    {"1\xff", 1},
    {"\xc3\xa4", 0},
    {"%s%n%d", 0},
};

class RowsTest : public FamilyTest<RowsFacts> {
  protected:
    RowsTest() : FamilyTest(&DriverFacts::rows) {}

    /// All that parsing leaves.
    struct Reading {
        AtResult record;
        std::string network;
        Texts lines;
    };

    Reading Read(char* answer) {
        world.log.clear();
        CopyText(cell.m_NetworkType, "before");
        const AtResult record = cell.ParseAtResult(answer);
        return {record, cell.m_NetworkType, TakeLines()};
    }

    Reading Read(std::string answer) { return Read(answer.data()); }

    static int32_t TypeOf(const RowFacts& each) { return each.kind == RowKind::kLogged ? 0 : each.number; }

    /// What the log says of a text with `rest` after the prefix, of which `fields` were stored.
    Texts LinesFor(const RowFacts& each, const std::string& rest, const Texts& fields) const {
        const std::string shown = row->is_shown_by_prefix ? each.prefix : std::to_string(each.number);
        Texts lines = {std::to_string(row->level) + " ParseAtResult: " + shown + " " + rest + "\n"};
        auto field = fields.begin();
        for (std::string line : each.lines) {
            line.insert(2, "ParseAtResult: ");
            for (size_t at = line.find('{'); at != std::string::npos; at = line.find('{', at)) {
                const bool is_rest = line[at + 1] != '}';
                const std::string& value = is_rest ? rest : *field++;
                line.replace(at, is_rest ? strlen("{rest}") : strlen("{}"), value);
                at += value.size();
            }
            lines.push_back(line);
        }
        return lines;
    }

    void ExpectUnknown(const std::string& answer) {
        const Reading reading = Read(answer);
        EXPECT_EQ(0, reading.record.type) << answer;
        EXPECT_EQ("before", reading.network) << answer;
        EXPECT_EQ(Texts{}, reading.lines) << answer;
    }

    void ExpectType(const RowFacts& each, const std::string& answer) {
        const Reading reading = Read(answer);
        EXPECT_EQ(TypeOf(each), reading.record.type) << answer;
        EXPECT_FALSE(reading.lines.empty()) << answer;
    }

    /// The text of a row of texts, or the network type, that `rest` gives.
    void ExpectText(const RowFacts& each, const std::string& rest) {
        const bool is_network = each.kind == RowKind::kNetworkType;
        const size_t limit = is_network ? 63 : 127;
        const std::string field = rest.substr(0, rest.find_first_of(each.ends)).substr(0, limit);
        const Reading reading = Read("\r\n" + each.prefix + rest);
        EXPECT_EQ(each.number, reading.record.type) << each.prefix << rest;
        EXPECT_EQ(is_network ? "" : field, reading.record.common_str) << each.prefix << rest;
        EXPECT_EQ(is_network ? field : "before", reading.network) << each.prefix << rest;
        EXPECT_EQ(LinesFor(each, rest, {field}), reading.lines) << each.prefix << rest;
    }

    void ExpectNumbers(const RowFacts& each, const std::string& rest, const std::vector<int32_t>& numbers) {
        AtResult expected = {};
        expected.type = each.number;
        Texts fields;
        for (size_t i = 0; i < each.numbers.size(); ++i) {
            if (each.numbers[i] == kNowhere) continue;
            expected.*each.numbers[i] = numbers[i];
            fields.push_back(std::to_string(numbers[i]));
        }
        const Reading reading = Read("\r\n" + each.prefix + rest);
        EXPECT_EQ(0, memcmp(&expected, &reading.record, sizeof expected)) << each.prefix << rest;
        EXPECT_EQ("before", reading.network) << each.prefix << rest;
        Texts lines = reading.lines;
        if (each.says_more) lines.resize(1);
        EXPECT_EQ(LinesFor(each, rest, fields), lines) << each.prefix << rest;
    }
};

/// The numbers as fields of an answer.
std::string List(const std::vector<int32_t>& numbers) {
    std::string list;
    for (const int32_t number : numbers) list += (list.empty() ? "" : ",") + std::to_string(number);
    return list;
}

// Which row it is

TEST_P(RowsTest, RowIsFoundWhereverItStands) {
    for (const RowFacts& each : row->rows) {
        const std::string found = each.prefix + each.sample;
        for (const char* before : {"", "\r\n", "AT+X\r\r\n", "\xff", "Unknow.. "}) {
            ExpectType(each, before + found);
        }
    }
}

TEST_P(RowsTest, RowWithoutFieldsIsLoggedAndLeavesItsHintAtMost) {
    for (const RowFacts& each : row->rows) {
        if (IsText(each) || each.kind == RowKind::kNumbers) continue;
        for (const std::string& rest :
             {each.sample, std::string(), std::string("\xff,%s%n"), std::string(247, '1')}) {
            const Reading reading = Read(each.prefix + rest);
            EXPECT_EQ(TypeOf(each), reading.record.type) << each.prefix << rest;
            if (each.kind != RowKind::kHint) {
                AtResult expected = {};
                expected.type = TypeOf(each);
                EXPECT_EQ(0, memcmp(&expected, &reading.record, sizeof expected)) << each.prefix << rest;
            }
            Texts lines = reading.lines;
            if (each.says_more) {
                lines.resize(1);
            } else {
                EXPECT_EQ("before", reading.network) << each.prefix << rest;
            }
            EXPECT_EQ(LinesFor(each, rest, {}), lines) << each.prefix << rest;
        }
    }
}

TEST_P(RowsTest, LowerRowWinsWhereverItStands) {
    for (const RowFacts& lower : row->rows) {
        for (const RowFacts& higher : row->rows) {
            if (higher.number <= lower.number) continue;
            ExpectType(lower, higher.prefix + higher.sample + "\r\n" + lower.prefix + lower.sample);
        }
    }
}

TEST_P(RowsTest, RowOfTheEngineWins) {
    for (const RowFacts& each : row->rows) {
        const Reading reading = Read(each.prefix + each.sample + "\r\n+CSQ: 3,99\r\n");
        EXPECT_EQ(kHintCsq, reading.record.type) << each.prefix;
        EXPECT_EQ("before", reading.network) << each.prefix;
        EXPECT_EQ(Texts{}, reading.lines) << each.prefix;
    }
}

TEST_P(RowsTest, OtherTextsAreUnknown) {
    for (const char* answer : {"", kOk, kError, "RING", "\xff", "%s%n"}) ExpectUnknown(answer);
    for (const RowFacts& each : row->rows) {
        ExpectUnknown(each.prefix.substr(0, each.prefix.size() - 1));
        ExpectUnknown(InOtherCase(each.prefix) + each.sample);
        if (each.prefix.back() == ' ') {
            ExpectUnknown(each.prefix.substr(0, each.prefix.size() - 1) + each.sample);
        }
    }
    world.log.clear();
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_P(RowsTest, RowsOfOtherFamiliesAreUnknown) {
    for (const DriverFacts& other : AllFacts()) {
        for (const RowFacts& foreign : other.rows.rows) {
            const std::string answer = foreign.prefix + foreign.sample;
            bool is_own = false;
            for (const RowFacts& each : row->rows) is_own |= answer.find(each.prefix) != std::string::npos;
            if (!is_own) ExpectUnknown(answer);
        }
    }
}

/// An exchange keeps 256 bytes: each answer stands after so many others that its end, its value, its prefix
/// or all of it is lost. A row whose prefix isn't whole leaves nothing; any other one leaves what an answer
/// that ends there leaves.
TEST_P(RowsTest, RowsEndWithThe256thByte) {
    for (const RowFacts& each : row->rows) {
        const std::string found = each.prefix + each.sample;
        for (size_t kept = 0; kept <= found.size(); ++kept) {
            const std::string answer = CutAfter(kept, found);
            const std::string seen = found.substr(0, kept);
            modem.On("AT+LONG", answer + kOk);
            const Reading cut = Read(cell.AtRequest("AT+LONG"));
            const Reading whole = Read(answer.substr(0, kAnswerLimit));
            const bool is_known = kept >= each.prefix.size();
            EXPECT_EQ(is_known ? TypeOf(each) : 0, cut.record.type) << seen;
            EXPECT_EQ(is_known, !cut.lines.empty()) << seen;
            EXPECT_EQ(0, memcmp(&whole.record, &cut.record, sizeof cut.record)) << seen;
            EXPECT_EQ(whole.network, cut.network) << seen;
            EXPECT_EQ(whole.lines, cut.lines) << seen;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, RowsTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

// What it fills

class TextRowsTest : public RowsTest {};

bool HasTexts(const RowsFacts& family) {
    for (const RowFacts& each : family.rows) {
        if (IsText(each)) return true;
    }
    return false;
}

TEST_P(TextRowsTest, TextIsTheFirstFieldUpToItsEnd) {
    for (const RowFacts& each : row->rows) {
        if (!IsText(each)) continue;
        for (const char* rest :
             {"8986", " 8986", "8986\r\n\r\nOK\r\n", "8986,1,2", "8986\r7", "8986\n7", "", "\r\n8986",
              "\n8986", ",8986", ",,,", "not a number", "\x80\xff\xfe\r\n", "\xe4\xff,1", "%s%n%d\r\n"}) {
            ExpectText(each, rest);
        }
        for (const size_t length : {62, 63, 64, 126, 127, 128, 249, 300}) {
            ExpectText(each, std::string(length, '8'));
        }
        ExpectText(each, each.sample);
        ExpectText(each, "1\r\n" + each.prefix + "2\r\n");
    }
}

INSTANTIATE_TEST_SUITE_P(, TextRowsTest, testing::ValuesIn(FamiliesWhere(&DriverFacts::rows, HasTexts)),
                         FamilyOfTest);

class NumberRowsTest : public RowsTest {};

bool HasNumbers(const RowsFacts& family) {
    for (const RowFacts& each : family.rows) {
        if (!each.numbers.empty()) return true;
    }
    return false;
}

TEST_P(NumberRowsTest, NumberIsAnyFormOfItsField) {
    for (const RowFacts& each : row->rows) {
        const size_t count = each.numbers.size();
        for (size_t place = 0; place < count; ++place) {
            std::vector<int32_t> numbers(count);
            for (size_t i = 0; i < count; ++i) numbers[i] = static_cast<int32_t>(10 + i);
            for (const Field& field : kFields) {
                std::string rest;
                for (size_t i = 0; i < count; ++i) {
                    rest += (i == 0 ? "" : ",") + (i == place ? field.text : std::to_string(numbers[i]));
                }
                numbers[place] = field.number;
                for (const char* end : {"", "\r\n", "\r\n\r\nOK\r\n"}) {
                    ExpectNumbers(each, rest + end, numbers);
                }
                numbers[place] = static_cast<int32_t>(10 + place);
            }
        }
    }
}

/// One of several fields holds 63 characters, a field by itself as many as there are.
TEST_P(NumberRowsTest, FieldOfSeveralIsReadToItsLimit) {
    for (const RowFacts& each : row->rows) {
        std::vector<int32_t> numbers(each.numbers.size());
        if (numbers.empty()) continue;
        numbers[0] = numbers.size() == 1 ? 123 : 1;
        ExpectNumbers(each, std::string(62, '0') + "123", numbers);
    }
}

TEST_P(NumberRowsTest, MissingNumbersAreZeroAndSurplusOnesAreLost) {
    for (const RowFacts& each : row->rows) {
        const size_t count = each.numbers.size();
        if (count == 0) continue;
        std::vector<int32_t> numbers;
        for (size_t given = 0; given < count + 3; ++given) {
            std::vector<int32_t> expected = numbers;
            expected.resize(count);
            ExpectNumbers(each, List(numbers), expected);
            ExpectNumbers(each, " " + List(numbers), expected);
            numbers.push_back(static_cast<int32_t>(10 + given));
        }
        ExpectNumbers(each, ",,,,,,,", std::vector<int32_t>(count));
        numbers.resize(count);
        ExpectNumbers(each, List(numbers) + "\r\n" + each.prefix + "77,77,77,77,77,77,77\r\n", numbers);
    }
}

TEST_P(NumberRowsTest, NumberEndsAtItsEndsAlone) {
    for (const RowFacts& each : row->rows) {
        const size_t count = each.numbers.size();
        if (count == 0) continue;
        for (const char end : {',', '\r', '\n'}) {
            const bool is_end = each.ends.find(end) != std::string::npos;
            // A line end that ends no field is a blank in front of the number.
            std::vector<int32_t> numbers(count);
            numbers[0] = is_end || end == ',' ? 0 : 5;
            if (count > 1 && is_end) numbers[1] = 5;
            ExpectNumbers(each, end + std::string("5"), numbers);
            numbers.assign(count, 0);
            numbers[0] = 4;
            if (count > 1 && is_end) numbers[1] = 5;
            ExpectNumbers(each, std::string("4") + end + "5", numbers);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, NumberRowsTest, testing::ValuesIn(FamiliesWhere(&DriverFacts::rows, HasNumbers)),
                         FamilyOfTest);

}  // namespace
