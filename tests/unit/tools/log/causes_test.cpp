// The words of causes and reasons: each has its text and its advice, and stands on the page that explains
// them.
#include "tools/log/causes.h"

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace ravelin_log;

std::string Page(const std::string& path) {
    std::ifstream file(std::string(RAVELIN_SOURCE_DIR "/") + path);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(Causes, EachIsThereOnceAndSaysWhatToDo) {
    const std::string page = Page("docs/explaining.md");
    std::set<std::string> words;
    for (const CauseRow& row : kCauses) {
        EXPECT_TRUE(words.insert(row.word).second) << row.word;
        EXPECT_NE(page.find("\n| `" + std::string(row.word) + "` |"), std::string::npos) << row.word;
        EXPECT_EQ(std::string(row.advice).back(), '.') << row.word;
        EXPECT_FALSE(Page(row.page).empty());
        EXPECT_EQ(CauseText(row.word), row.text);
    }
}

TEST(Causes, EachReasonIsThereOnce) {
    const std::string page = Page("docs/explaining.md");
    std::set<std::string> words;
    for (const ReasonRow& row : kReasons) {
        EXPECT_TRUE(words.insert(row.word).second) << row.word;
        EXPECT_NE(page.find("`" + std::string(row.word) + "`"), std::string::npos) << row.word;
        EXPECT_EQ(ReasonText(row.word), row.text);
    }
}

TEST(Causes, AFinerCauseKeepsTheWordsOfItsCause) {
    EXPECT_EQ(TopOf("link-down/weak-signal"), "link-down");
    EXPECT_EQ(TopOf("link-down"), "link-down");
    EXPECT_EQ(CauseText("link-down/weak-signal"), "the modem called the link down (weak-signal)");
    EXPECT_EQ(CauseText("no such word"), "no such word");
    EXPECT_EQ(ReasonText("no such word"), "no such word");
}

}  // namespace
