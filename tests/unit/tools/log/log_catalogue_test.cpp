// The table of what lines mean: each row finds the messages that its text makes, from its functions and no
// others; and the page on recovery quotes no text that the table doesn't know.
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tools/log/catalogue.h"

namespace ravelin_log {
namespace {

Line Message(const std::string& function, const std::string& message) {
    static std::set<std::string> kept;  // what a line points to
    Line line;
    line.kind = Line::Kind::kSaid;
    if (!function.empty()) line.place = {"network_daemon/x.cpp", *kept.insert(function).first, 1};
    line.message = *kept.insert(message).first;
    return line;
}

/// What the daemon would print for a text of its code.
std::string Printed(const std::string& format) {
    std::string text;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            text += format[i];
            continue;
        }
        ++i;
        text += format[i] == 's' ? "a b" : "7";
    }
    return text;
}

TEST(Catalogue, FindsWhatEachRowSays) {
    size_t count = 0;
    const CatalogueRow* rows = Catalogue(&count);
    ASSERT_GE(count, 80U);
    for (size_t i = 0; i < count; ++i) {
        std::istringstream functions(rows[i].functions);
        std::string function;
        int told = 0;
        while (functions >> function) {
            ++told;
            const Said said = Understand(Message(function, Printed(rows[i].text)));
            EXPECT_EQ(said.event, rows[i].event) << rows[i].text << " by " << function;
        }
        EXPECT_GE(told, 1) << rows[i].text;
        EXPECT_EQ(Understand(Message("StoreSms", Printed(rows[i].text))).event, Event::kNone) << rows[i].text;
        EXPECT_STRNE(rows[i].meaning, "");
    }
}

TEST(Catalogue, BelievesAForwardedMessageWithoutItsFunction) {
    EXPECT_EQ(Understand(Message("", "No response! Reset device...")).event, Event::kMute);
    EXPECT_EQ(Understand(Message("", "[RAVELIN] get ocpp msg id=a cmd=7603 length=0")).event,
              Event::kStatusQuery);
}

TEST(Catalogue, BelievesNoText) {
    Line line = Message("Task", "No response! Reset device...");
    line.kind = Line::Kind::kText;
    EXPECT_EQ(Understand(line).event, Event::kNone);
    line.kind = Line::Kind::kOther;
    EXPECT_EQ(Understand(line).event, Event::kNone);
}

TEST(Catalogue, TakesTheNumbers) {
    const Said check = Understand(Message("Task", "Check connection. offline 11/10 times"));
    ASSERT_EQ(check.numbers, 1);
    EXPECT_EQ(check.number[0], 11);
    const Said registration = Understand(Message("ParseAtResult", "CEREG :0 3"));
    ASSERT_EQ(registration.numbers, 2);
    EXPECT_EQ(registration.number[1], 3);
    EXPECT_EQ(Understand(Message("ParseAtResult", "CEREG :x 3")).event, Event::kNone);
    EXPECT_EQ(Understand(Message("CheckSignalStatus",
                                 "Band change: last band[3] rsrp[-95], current band[7] rsrp[-118]"))
                  .text,
              "-118");
}

TEST(Catalogue, TakesWhatTheDhcpClientsScriptSays) {
    const Said said = Understand(Message("thread_function_pipe", "udhcpc wwan0 leasefail"));
    EXPECT_EQ(said.event, Event::kDhcpClient);
    EXPECT_EQ(said.text, "udhcpc wwan0 leasefail");
    EXPECT_EQ(Understand(Message("", "udhcpc wwan0 leasefail")).event, Event::kDhcpClient);
    EXPECT_EQ(Understand(Message("thread_function_pipe", "[FIFO]fifo msg:udhcpc wwan0 leasefail ")).event,
              Event::kNone);
}

TEST(Catalogue, FindsWhatEachReadingSays) {
    size_t count = 0;
    const ReadingRow* rows = ReadingCatalogue(&count);
    ASSERT_GE(count, 9U);
    for (size_t i = 0; i < count; ++i) {
        std::string text = Printed(rows[i].text);
        for (size_t at = text.find("a b"); at != std::string::npos; at = text.find("a b"))
            text.replace(at, 3, "-7");
        const bool is_power = rows[i].measure == Measure::kRsrp;
        for (size_t at = text.find("7"); is_power && at != std::string::npos; at = text.find("7", at + 3)) {
            text.replace(at, 1, text[at - 1] == '-' ? "77" : "-77");
        }
        std::istringstream functions(rows[i].functions);
        std::string function;
        while (functions >> function) {
            EXPECT_EQ(UnderstandReading(Message(function, text)).measure, rows[i].measure) << text;
        }
        EXPECT_EQ(UnderstandReading(Message("StoreSms", text)).measure, Measure::kNone) << text;
        // The daemon still has this text.
        const std::string command = std::string("grep -rqF '\"") + rows[i].text +
                                    "' '" RAVELIN_SOURCE_DIR "/network_daemon' '" RAVELIN_SOURCE_DIR
                                    "/CellSubClass'";
        EXPECT_EQ(system(command.c_str()), 0) << rows[i].text;
    }
}

TEST(Catalogue, KnowsWhatThePageOnRecoveryQuotes) {
    // Texts of level 7, and one that the code never reaches.
    const std::set<std::string> left_out = {
        "m_CSQ_weak_check_times= %d", "isSoftReset? LastOFFLINE:%d,OFFLINE:%d",
        "Ping Check failed and firstly Soft reset when rsrp[%d] is not poor,check %d times!",
        "Task SetATPort %s", "Check service status."};
    std::ifstream file(RAVELIN_SOURCE_DIR "/docs/recovery.md");
    const std::string page((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    size_t count = 0;
    const CatalogueRow* rows = Catalogue(&count);
    int quoted = 0;
    for (size_t at = page.find("`\""); at != std::string::npos; at = page.find("`\"", at + 2)) {
        const size_t end = page.find("\"`", at + 2);
        ASSERT_NE(end, std::string::npos);
        const std::string text = page.substr(at + 2, end - at - 2);
        ++quoted;
        bool is_known = left_out.count(text) > 0;
        for (size_t i = 0; i < count; ++i) is_known |= std::string(rows[i].text).rfind(text, 0) == 0;
        EXPECT_TRUE(is_known) << text;
    }
    EXPECT_GE(quoted, 50);
}

}  // namespace
}  // namespace ravelin_log
