// All that has to know a family of modems: the words that identify it, the factory, the table of prefixes,
// the simulator, its stories, and the pages. What one of them lacks or describes otherwise is found here, and
// each failure says what to write.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "network_daemon/main.h"
#include "simulator/modem/dialect.h"
#include "simulator/virtual_time/modem_port.h"
#include "tests/support/test_world.h"
#include "tests/support/vendors.h"

using namespace cc_cell;
using modem_sim::Family;
using test_support::kVendors;
using test_support::Vendor;
using test_support::World;

namespace {

constexpr int kNoPort = -1;
constexpr int kLastBaseRow = kHintCgsn;
constexpr char kPlaceholder[] = "ReSeRvEd";
constexpr char kPort[] = "/dev/ttyUSB2";
constexpr char kDialectPage[] = "docs/at-dialects.md";

/// A simulated modem at the port of a world.
struct Desk {
    Desk(const std::string& family, const std::string& model) : port({family, model}) {
        CellBase::m_ModuleName.clear();
        world.environment().AddPort(kPort, &port);
        fd = world.environment().OpenPort(kPort);
    }
    ~Desk() {
        world.environment().RemovePort(&port);
        CellBase::m_ModuleName.clear();
    }

    World world;
    virtual_time::ModemPort port;
    int fd;
};

int Identify(const Family& family, const std::string& model) {
    Desk desk(family.name, model);
    return CheckDevType(desk.fd);
}

int VendorOf(const Family& family) {
    return Identify(family, family.models.begin()->name);
}

std::string DialectOf(const Family& family) {
    return std::string("simulator/modem/dialects/") + family.name + ".cpp";
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
        const std::unique_ptr<CellBase> cell(BuildDriver(vendor, kNoPort));
        if (cell == nullptr) return {};
        std::string text = AtPrefixTable[row];
        const AtResult result = cell->ParseAtResult(text.data());
        const std::vector<std::string> log = world.LogOf("ParseAtResult");
        const bool is_logged = !log.empty() && log[0].find(std::to_string(row) + " ") == 0;
        if (result.type == row || is_logged) rows.insert(row);
    }
    return rows;
}

/// A file of the repository; empty when it isn't there.
std::string TextOf(const std::string& path) {
    std::ifstream file(std::string(RAVELIN_SOURCE_DIR "/") + path);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// As a page shows what is typed.
std::string Quoted(const std::string& text) {
    return "`" + text + "`";
}

/// The page of dialects: what stands in front of the families, and one text for each of them.
std::vector<std::string> SectionsOfPage() {
    std::string rest = TextOf(kDialectPage);
    const std::string mark = "\n## ";
    std::vector<std::string> sections;
    for (size_t end = rest.find(mark); end != std::string::npos; end = rest.find(mark)) {
        sections.push_back(rest.substr(0, end));
        rest.erase(0, end + mark.size());
    }
    sections.push_back(rest);
    return sections;
}

/// The section that shows the family's name, or an empty text.
std::string SectionOf(const Family& family) {
    for (const std::string& section : SectionsOfPage()) {
        if (Holds(section, Quoted(family.name))) return section;
    }
    return "";
}

// Who knows whom

TEST(Families, EachModelIsIdentified) {
    for (const Family* family : modem_sim::AllFamilies()) {
        for (const modem_sim::Model& model : family->models) {
            const int vendor = Identify(*family, model.name);
            EXPECT_NE(kVendorUnknown, vendor)
                << DialectOf(*family) << " answers AT+CGMI with \"" << family->maker
                << "\", which no row of kMakers in network_daemon/cellular_identify.cpp knows";
            EXPECT_EQ(VendorOf(*family), vendor)
                << family->name << ": the model " << model.name
                << " is taken for another family: it wants a row in network_daemon/cellular_identify.cpp";
        }
    }
}

TEST(Families, EachVendorHasADriverAndOneSimulatedFamily) {
    std::map<int, std::string> names;
    for (const Family* family : modem_sim::AllFamilies()) names[VendorOf(*family)] += family->name;
    for (const Vendor& vendor : kVendors) {
        const std::unique_ptr<CellBase> cell(BuildDriver(vendor.code, kNoPort));
        EXPECT_NE(nullptr, cell) << vendor.name << " has no row in network_daemon/main_factory.cpp";
        EXPECT_NE("", names[vendor.code])
            << vendor.name << ": no simulated modem is identified as this. It wants a file in "
            << "simulator/modem/dialects/, or the row of network_daemon/cellular_identify.cpp gives another "
               "code";
        EXPECT_TRUE(names[vendor.code].empty() || modem_sim::FindFamily(names[vendor.code]) != nullptr)
            << vendor.name << " is given to more than one simulated family: " << names[vendor.code];
    }
}

TEST(Families, FactoryIncludesEachDriver) {
    const std::string factory = TextOf("network_daemon/main_factory.cpp");
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(RAVELIN_SOURCE_DIR "/CellSubClass/src")) {
        const std::string name = entry.path().filename();
        if (entry.path().extension() != ".h" || name.find("Cell") != 0 || name == "CellDriver.h") continue;
        EXPECT_TRUE(Holds(factory, "/" + name + "\""))
            << "CellSubClass/src/" << name
            << " is the header of a driver that network_daemon/main_factory.cpp "
            << "doesn't build";
        ++count;
    }
    EXPECT_GE(count, std::size(kVendors));
}

TEST(Families, EachRowOfThePrefixTableHasAReader) {
    std::set<int> read = {kHintUnknown};
    for (const Vendor& vendor : kVendors) read.merge(RowsOf(vendor.code));
    for (int row = 0; row < kAtPrefixRows; ++row) {
        if (IsPlaceholder(row)) continue;
        EXPECT_EQ(1u, read.count(row)) << "row " << row << " of network_daemon/families.def, \""
                                       << AtPrefixTable[row] << "\", stands in the table of no driver";
    }
}

TEST(Families, RowsOfADriverStandBetweenTwoGaps) {
    for (int row = kLastBaseRow + 1; row < kAtPrefixRows; ++row) {
        const std::string prefix = AtPrefixTable[row];
        const std::string before = AtPrefixTable[row - 1];
        const std::string wrong = "row " + std::to_string(row) + " of network_daemon/families.def: ";
        if (before == "ReSeRvEd") {
            EXPECT_EQ("ReSeRvEd:", prefix)
                << wrong << "a family's rows begin with GAP(number, \"ReSeRvEd:\")";
        }
        if (row == kAtPrefixRows - 1) {
            EXPECT_EQ("ReSeRvEd", prefix) << wrong << "a family's rows end with GAP(number, \"ReSeRvEd\")";
        }
    }
}

// What a driver and its modem say to each other

/// From the identification to the end of a call, with all that a driver asks in between.
TEST(Families, EachDriverAndItsSimulatedModemUnderstandEachOther) {
    constexpr int kConnectSteps = 20;
    for (const Family* family : modem_sim::AllFamilies()) {
        for (const modem_sim::Model& model : family->models) {
            const std::string who = std::string(family->name) + " " + model.name + ": ";
            Desk desk(family->name, model.name);
            const int vendor = CheckDevType(desk.fd);
            const std::unique_ptr<CellBase> cell(BuildDriver(vendor, desk.fd));
            if (cell == nullptr) continue;  // said above
            TellVendor(*cell, vendor);
            EXPECT_EQ(1, cell->Initialize()) << who << "Initialize";
            EXPECT_STRNE("", cell->m_vendor_name) << who << "Initialize doesn't fill m_vendor_name";
            EXPECT_STRNE("", cell->m_fw_version) << who << "Initialize doesn't fill m_fw_version";
            EXPECT_EQ(kSimReady, cell->CheckSimCard()) << who << "CheckSimCard";
            EXPECT_TRUE(Holds(cell->m_csIMEI, family->imei)) << who << "IMEI " << cell->m_csIMEI;
            EXPECT_STRNE("", cell->m_card_imsi) << who << "no IMSI";
            EXPECT_STRNE("", cell->m_card_iccid) << who << "no ICCID";
            EXPECT_STRNE("", cell->m_carrier) << who << "no carrier";

            for (int i = 0; i < kConnectSteps && cell->m_online == 0; ++i) cell->Connect();
            EXPECT_EQ(1, cell->m_online) << who << "Connect doesn't bring the link up";
            EXPECT_NE(0, cell->CheckConnection()) << who << "CheckConnection while the link is up";
            EXPECT_EQ(1, cell->ReadCSQ()) << who << "ReadCSQ";
            cell->CheckTempStatus();
            cell->CheckSignalStatus();
            cell->CheckNeighbourSignal();
            cell->DisConnect();
            EXPECT_EQ(0, cell->CheckConnection()) << who << "CheckConnection after DisConnect";

            for (const std::string& command : desk.port.modem().unknown_commands()) {
                ADD_FAILURE() << who << "the driver sends " << command << ", for which " << DialectOf(*family)
                              << " has no row";
            }
        }
    }
}

TEST(Families, EachRowTakesWhateverComesAfterItsPrefix) {
    const std::string endings[] = {
        "",
        "\r\n\r\nOK\r\n",
        " 1\r\n\r\nOK\r\n",
        " 99999999999999999999,-1,+,0x1,1.5",
        ",,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,",
        "\"\",\"\",\"\",\"\",\"",
        "%s%n%d,%s%n%d",
        "\x80\xFF,\xFE\n\xFF\r",
        std::string(kAnswerLimit, '7'),
        std::string(kAnswerLimit, ','),
        std::string(kAnswerLimit, '"'),
    };
    for (const Vendor& vendor : kVendors) {
        World world;
        const std::unique_ptr<CellBase> cell(BuildDriver(vendor.code, kNoPort));
        if (cell == nullptr) continue;  // said above
        for (int row = 0; row < kAtPrefixRows; ++row) {
            for (const std::string& ending : endings) {
                // A block of its own size, so that a sanitizer sees a look beyond the end.
                const std::string text = (AtPrefixTable[row] + ending).substr(0, kAnswerLimit);
                const std::unique_ptr<char[]> block(new char[text.size() + 1]);
                text.copy(block.get(), text.size());
                block[text.size()] = '\0';
                const AtResult result = cell->ParseAtResult(block.get());
                EXPECT_TRUE(result.type >= 0 && result.type < kAtPrefixRows) << vendor.name << ": " << text;
                EXPECT_LT(strnlen(cell->m_NetworkType, sizeof cell->m_NetworkType),
                          sizeof cell->m_NetworkType)
                    << vendor.name << ": " << text;
            }
        }
    }
}

// What has to be written for each

TEST(Families, EachHasItsTwoStories) {
    const struct {
        const char* name;
        const char* what;
    } stories[] = {{"start_to_online", "from power-on to online"},
                   {"link_lost", "the ladder to the hardware reset and back"}};
    for (const Family* family : modem_sim::AllFamilies()) {
        for (const auto& story : stories) {
            const std::string path =
                std::string("tests/scenarios/") + family->name + "_" + story.name + ".scenario";
            const std::string text = TextOf(path);
            EXPECT_NE("", text) << path << " is missing: " << story.what;
            EXPECT_TRUE(text.empty() || Holds(text, std::string("\nmodem ") + family->name))
                << path << " has no line `modem " << family->name << "`";
        }
    }
}

TEST(Families, PageTellsTheRowsOfTheEngineInFront) {
    const std::string front = SectionsOfPage().front();
    for (int row = 0; row <= kLastBaseRow; ++row) {
        EXPECT_TRUE(Holds(front, Quoted(AtPrefixTable[row])))
            << kDialectPage << " doesn't show " << Quoted(AtPrefixTable[row]) << " in front of the families";
    }
}

TEST(Families, PageHasASectionOfEachWithAllItsRows) {
    std::set<std::string> sections;
    for (const Family* family : modem_sim::AllFamilies()) {
        const std::string section = SectionOf(*family);
        if (section.empty()) {
            ADD_FAILURE() << kDialectPage << " has no section with \"simulated as " << Quoted(family->name)
                          << "\": what the driver asks this modem, and what it reads";
            continue;
        }
        EXPECT_TRUE(sections.insert(section).second)
            << kDialectPage << ": " << family->name << " is in the section of another family";
        for (const int row : RowsOf(VendorOf(*family))) {
            if (row <= kLastBaseRow) continue;
            const std::string shown = std::to_string(row) + " " + Quoted(AtPrefixTable[row]);
            EXPECT_TRUE(Holds(section, shown)) << kDialectPage << ": the section of " << family->name
                                               << " doesn't show \"row " << shown << "\"";
        }
    }
}

TEST(Families, PageOfTheLogNamesEachVendorThatIsLogged) {
    const std::string page = TextOf("docs/log.md");
    const size_t line = page.find("| `\"GetVendorType=%d!");
    ASSERT_NE(std::string::npos, line);
    const std::string codes = page.substr(line, page.find('\n', line) - line);
    for (const Family* family : modem_sim::AllFamilies()) {
        const int vendor = VendorOf(*family);
        World world;
        const std::unique_ptr<CellBase> cell(BuildDriver(vendor, kNoPort));
        if (cell == nullptr) continue;  // said above
        TellVendor(*cell, vendor);
        const std::string code = std::to_string(vendor) + " " + Quoted(family->name);
        EXPECT_EQ(cell->m_vendor_type != kVendorUnknown, Holds(codes, code))
            << "docs/log.md: the line of \"GetVendorType=%d!\" shows " << code
            << " if network_daemon/main_factory.cpp tells the driver its vendor, and only then";
    }
}

}  // namespace
