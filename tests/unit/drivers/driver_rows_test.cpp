// The rows of every driver: which texts it recognises, what each fills and where its fields end, and what the
// log says of it. Missing, empty, surplus, over-long and non-numeric fields are tried with every row.
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

enum class Kind {
    kLogged,       // no more than a line of the log
    kBareHint,     // the record gets its type and no more
    kHint,         // the same, and the family's own suite has the rest
    kText,         // the first field becomes the text of the record
    kNetworkType,  // the first field becomes m_NetworkType
    kNumbers,      // numbers of the record
};

using Number = int32_t AtResult::*;
constexpr Number kNowhere = nullptr;

struct Row {
    int32_t number;  // in AtPrefixTable
    std::string prefix;
    Kind kind;
    std::string sample;                // what the modem sends after the prefix
    std::string ends = "";             // each of these ends a field
    std::vector<Number> numbers = {};  // in the modem's order
    // After the line with the number of the row; {} is a field that was stored, {rest} all after the prefix.
    Texts lines = {};
    bool says_more = false;  // the family's own suite has the rest of its lines
};

bool IsText(const Row& row) {
    return row.kind == Kind::kText || row.kind == Kind::kNetworkType;
}

Row Logged(int32_t number, const std::string& prefix, const std::string& sample) {
    return {number, prefix, Kind::kLogged, sample};
}

Row Placeholder(int32_t number) {
    return Logged(number, "ReSeRvEd:", "x");
}

Row Hint(int32_t number, const std::string& prefix, const std::string& sample, bool says_more) {
    return {number, prefix, Kind::kHint, sample, "", {}, {}, says_more};
}

Row Text(int32_t number, const std::string& prefix, const std::string& ends, const std::string& sample,
         const Texts& lines) {
    return {number, prefix, Kind::kText, sample, ends, {}, lines};
}

Row NetworkType(int32_t number, const std::string& prefix, const std::string& ends,
                const std::string& sample) {
    return {number, prefix, Kind::kNetworkType, sample, ends, {}, {"7 Network type:{}\n"}};
}

Row Numbers(int32_t number, const std::string& prefix, const std::string& ends, const std::string& sample,
            const std::vector<Number>& numbers, const Texts& lines) {
    return {number, prefix, Kind::kNumbers, sample, ends, numbers, lines};
}

struct FamilyRows {
    VendorType family;
    unsigned level;  // of the line with the number
    std::vector<Row> rows;
    bool is_shown_by_prefix = false;  // instead of its number
};

constexpr Number kVal = &AtResult::val;
constexpr Number kVal2 = &AtResult::val2;
constexpr Number kVal3 = &AtResult::val3;
constexpr Number kVal4 = &AtResult::val4;
constexpr Number kVal5 = &AtResult::val5;
constexpr Number kVal6 = &AtResult::val6;

const std::vector<Row> kDataStatusRowsOfBoth = {
    Placeholder(15),
    Numbers(16, "+DATASTATUS:", "\r\n", " 1\r\n", {kVal}, {"5 Connect Status:{}\n"}),
    {17, "^DATACONNECT", Kind::kBareHint, "1,2"},
    {18, "^DATADISCONN", Kind::kBareHint, "1,2"},
};

const Row kQuectelCall =
    Numbers(36, "$QCRMCALL: ", ",\n\r", "1, V4", {kVal}, {"5 AT$QCRMCALL=1,1 return {rest}\n"});
const Row kNetDevCtl = Numbers(39, "+QNETDEVCTL:", ",\r", " 1,2,3,4", {kVal, kVal4, kVal3, kVal2},
                               {"7 QNETDEVSTATUS: connect_type={},CID={},URC_switch={},PDN_status={}\n"});
const Row kQnwinfo = NetworkType(35, "+QNWINFO: ", ",\n\r", "\"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n");
const Row kQccid = Text(38, "+QCCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"});
const Row kQeng = Text(41, "+QENG: ", "\n\r", "\"servingcell\",\"NOCONN\"\r\n", {});

/// What the two Quectel families that call by AT+QNETDEVCTL read.
std::vector<Row> NetDevCtlRows(const Row& call) {
    return {
        Placeholder(34),
        kQnwinfo,
        call,
        Logged(37, "+QNETDEVSTATUS:", " 1,2,0,1"),
        kQccid,
        kNetDevCtl,
        Logged(40, "+QTEMP:", " 40,41,42"),
        kQeng,
    };
}

const std::vector<Row> kQcomRows = {
    Placeholder(34),
    kQnwinfo,
    kQuectelCall,
    Numbers(37, "+QNETDEVSTATUS:", ",\r", " 1,2,0,1", {kVal, kVal2, kVal3, kVal4},
            {"7 QNETDEVSTATUS: on_off={},state={},roam_status={},inst={}\n"}),
    kQccid,
    Logged(39, "+QNETDEVCTL:", " 1,1,1,1"),
    {40, "+QTEMP:", Kind::kNumbers, " 40,41,42", ",\n\r", {kVal3, kVal, kVal2}, {}, true},
    kQeng,
};

const FamilyRows kFamilies[] = {
    {kVendorLongSung, 5, kDataStatusRowsOfBoth},
    {kVendorChuangYi,
     5,
     {
         Placeholder(20),
         Numbers(21, "+RRCSTATE:", ",\r", " 1,7\r\n", {kVal, kVal2}, {"5 Connect Status: stat={} AcT={}\n"}),
         Numbers(22, "+SYSINFO:", ",\r", " 2,3,0,5,1,0,9\r\n",
                 {kVal, kVal2, kVal3, kVal4, kVal5, kNowhere, kVal6},
                 {"5 SYSINFO: srv_status={},srv_domain={},roam_status={},\n            "
                  "\tsys_mode={},sim_state={},sys_submode={}\n"}),
     }},
    {kVendorNodeCom, 5, kDataStatusRowsOfBoth},
    {kVendorHuaWei,
     5,
     {
         Placeholder(24),
         Numbers(25, "^NDISSTATQRY:", ",", " 1,,,\"IPV4\"", {kVal}, {"5 Connect Status:{}\n"}),
         Hint(26, "^HCSQ: ", "\"LTE\",50,40,30,10", false),
     }},
    {kVendorZte,
     7,
     {
         Placeholder(28),
         Text(29, "+ZGETICCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"}),
         NetworkType(30, "+ZPAS: ", ",\n\r", "\"LTE\",\"CS_PS\"\r\n"),
         Hint(31, "+ZECMCALL: ", "IPV4, 10.1.2.3", false),
         Text(32, "+ZCELLINFO: ", "\n\r", "5A1C,LTE,211,3,1650\r\n", {}),
     }},
    {kVendorQuectelQcom, 7, kQcomRows},
    {kVendorQuectelUnisoc, 7, NetDevCtlRows(kQuectelCall)},
    {kVendorQuectelAsr, 7, NetDevCtlRows(Logged(36, "$QCRMCALL: ", "1, V4"))},
    {kVendorSimCom,
     7,
     {
         Placeholder(43),
         Numbers(44, "$QCRMCALL: ", ",\r\n", "1,V4", {kVal}, {"5 Online check :{}\n"}),
         Hint(45, "+CPSI: ", "LTE,Online,460-00", true),
         Text(46, "+ICCID: ", ",\r\n", "8986", {"5 ICCID :{}\n"}),
     }},
    {kVendorCinterion,
     7,
     {
         Placeholder(48),
         Logged(49, "^SWWAN?", "\r\r\n^SWWAN: 1,1,1"),
         Text(50, "+CCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"}),
         Numbers(51, "^SCTM:", ",\r\n", " 1,0,38\r\n", {kVal, kVal2, kVal3}, {"7 SCTM:{rest}\n"}),
         NetworkType(52, "^SMONI: ", ",\n\r", "LTE,1650,3,10"),
     }},
    {kVendorFibocom,
     7,
     {
         Placeholder(54),
         Text(55, "+CCID: ", "\n\r", "8986\r\n", {"5 CCID:{}\n"}),
         Logged(56, "+MGAUTH: ", "1,3,\"u\",\"p\""),
         Numbers(57, "+GTRNDIS: ", ",\r", "1,1,\"10.0.0.2\"", {kVal}, {"7 GTRNDIS: connect_type={}\n"}),
     }},
    {kVendorLynq,
     7,
     {
         Placeholder(59),
         Text(60, "+ICCID:", ",\r\n", "8986", {"5 ICCID:{}\n"}),
         Text(61, "+CPSI:", "\n\r", "LTE,Online,460-00\r\n", {}),
         Text(62, "+NETOPEN:", "\r\n", "SUCCESS\r\n", {"5 Network Open:{}\n"}),
         Text(63, "+NETCLOSE:", "\r\n", "SUCCESS\r\n", {"5 Network Close:{}\n"}),
     },
     true},
    {kVendorFibocomLe,
     7,
     {
         Placeholder(65),
         Text(66, "+CCID: ", "\n\r", "8986\r\n", {"5 CCID:{}\n"}),
         Numbers(67, "+GTRNDIS: ", ",\r", "1,1,\"10.0.0.2\"", {kVal}, {"7 GTRNDIS: connect_type={}\n"}),
         Hint(68, "+GTCCINFO:", "\r\n1,4,460", true),
         Text(69, "+CESQ: ", "\n\r", "99,99,255,255,20,48\r\n", {"7 FIBOLECESQ:{}\n"}),
     }},
};

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

class RowsTest : public FamilyTest<FamilyRows> {
  protected:
    RowsTest() : FamilyTest(kFamilies) {}

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

    static int32_t TypeOf(const Row& each) { return each.kind == Kind::kLogged ? 0 : each.number; }

    /// What the log says of a text with `rest` after the prefix, of which `fields` were stored.
    Texts LinesFor(const Row& each, const std::string& rest, const Texts& fields) const {
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

    void ExpectType(const Row& each, const std::string& answer) {
        const Reading reading = Read(answer);
        EXPECT_EQ(TypeOf(each), reading.record.type) << answer;
        EXPECT_FALSE(reading.lines.empty()) << answer;
    }

    /// The text of a row of texts, or the network type, that `rest` gives.
    void ExpectText(const Row& each, const std::string& rest) {
        const bool is_network = each.kind == Kind::kNetworkType;
        const size_t limit = is_network ? 63 : 127;
        const std::string field = rest.substr(0, rest.find_first_of(each.ends)).substr(0, limit);
        const Reading reading = Read("\r\n" + each.prefix + rest);
        EXPECT_EQ(each.number, reading.record.type) << each.prefix << rest;
        EXPECT_EQ(is_network ? "" : field, reading.record.common_str) << each.prefix << rest;
        EXPECT_EQ(is_network ? field : "before", reading.network) << each.prefix << rest;
        EXPECT_EQ(LinesFor(each, rest, {field}), reading.lines) << each.prefix << rest;
    }

    void ExpectNumbers(const Row& each, const std::string& rest, const std::vector<int32_t>& numbers) {
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
    for (const Row& each : row->rows) {
        const std::string found = each.prefix + each.sample;
        for (const char* before : {"", "\r\n", "AT+X\r\r\n", "\xff", "Unknow.. "}) {
            ExpectType(each, before + found);
        }
    }
}

TEST_P(RowsTest, RowWithoutFieldsIsLoggedAndLeavesItsHintAtMost) {
    for (const Row& each : row->rows) {
        if (IsText(each) || each.kind == Kind::kNumbers) continue;
        for (const std::string& rest :
             {each.sample, std::string(), std::string("\xff,%s%n"), std::string(247, '1')}) {
            const Reading reading = Read(each.prefix + rest);
            EXPECT_EQ(TypeOf(each), reading.record.type) << each.prefix << rest;
            if (each.kind != Kind::kHint) {
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
    for (const Row& lower : row->rows) {
        for (const Row& higher : row->rows) {
            if (higher.number <= lower.number) continue;
            ExpectType(lower, higher.prefix + higher.sample + "\r\n" + lower.prefix + lower.sample);
        }
    }
}

TEST_P(RowsTest, RowOfTheEngineWins) {
    for (const Row& each : row->rows) {
        const Reading reading = Read(each.prefix + each.sample + "\r\n+CSQ: 3,99\r\n");
        EXPECT_EQ(kHintCsq, reading.record.type) << each.prefix;
        EXPECT_EQ("before", reading.network) << each.prefix;
        EXPECT_EQ(Texts{}, reading.lines) << each.prefix;
    }
}

TEST_P(RowsTest, OtherTextsAreUnknown) {
    for (const char* answer : {"", kOk, kError, "RING", "\xff", "%s%n"}) ExpectUnknown(answer);
    for (const Row& each : row->rows) {
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
    for (const FamilyRows& other : kFamilies) {
        for (const Row& foreign : other.rows) {
            const std::string answer = foreign.prefix + foreign.sample;
            bool is_own = false;
            for (const Row& each : row->rows) is_own |= answer.find(each.prefix) != std::string::npos;
            if (!is_own) ExpectUnknown(answer);
        }
    }
}

/// An exchange keeps 256 bytes: each answer stands after so many others that its end, its value, its prefix
/// or all of it is lost. A row whose prefix isn't whole leaves nothing; any other one leaves what an answer
/// that ends there leaves.
TEST_P(RowsTest, RowsEndWithThe256thByte) {
    for (const Row& each : row->rows) {
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

bool HasTexts(const FamilyRows& family) {
    for (const Row& each : family.rows) {
        if (IsText(each)) return true;
    }
    return false;
}

TEST_P(TextRowsTest, TextIsTheFirstFieldUpToItsEnd) {
    for (const Row& each : row->rows) {
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

INSTANTIATE_TEST_SUITE_P(, TextRowsTest, testing::ValuesIn(FamiliesWhere(kFamilies, HasTexts)), FamilyOfTest);

class NumberRowsTest : public RowsTest {};

bool HasNumbers(const FamilyRows& family) {
    for (const Row& each : family.rows) {
        if (!each.numbers.empty()) return true;
    }
    return false;
}

TEST_P(NumberRowsTest, NumberIsAnyFormOfItsField) {
    for (const Row& each : row->rows) {
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
    for (const Row& each : row->rows) {
        std::vector<int32_t> numbers(each.numbers.size());
        if (numbers.empty()) continue;
        numbers[0] = numbers.size() == 1 ? 123 : 1;
        ExpectNumbers(each, std::string(62, '0') + "123", numbers);
    }
}

TEST_P(NumberRowsTest, MissingNumbersAreZeroAndSurplusOnesAreLost) {
    for (const Row& each : row->rows) {
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
    for (const Row& each : row->rows) {
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

INSTANTIATE_TEST_SUITE_P(, NumberRowsTest, testing::ValuesIn(FamiliesWhere(kFamilies, HasNumbers)),
                         FamilyOfTest);

}  // namespace
