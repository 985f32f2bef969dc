// All that has to know a family of modems: the words that identify it, the factory, the table of prefixes,
// the simulator and the page of dialects. A family that one of them lacks or describes otherwise is found
// here.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "simulator/modem/dialect.h"
#include "simulator/modem/modem_model.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using modem_sim::Family;
using test_support::ScriptedModem;
using test_support::World;

namespace {

constexpr int kMostVendor = 31;  // above every code that is given out
constexpr int kLastBaseRow = kHintCgsn;
constexpr char kPlaceholder[] = "ReSeRvEd";

/// What CheckDevType says of a simulated modem.
int Identify(const Family& family, const std::string& model) {
    World world;
    ScriptedModem modem(world);
    modem_sim::Modem simulated({family.name, model});
    for (const std::string command : {"AT", "AT+CGMI", "ATI"}) {
        modem.OnCall(command, [&world, &simulated, command] {
            simulated.Receive(command + "\r\n", world.now_ms());
            return simulated.TakeOutput(world.now_ms() + 1000, kAnswerLimit);
        });
    }
    return CheckDevType(modem.fd());
}

int VendorOf(const Family& family) {
    return Identify(family, family.models.begin()->name);
}

bool IsPlaceholder(int row) {
    return std::string(AtPrefixTable[row]).find(kPlaceholder) == 0;
}

/// Rows of AtPrefixTable that a driver tells apart from all others: they give their hint, or are logged under
/// their number.
std::set<int> RowsOf(int vendor) {
    std::set<int> rows;
    for (int row = 0; row < kAtPrefixRows; ++row) {
        if (IsPlaceholder(row)) continue;
        World world;
        ScriptedModem modem(world);
        const std::unique_ptr<CellBase> cell(build_driver(vendor, modem.fd()));
        if (cell == nullptr) return {};
        std::string text = AtPrefixTable[row];
        const AtResult result = cell->ParseAtResult(text.data());
        const std::vector<std::string> log = world.LogOf("ParseAtResult");
        const bool is_logged = !log.empty() && log[0].find(std::to_string(row) + " ") == 0;
        if (result.type == row || is_logged) rows.insert(row);
    }
    return rows;
}

/// The page of dialects: what stands in front of the families, and one text for each of them.
std::vector<std::string> SectionsOfPage() {
    std::ifstream file(RAVELIN_SOURCE_DIR "/docs/at-dialects.md");
    std::string rest((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::string mark = "\n## ";
    std::vector<std::string> sections;
    for (size_t end = rest.find(mark); end != std::string::npos; end = rest.find(mark)) {
        sections.push_back(rest.substr(0, end));
        rest.erase(0, end + mark.size());
    }
    sections.push_back(rest);
    return sections;
}

/// Whether the page shows `text` as something that is typed.
bool Shows(const std::string& section, const std::string& text) {
    return section.find("`" + text + "`") != std::string::npos;
}

/// The section that shows the family's name, or an empty text.
std::string SectionOf(const Family& family) {
    for (const std::string& section : SectionsOfPage()) {
        if (Shows(section, family.name)) return section;
    }
    return "";
}

TEST(Families, EachModelIsIdentifiedAndHasADriver) {
    for (const Family* family : modem_sim::AllFamilies()) {
        for (const modem_sim::Model& model : family->models) {
            const int vendor = Identify(*family, model.name);
            EXPECT_EQ(VendorOf(*family), vendor)
                << family->name << " " << model.name << ": another than its like";
            const std::unique_ptr<CellBase> cell(build_driver(vendor, -1));
            EXPECT_NE(nullptr, cell) << family->name << " " << model.name << ": code " << vendor;
        }
    }
}

TEST(Families, EachDriverOfTheFactoryHasItsSimulatedFamily) {
    std::multiset<int> reached;
    for (const Family* family : modem_sim::AllFamilies()) reached.insert(VendorOf(*family));
    for (int vendor = 0; vendor <= kMostVendor; ++vendor) {
        const std::unique_ptr<CellBase> cell(build_driver(vendor, -1));
        EXPECT_EQ(cell != nullptr ? 1u : 0u, reached.count(vendor)) << "code " << vendor;
    }
}

TEST(Families, EachRowOfThePrefixTableHasAReader) {
    std::set<int> read = {kHintUnknown};
    for (int vendor = 0; vendor <= kMostVendor; ++vendor) read.merge(RowsOf(vendor));
    for (int row = 0; row < kAtPrefixRows; ++row) {
        EXPECT_EQ(!IsPlaceholder(row), read.count(row) == 1) << row << " " << AtPrefixTable[row];
    }
}

TEST(Families, PageTellsTheRowsOfTheEngineInFront) {
    const std::string front = SectionsOfPage().front();
    for (int row = 0; row <= kLastBaseRow; ++row) {
        EXPECT_TRUE(Shows(front, AtPrefixTable[row])) << AtPrefixTable[row];
    }
}

TEST(Families, PageHasASectionOfEachWithAllItsRows) {
    std::set<std::string> sections;
    for (const Family* family : modem_sim::AllFamilies()) {
        const std::string section = SectionOf(*family);
        ASSERT_NE("", section) << family->name;
        EXPECT_TRUE(sections.insert(section).second) << family->name << ": in the section of another";
        for (const int row : RowsOf(VendorOf(*family))) {
            if (row <= kLastBaseRow) continue;
            EXPECT_TRUE(Shows(section, AtPrefixTable[row])) << family->name << ": " << AtPrefixTable[row];
        }
    }
}

}  // namespace
