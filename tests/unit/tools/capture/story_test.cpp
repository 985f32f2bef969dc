#include "tools/capture/story.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using capture::Event;
using capture::Story;
using capture::Transcript;

Event Of(Event::Kind kind, int64_t at_ms, const std::string& subject, const std::string& text) {
    Event event;
    event.kind = kind;
    event.at_ms = at_ms;
    event.before_ms = at_ms - 1001;
    event.subject = subject;
    event.text = text;
    return event;
}

Transcript Base() {
    Transcript transcript;
    transcript.has_start = transcript.has_identification = transcript.has_exchanges = true;
    transcript.family = "zte";
    transcript.end_ms = 20000;
    return transcript;
}

std::string Told(const Transcript& transcript) {
    const Story story = capture::WriteStory(transcript, {});
    EXPECT_EQ(story.problem, "");
    return story.text;
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Story, TellsAnAnswerOnceAndItsChanges) {
    Transcript transcript = Base();
    transcript.events = {Of(Event::Kind::kAsk, 2000, "AT+CSQ", "\r\nA\r\n"),
                         Of(Event::Kind::kAsk, 6000, "AT+CSQ", "\r\nA\r\n"),
                         Of(Event::Kind::kAsk, 9000, "AT+CSQ", "\r\nB\r\n")};
    const std::string text = Told(transcript);
    EXPECT_TRUE(Has(text, "knob answer AT+CSQ = \\r\\nA\\r\\n\n")) << text;
    EXPECT_TRUE(Has(text, "at 6.549 answer AT+CSQ = \\r\\nB\\r\\n\n")) << text;
}

TEST(Story, AModemThatIsSilentIsMute) {
    Transcript transcript = Base();
    transcript.events = {
        Of(Event::Kind::kAsk, 2000, "AT+CSQ", "\r\nA\r\n"), Of(Event::Kind::kAsk, 6000, "AT+CSQ", ""),
        Of(Event::Kind::kAsk, 8000, "AT+CIMI", ""), Of(Event::Kind::kAsk, 10000, "AT+CSQ", ""),
        Of(Event::Kind::kAsk, 14000, "AT+CSQ", "\r\nA\r\n")};
    const std::string text = Told(transcript);
    EXPECT_TRUE(Has(text, " mute on\n")) << text;
    EXPECT_TRUE(Has(text, " mute off\n")) << text;
    EXPECT_FALSE(Has(text, "AT+CIMI")) << text;
}

// Nothing that stands in the log becomes a statement.
TEST(Story, TextsStayTexts) {
    const std::string hostile = "x\r\nat 1 unplug\nuntil 1\n    APN=y <300*z> \" \\";
    Transcript transcript = Base();
    transcript.events = {Of(Event::Kind::kAsk, 2000, "AT+CSQ", hostile),
                         Of(Event::Kind::kHeard, 4000, "hint", hostile),
                         Of(Event::Kind::kFifo, 5000, "", hostile),
                         Of(Event::Kind::kPing, 6000, "ping", hostile),
                         Of(Event::Kind::kDecision, 7000, "Task", hostile),
                         Of(Event::Kind::kAsk, 8000, "AT+X = 1\nuntil 2", "OK")};
    capture::StoryOptions options;
    options.source = "a\nuntil 3\n";
    const std::string text = capture::WriteStory(transcript, options).text;
    size_t untils = 0;
    for (size_t at = text.find("\nuntil "); at != std::string::npos; at = text.find("\nuntil ", at + 1))
        ++untils;
    EXPECT_EQ(untils, 1u) << text;
    EXPECT_FALSE(Has(text, "\nat 1 unplug")) << text;
    EXPECT_FALSE(Has(text, "\n    APN=y")) << text;
    EXPECT_TRUE(Has(text, "<1*<>300*z>")) << text;
}

TEST(Story, BytesAsTheLanguageWantsThem) {
    EXPECT_EQ(capture::KnobText(" a\r\n "), "\\x20a\\r\\n\\x20");
    EXPECT_EQ(capture::KnobText(" "), "\\x20");
    EXPECT_EQ(capture::QuotedText("a\"b\n"), "\"a\\\"b\\n\"");
    EXPECT_EQ(capture::PlainText("<3*x>"), "\"<1*<>3*x>\"");
}

TEST(Story, SaysWhatIsMissing) {
    Transcript transcript = Base();
    transcript.has_start = transcript.has_exchanges = false;
    const Story story = capture::WriteStory(transcript, {});
    ASSERT_GE(story.losses.size(), 2u);
    EXPECT_TRUE(Has(story.losses[0], "begins after the daemon's start"));
    EXPECT_TRUE(Has(story.losses[1], "level 7 is needed"));
    transcript.family.clear();
    EXPECT_TRUE(Has(capture::WriteStory(transcript, {}).problem, "--family"));
}

TEST(Story, ARunThatIsKilledIsStartedAgain) {
    Transcript transcript = Base();
    transcript.events = {Of(Event::Kind::kStart, 0, "", ""), Of(Event::Kind::kAsk, 2000, "AT", "OK"),
                         Of(Event::Kind::kStart, 9000, "", "")};
    const std::string text = Told(transcript);
    EXPECT_TRUE(Has(text, "supervise 1.000\n")) << text;
    EXPECT_TRUE(Has(text, "at 8.000 kill kill\n")) << text;
}

TEST(Story, NoTextOfTheLogBecomesAStatement) {
    const std::string sly = "/dev/x\nuntil\t1";
    Transcript transcript = Base();
    transcript.device = transcript.module = transcript.config = transcript.script = sly;
    Event found = Of(Event::Kind::kPortFound, 5000, sly, "");
    transcript.events = {found, Of(Event::Kind::kAsk, 9000, "AT+CSQ\nuntil 2", "A"),
                         Of(Event::Kind::kFifo, 9500, "", "x\nuntil 3")};
    const std::string text = Told(transcript);
    EXPECT_EQ(text.find("\nuntil"), text.rfind("\nuntil")) << text;
    EXPECT_TRUE(Has(text, "\nuntil 21.000\n")) << text;
}

}  // namespace
