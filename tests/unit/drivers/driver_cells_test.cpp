// The cells that drivers report: the serving cell, from a list in which each family has its values elsewhere,
// and the neighbour cell of Quectel modules. Lists that are short, long, of another radio or not there at all
// are tried with each.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

/// The values of a cell: those that a driver had before, and those of the list.
struct Values {
    std::string pcid, band, rsrp, level, sinr;
};

const Values kBefore = {"1", "8", "-90", "-80", "40"};
const Values kValues = {"211", "3", "-97", "", "13"};

/// `list` with `value` in the place that is named.
std::string Filled(std::string list, const std::string& place, const std::string& value) {
    const size_t at = list.find(place);
    return at == std::string::npos ? list : list.replace(at, place.size(), value);
}

std::string Filled(std::string list, const Values& values) {
    list = Filled(Filled(list, "{pcid}", values.pcid), "{band}", values.band);
    return Filled(Filled(list, "{rsrp}", values.rsrp), "{sinr}", values.sinr);
}

/// The first `count` fields of a list, and all of them where it has no more.
std::string FirstFields(const std::string& list, size_t count) {
    size_t end = 0;
    for (size_t i = 0; i < count && end != std::string::npos; ++i) end = list.find(',', i == 0 ? 0 : end + 1);
    return list.substr(0, count == 0 ? 0 : end);
}

size_t CountFields(const std::string& list) {
    size_t count = 1;
    for (const char character : list) count += character == ',';
    return count;
}

bool IsReported(const ServingCellFacts& cell) {
    return cell.read != nullptr;
}

class ServingCellTest : public FamilyTest<ServingCellFacts> {
  protected:
    ServingCellTest() : FamilyTest(&DriverFacts::serving_cell) {}

    void SetUp() override {
        FamilyTest::SetUp();
        Forget();
    }

    void Forget() {
        CopyText(cell.m_pcid, kBefore.pcid.c_str());
        CopyText(cell.m_band, kBefore.band.c_str());
        CopyText(cell.m_RSRP, kBefore.rsrp.c_str());
        CopyText(cell.m_RSRP_LEVEL, kBefore.level.c_str());
        CopyText(cell.m_SINR, kBefore.sinr.c_str());
    }

    /// The lines of one reading with this answer.
    Texts Read(const std::string& answer) {
        world.log.clear();
        modem.exchanges.clear();
        for (const std::string& question : row->questions) AnswerTo(question, kError);
        AnswerTo(row->questions.front(), answer);
        row->read(cell);
        EXPECT_EQ(row->questions, modem.Sent());
        return LinesOf(row->operation);
    }

    Texts ReadList(const std::string& list) { return Read("\r\n" + (row->prefix + list) + "\r\n\r\nOK\r\n"); }

    bool Has(const std::string& place) const { return row->list.find(place) != std::string::npos; }

    void Expect(const Values& expected) {
        EXPECT_EQ(expected.pcid, cell.m_pcid);
        EXPECT_EQ(expected.band, cell.m_band);
        EXPECT_EQ(expected.rsrp, cell.m_RSRP);
        EXPECT_EQ(expected.level, cell.m_RSRP_LEVEL);
        EXPECT_EQ(expected.sinr, cell.m_SINR);
        EXPECT_STREQ("", cell.m_neighbour_pcid);
    }

    /// What a list with these values leaves: those it has no place for stay.
    Values Left(Values values) const {
        if (!Has("{rsrp}")) values.rsrp = kBefore.rsrp;
        if (!Has("{sinr}")) values.sinr = kBefore.sinr;
        values.level = row->level == CellLevel::kUntouched ? kBefore.level : values.rsrp;
        return values;
    }

    std::string Head(const std::string& list) const {
        return std::string("7 ") + row->head + list + ", len: " + std::to_string(list.size()) + row->head_end;
    }

    bool WasShort(const Texts& lines) const {
        return lines.size() > 1 &&
               lines[1] == std::string("5 ") + row->name + ",pRes do not have valid data\n";
    }
};

TEST_P(ServingCellTest, FullListIsStoredAndShown) {
    const std::string list = Filled(row->list, kValues);
    const Texts lines = ReadList(list);
    Expect(Left(kValues));
    Texts expected = {Head(list), "5 Band change: last band[8] rsrp[" +
                                      (Has("{rsrp}") ? kBefore.rsrp : kBefore.level) +
                                      "], current band[3] rsrp[" + Left(kValues).rsrp + "]\n"};
    const std::string shown = std::string("7 ") + row->name;
    expected.push_back(shown + ", pcid:211 !\n");
    expected.push_back(shown + ", band:3 !\n");
    if (Has("{rsrp}")) expected.push_back(shown + ", rsrp:-97 !\n");
    if (Has("{sinr}")) expected.push_back(shown + ", sinr:13 !\n");
    EXPECT_EQ(Joined(expected, row->last_lines), lines);
    EXPECT_NEAR(row->seconds, world.now_seconds(), 0.01);
}

TEST_P(ServingCellTest, SameBandIsNoChange) {
    const std::string list = Filled(row->list, kValues);
    const size_t count = ReadList(list).size();
    const Texts lines = ReadList(list);
    EXPECT_EQ(count - 1, lines.size());
    for (const std::string& line : lines) EXPECT_EQ(std::string::npos, line.find("Band change")) << line;
}

TEST_P(ServingCellTest, ShortListEmptiesWhatItLacks) {
    const size_t full = CountFields(row->list);
    const size_t fields_with_radio = CountFields(row->list.substr(0, row->list.find("LTE")));
    for (size_t count = fields_with_radio; count <= full; ++count) {
        Forget();
        const std::string kept = FirstFields(row->list, count);
        const auto if_kept = [&kept](const char* place, const std::string& value) {
            return kept.find(place) == std::string::npos ? "" : value;
        };
        const Values values = {if_kept("{pcid}", kValues.pcid), if_kept("{band}", kValues.band),
                               if_kept("{rsrp}", kValues.rsrp), "", if_kept("{sinr}", kValues.sinr)};
        EXPECT_EQ(count < full, WasShort(ReadList(Filled(kept, kValues)))) << count;
        Expect(Left(values));
    }
}

TEST_P(ServingCellTest, SurplusAndEmptyFieldsAreNotShort) {
    const std::string list = Filled(row->list, kValues);
    for (const char* tail : {",16,17,18", ","}) {
        EXPECT_FALSE(WasShort(ReadList(list + tail))) << tail;
        Expect(Left(kValues));
    }
    EXPECT_FALSE(WasShort(ReadList(Filled(row->list, {"", "", "", "", ""}))));
    Expect(Left({"", "", "", "", ""}));
}

TEST_P(ServingCellTest, LongFieldsAreCut) {
    const std::string field(30, '7');
    const Texts lines = ReadList(Filled(row->list, {field, field, "", "", ""}));
    EXPECT_EQ(field.substr(0, 15), cell.m_pcid);
    EXPECT_EQ(field.substr(0, 15), cell.m_band);
    const std::string shown =
        std::string("7 ") + row->name + ", pcid:" + field.substr(0, row->shown_limit) + " !\n";
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), shown));
    ReadList(Filled(row->list, {"\xff\x80", "%s%n", "", "", ""}));
    EXPECT_STREQ("\xff\x80", cell.m_pcid);
    EXPECT_STREQ("%s%n", cell.m_band);
}

TEST_P(ServingCellTest, AnswerWithoutAListChangesNothing) {
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CREG: 0,1")}) {
        const Texts lines = Read(answer);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(Head(""), lines.front()) << answer;
        EXPECT_EQ(row->questions.size(), lines.size()) << answer;
        Expect(kBefore);
    }
}

TEST_P(ServingCellTest, ListOfAnotherRadioIsAnError) {
    const std::string list = Filled(Filled(row->list, "LTE", "WCDMA"), kValues);
    const Texts lines = ReadList(list);
    if (row->other_radio == nullptr) {
        Expect(Left(kValues));
        EXPECT_STREQ("WCDMA", cell.m_NetworkType);
    } else {
        Expect(kBefore);
        EXPECT_EQ((Texts{Head(list), row->other_radio}), lines);
    }
}

INSTANTIATE_TEST_SUITE_P(, ServingCellTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::serving_cell, IsReported)),
                         FamilyOfTest);

bool IsAsked(const NeighbourCellFacts& cell) {
    return cell.fields != 0;
}

class NeighbourCellTest : public FamilyTest<NeighbourCellFacts> {
  protected:
    static constexpr size_t kPcid = 3;

    NeighbourCellTest() : FamilyTest(&DriverFacts::neighbour_cell) {}

    void SetUp() override {
        FamilyTest::SetUp();
        CopyText(cell.m_neighbour_pcid, "before");
        CopyText(cell.m_neighbour_rsrp, "before");
    }

    /// A list of so many fields, each its own place and `mark`.
    static std::string List(size_t count, const std::string& mark) {
        std::string list;
        for (size_t i = 0; i < count; ++i) list += (i == 0 ? "" : ",") + std::to_string(i) + mark;
        return list;
    }

    Texts Read(const std::string& answer) {
        world.log.clear();
        modem.exchanges.clear();
        modem.On("AT+QENG=\"neighbourcell\"", answer);
        cell.CheckNeighbourSignal();
        EXPECT_EQ(Texts{"AT+QENG=\"neighbourcell\"\r\n"}, modem.Sent());
        EXPECT_NEAR(10.0, GapAfter(0), 0.01);
        return LinesOf("CheckNeighbourSignal");
    }

    static std::string Head(const std::string& list) {
        return "7 AT+QENG common str:" + list + ", len: " + std::to_string(list.size()) + "!!!\r\n";
    }
};

TEST_P(NeighbourCellTest, FirstCellOfTheListIsStoredAndShown) {
    const std::string rsrp = std::to_string(row->rsrp) + "x";
    for (const size_t count : {row->fields, row->fields + 1, row->fields - 1, row->rsrp + 1}) {
        const std::string list = List(count, "x");
        const Texts lines = Read("\r\n+QENG: " + list + "\r\n+QENG: " + List(count, "y") + "\r\n\r\nOK\r\n");
        EXPECT_STREQ("3x", cell.m_neighbour_pcid) << count;
        EXPECT_EQ(rsrp, cell.m_neighbour_rsrp) << count;
        Texts expected = {Head(list)};
        if (count < row->fields) expected.push_back("7 neighbour info,pRes do not have valid data\n");
        EXPECT_EQ(
            Joined(expected, {"7 neighbour info, pcid:3x !\n", "7 neighbour info, rsrp:" + rsrp + " !\n"}),
            lines)
            << count;
    }
    EXPECT_STREQ("", cell.m_pcid);
}

TEST_P(NeighbourCellTest, ShortListEmptiesWhatItLacks) {
    Read("+QENG: " + List(row->rsrp, ""));
    EXPECT_STREQ("3", cell.m_neighbour_pcid);
    EXPECT_STREQ("", cell.m_neighbour_rsrp);
    Read("+QENG: " + List(kPcid, ""));
    EXPECT_STREQ("", cell.m_neighbour_pcid);
    EXPECT_STREQ("", cell.m_neighbour_rsrp);
}

TEST_P(NeighbourCellTest, LongFieldsAreCut) {
    const std::string field(30, '7');
    std::string list = "0,1,2," + field;
    for (size_t i = kPcid + 1; i <= row->rsrp; ++i) list += "," + field;
    const Texts lines = Read("+QENG: " + list);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_pcid);
    EXPECT_EQ(field.substr(0, 15), cell.m_neighbour_rsrp);
    EXPECT_EQ("7 neighbour info, pcid:" + field.substr(0, 23) + " !\n", lines.at(2));
}

TEST_P(NeighbourCellTest, AnswerWithoutAListChangesNothing) {
    for (const std::string& answer :
         {std::string(kError), std::string(kOk), std::string(), Answer("+CREG: 0,1")}) {
        EXPECT_EQ(Texts{Head("")}, Read(answer)) << answer;
        EXPECT_STREQ("before", cell.m_neighbour_pcid) << answer;
        EXPECT_STREQ("before", cell.m_neighbour_rsrp) << answer;
    }
}

INSTANTIATE_TEST_SUITE_P(, NeighbourCellTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::neighbour_cell, IsAsked)),
                         FamilyOfTest);

}  // namespace
