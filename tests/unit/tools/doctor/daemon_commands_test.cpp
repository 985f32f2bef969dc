// The table of programs is what the daemon really runs: every command that its sources hand to a shell.
#include "tools/doctor/daemon_commands.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace doctor {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

/// A source without its comment lines, and with texts that are broken over several lines made whole.
std::string SourceOf(const fs::path& path) {
    std::ifstream file(path);
    std::ostringstream text;
    for (std::string line; std::getline(file, line);) {
        const size_t start = line.find_first_not_of(' ');
        if (start == std::string::npos || line.compare(start, 2, "//") != 0) text << line << "\n";
    }
    return std::regex_replace(text.str(), std::regex("\"\\s*\n\\s*\""), "");
}

std::string Product() {
    std::string product;
    for (const char* folder : {"network_daemon", "CellSubClass", "support/shell.h"}) {
        const fs::path path = fs::path(RAVELIN_SOURCE_DIR) / folder;
        if (fs::is_regular_file(path)) product += SourceOf(path);
        if (!fs::is_directory(path)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            const std::string suffix = entry.path().extension();
            if (suffix == ".cpp" || suffix == ".h") product += SourceOf(entry.path());
        }
    }
    return product;
}

/// The text of a macro, such as OTA_DIRECTORY.
std::string Expanded(const std::string& product, std::string literal) {
    std::smatch macro;
    while (std::regex_search(literal, macro, std::regex("([A-Z_]{4,}) *\"|^([A-Z_]{4,})$"))) {
        const std::string name = macro[1].matched ? macro[1] : macro[2];
        std::smatch text;
        if (!std::regex_search(product, text, std::regex("#define " + name + " \"([^\"]*)\""))) break;
        literal = std::string(macro.prefix()) + std::string(text[1]) + std::string(macro.suffix());
    }
    return literal;
}

/// The first word of each part of a pipeline.
void AddPrograms(const std::string& command, Names* names) {
    std::istringstream parts(command);
    for (std::string part; std::getline(parts, part, '|');) {
        std::istringstream words(part);
        std::string word;
        if (words >> word) names->insert(word);
    }
}

void AddMatches(const std::string& text, const char* expression, Names* names) {
    const std::regex regex(expression);
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        AddPrograms((*match)[1], names);
    }
}

TEST(DaemonCommands, AreThoseOfTheSources) {
    const std::string product = Product();
    Names found = {"sh"};  // which runs them all
    size_t calls = 0;
    const std::regex call(R"((RunShell|[^_a-z]system)\(([^;]*)\);)");
    for (std::sregex_iterator match(product.begin(), product.end(), call), end; match != end; ++match) {
        const std::string arguments = (*match)[2];
        ++calls;
        AddMatches(arguments, "\"([^\"]*)\"", &found);
        const std::regex constant(R"(\bk[A-Z][A-Za-z]*\b)");
        for (std::sregex_iterator name(arguments.begin(), arguments.end(), constant), none; name != none;
             ++name) {
            std::smatch text;
            const std::string definition = name->str() + R"re(\[\] = "([^"]*)")re";
            ASSERT_TRUE(std::regex_search(product, text, std::regex(definition))) << name->str();
            AddPrograms(text[1], &found);
        }
    }
    EXPECT_GE(calls, 15U) << "is the shell still called as this test expects?";

    // What is built at run time: the probes, whose texts stand in tables, and the firmware tool.
    size_t opened = 0;
    const std::regex popen("[^p]popen\\(");
    for (std::sregex_iterator match(product.begin(), product.end(), popen), end; match != end; ++match)
        ++opened;
    EXPECT_EQ(opened, 2U) << "a new command has to be looked at, and to come into the table";
    const std::string probes = std::regex_replace(product, std::regex("\" WEB_HOST \""), "host");
    AddMatches(probes, "\\{\"(ping [^\"]*)\"", &found);
    std::smatch tool;
    ASSERT_TRUE(std::regex_search(product, tool, std::regex("kOtaTool\\[\\] = OTA_DIRECTORY \"([^\"]*)\"")));
    found.insert(Expanded(product, "OTA_DIRECTORY") + std::string(tool[1]));

    Names listed;
    for (size_t i = 0; i < kProgramCount; ++i) {
        if (kPrograms[i].of_daemon) listed.insert(kPrograms[i].name);
    }
    EXPECT_EQ(listed, found);
}

/// The column of tools on the page, for users whose name has `user`.
Names OnThePage(const std::string& user) {
    std::ifstream page(std::string(RAVELIN_SOURCE_DIR) + "/docs/board-bring-up.md");
    Names names;
    bool is_here = false;
    for (std::string line; std::getline(page, line);) {
        if (line.compare(0, 3, "## ") == 0) is_here = line == "## Tools that the board needs";
        std::smatch row;
        if (!is_here || !std::regex_match(line, row, std::regex("\\| ([^|]*) \\| ([^|]*) \\| .*"))) continue;
        if (row[2].str().find(user) == std::string::npos) continue;
        const std::string tools = row[1];
        const std::regex word("`([^`]*)`");
        for (std::sregex_iterator tool(tools.begin(), tools.end(), word), end; tool != end; ++tool) {
            names.insert((*tool)[1]);
        }
    }
    return names;
}

/// A test of its own holds that page against the scripts.
TEST(DaemonCommands, OfTheScriptsAreThoseOfThePage) {
    Names of_scripts, of_all;
    for (size_t i = 0; i < kProgramCount; ++i) {
        of_all.insert(kPrograms[i].name);
        if (!kPrograms[i].of_daemon) of_scripts.insert(kPrograms[i].name);
    }
    const Names listed = OnThePage("scripts");
    EXPECT_GE(listed.size(), 20U);
    for (const std::string& tool : listed) EXPECT_EQ(of_all.count(tool), 1U) << tool;
    for (const std::string& tool : of_scripts) EXPECT_EQ(listed.count(tool), 1U) << tool;
}

}  // namespace
}  // namespace doctor
