// The table of everything that can be found, and the page that lists it.
#include "tools/doctor/catalogue.h"

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace doctor {
namespace {

std::string TextOf(const std::string& path) {
    std::ifstream file(std::string(RAVELIN_SOURCE_DIR) + "/" + path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(Catalogue, HasEachNameOnceAndOnlyGroupsThatThereAre) {
    std::set<std::string> groups;
    for (size_t i = 0; i < kGroupCount; ++i) groups.insert(kGroups[i].name);
    std::set<std::string> names;
    for (size_t i = 0; i < kComplaintCount; ++i) {
        const Complaint& row = kCatalogue[i];
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(groups.count(row.group), 1U) << row.name;
        EXPECT_EQ(FindComplaint(row.name), &row);
        EXPECT_NE(row.severity, Severity::kOk) << row.name;
    }
    EXPECT_EQ(FindComplaint("nothing"), nullptr);
}

TEST(Catalogue, IsWhatThePageLists) {
    std::vector<std::string> listed;
    std::istringstream page(TextOf("docs/ravelinctl.md"));
    bool is_here = false;
    for (std::string line; std::getline(page, line);) {
        if (line.compare(0, 2, "##") == 0) is_here = line == "### What the doctor can find";
        if (is_here && line.compare(0, 3, "| `") == 0) listed.push_back(line);
    }
    std::vector<std::string> wanted;
    for (size_t i = 0; i < kComplaintCount; ++i) {
        const Complaint& row = kCatalogue[i];
        wanted.push_back(std::string("| `") + row.name + "` | " + NameOf(row.severity) + " | " + row.why +
                         " | " + row.cure + " |");
    }
    EXPECT_EQ(listed, wanted);
}

}  // namespace
}  // namespace doctor
