// JSON of texts that others wrote.
#include "tools/ctl/json.h"

#include <gtest/gtest.h>

namespace {

TEST(Json, TextsAreValidWhateverTheyHold) {
    EXPECT_EQ(ctl::Utf8Of("plain"), "plain");
    EXPECT_EQ(ctl::Utf8Of("\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"),
              "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(ctl::Utf8Of("\xFF\xE9"), "\xC3\xBF\xC3\xA9") << "not UTF-8: the characters of these numbers";
    EXPECT_EQ(ctl::Utf8Of("\xC3"), "\xC3\x83") << "cut";
    EXPECT_EQ(ctl::Utf8Of("\xC0\x80"), "\xC3\x80\xC2\x80") << "spelt too long";
    EXPECT_EQ(ctl::Utf8Of("\xE0\x80\x80"), "\xC3\xA0\xC2\x80\xC2\x80");
    EXPECT_EQ(ctl::Utf8Of("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xC2\x80") << "half of a pair";
    EXPECT_EQ(ctl::Utf8Of("\xF4\x90\x80\x80").size(), 8u) << "beyond the last character";
    EXPECT_EQ(ctl::Utf8Of(""), "");
}

TEST(Json, ControlsAndQuotesAreEscaped) {
    rapidjson::Document document(rapidjson::kObjectType);
    document.AddMember("a", ctl::JsonText(std::string("\"\\\n\033\0x", 6), document),
                       document.GetAllocator());
    EXPECT_EQ(ctl::JsonLine(document), "{\"a\":\"\\\"\\\\\\n\\u001B\\u0000x\"}\n");
    EXPECT_EQ(ctl::JsonPage(document), "{\n    \"a\": \"\\\"\\\\\\n\\u001B\\u0000x\"\n}\n");
}

}  // namespace
