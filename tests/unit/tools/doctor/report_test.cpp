// The two forms of a report.
#include "tools/doctor/report.h"

#include <sstream>

#include <gtest/gtest.h>

#include "tools/doctor/report_json.h"

namespace doctor {
namespace {

constexpr Complaint kBad = {"bad-thing", "one", Severity::kError,
                            "It breaks what depends on it, sooner or later.", "Mend it."};
constexpr Complaint kOdd = {"odd-thing", "one", Severity::kWarning, "It looks odd.", "Look at it."};
constexpr Complaint kSmall = {"small-thing", "two", Severity::kNote, "It is worth a line.", "Do nothing."};

Report SomeReport() {
    Report report;
    report.groups.push_back(
        {"one", "First group", {"a fact"}, {}, {{&kOdd, "x\033[31m\n\xFF"}, {&kBad, "the thing is bad"}}});
    report.groups.push_back({"two", "Second group", {}, {"the rest"}, {{&kSmall, "a small thing"}}});
    return report;
}

TEST(Report, HasTheStatusOfTheWorst) {
    Report report;
    EXPECT_EQ(StatusOf(report), 0);
    report.groups.push_back({"one", "One", {}, {"unseen"}, {}});
    EXPECT_EQ(StatusOf(report), 0);
    report.groups[0].findings.push_back({&kSmall, ""});
    EXPECT_EQ(StatusOf(report), 0);
    report.groups[0].findings.push_back({&kOdd, ""});
    EXPECT_EQ(StatusOf(report), 1);
    report.groups[0].findings.push_back({&kBad, ""});
    report.groups[0].findings.push_back({&kSmall, ""});
    EXPECT_EQ(StatusOf(report), 3);
}

TEST(Report, IsTextForPeople) {
    EXPECT_EQ(TextOf(SomeReport(), ctl::Terminal(), true),
              "First group: error\n"
              "  - a fact\n"
              "  warning: x\\x1B[31m\\n\\xFF [odd-thing]\n"
              "    It looks odd.\n"
              "    > Look at it.\n"
              "  error: the thing is bad [bad-thing]\n"
              "    It breaks what depends on it, sooner or later.\n"
              "    > Mend it.\n"
              "\n"
              "Second group: note\n"
              "  not seen: the rest\n"
              "  note: a small thing [small-thing]\n"
              "    It is worth a line.\n"
              "    > Do nothing.\n"
              "\n"
              "1 error, 1 warning, 1 note\n");
}

TEST(Report, LeavesOutFactsOnDemand) {
    EXPECT_EQ(TextOf(SomeReport(), ctl::Terminal(), false).find("a fact"), std::string::npos);
}

TEST(Report, FitsANarrowTerminal) {
    ctl::Terminal narrow;
    narrow.width = 40;
    std::istringstream lines(TextOf(SomeReport(), narrow, true));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 40U) << line;
}

TEST(Report, HasColourOnATerminalThatHasIt) {
    ctl::Terminal coloured;
    coloured.has_colour = true;
    const std::string text = TextOf(SomeReport(), coloured, true);
    EXPECT_NE(text.find("\033[31merror\033[0m: the thing"), std::string::npos) << text;
    EXPECT_EQ(TextOf(SomeReport(), ctl::Terminal(), true).find('\033'), std::string::npos);
}

TEST(Report, IsJsonForPrograms) {
    EXPECT_EQ(JsonOf(SomeReport()),
              R"({"worst":"error","groups":[)"
              R"({"group":"one","worst":"error","facts":["a fact"],"unseen":[],"findings":[)"
              R"({"check":"odd-thing","severity":"warning","what":"x\\x1B[31m\\n\\xFF",)"
              R"("why":"It looks odd.","cure":"Look at it."},)"
              R"({"check":"bad-thing","severity":"error","what":"the thing is bad",)"
              R"("why":"It breaks what depends on it, sooner or later.","cure":"Mend it."}]},)"
              R"({"group":"two","worst":"note","facts":[],"unseen":["the rest"],"findings":[)"
              R"({"check":"small-thing","severity":"note","what":"a small thing",)"
              R"("why":"It is worth a line.","cure":"Do nothing."}]}]})"
              "\n");
}

}  // namespace
}  // namespace doctor
