#include "network_daemon/config/NetworkJson.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace {
int flushes_of_output = 0;
}  // namespace

extern "C" int __real_fflush(FILE* stream);
extern "C" int __wrap_fflush(FILE* stream) {
    if (stream == stdout) ++flushes_of_output;
    return __real_fflush(stream);
}

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

const std::string kWorkedFile = RAVELIN_SOURCE_DIR "/packaging/board/network.json";
const std::string kWorkedDump = RAVELIN_SOURCE_DIR "/tests/data/network_dump.txt";

std::string DumpOf(const NetworkJson& model) {
    testing::internal::CaptureStdout();
    model.Dump();
    return testing::internal::GetCapturedStdout();
}

/// Reads `text` into a fresh model; the test goes on only if that was usable.
NetworkJson Read(const std::string& text) {
    NetworkJson model;
    EXPECT_EQ(1, model.FromJsonText(text)) << text;
    return model;
}

NetworkJson ReadConfig(const std::string& network_config) {
    return Read("{\"network_config\":" + network_config + "}");
}

using Texts = std::vector<std::string>;

TEST(NetworkJson, EachLineOfTheDumpIsFlushed) {
    testing::internal::CaptureStdout();
    flushes_of_output = 0;
    NetworkJson{}.Dump();
    const int flushes = flushes_of_output;
    const std::string dump = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), flushes);
    EXPECT_LT(10, flushes);
}

TEST(NetworkJson, ArrayAsRootGivesZeroAndAnEmptyDump) {
    NetworkJson model;
    EXPECT_EQ(0, model.FromJsonText("[]"));
    EXPECT_EQ(DumpOf(NetworkJson{}), DumpOf(model));
}

TEST(NetworkJson, RootThatIsNoObjectTouchesNothing) {
    NetworkJson model = Read("{\"customer_name\":\"old\"}");
    for (const char* text : {"[]", "null", "1", "\"x\"", "true", "", "{", "{} {}"}) {
        EXPECT_EQ(0, model.FromJsonText(text)) << text;
        EXPECT_EQ("old", model.customer_name) << text;
    }
}

TEST(NetworkJson, ParseErrorCountsEvenWithAnObjectInTheDocument) {
    rapidjson::Document document;
    document.Parse("{\"customer_name\":\"x\"}");
    document.Parse("{");
    ASSERT_TRUE(document.IsObject());  // what the former text left
    NetworkJson model;
    EXPECT_EQ(0, model.FromJson(document));
    EXPECT_EQ("", model.customer_name);
}

TEST(NetworkJson, EmptyObjectGivesOneAndEmptiesEveryField) {
    NetworkJson model = Read("{}");
    EXPECT_EQ(DumpOf(NetworkJson{}), DumpOf(model));
    EXPECT_TRUE(model.whitelist.allowedValues.empty());
}

TEST(NetworkJson, CustomerNameAsNumberStaysEmptyAndTheRestReadsOn) {
    const NetworkJson model = Read(R"({"customer_name":7,"product_name":"p"})");
    EXPECT_EQ("", model.customer_name);
    EXPECT_EQ("p", model.product_name);
}

TEST(NetworkJson, CustomerNameAsNullIsEmpty) {
    NetworkJson model = Read(R"({"customer_name":"old"})");
    EXPECT_EQ(1, model.FromJsonText(R"({"customer_name":null})"));
    EXPECT_EQ("", model.customer_name);
}

TEST(NetworkJson, ModuleNameTakesOnlyTextsThatAreNotEmpty) {
    EXPECT_EQ(Texts{"EC200A"}, Read(R"({"module_name":["",5,"EC200A"]})").module_name);
}

TEST(NetworkJson, WhitelistAsArrayIsIgnored) {
    EXPECT_TRUE(Read(R"({"whitelist":["a"]})").whitelist.allowedValues.empty());
}

TEST(NetworkJson, WhitelistWithoutModuleNameReadsNothing) {
    EXPECT_TRUE(Read(R"({"whitelist":{"userSettings":{}}})").whitelist.allowedValues.empty());
}

TEST(NetworkJsonDeathTest, PriorityWithANumberAborts) {
    NetworkJson model;
    const std::string text = R"({"network_config":{"priority":{"a":"1","b":2}}})";
    EXPECT_EXIT(model.FromJsonText(text), testing::KilledBySignal(SIGABRT),
                "Assertion `IsString\\(\\)' failed");
}

TEST(NetworkJsonDeathTest, PriorityWithAnyOtherTypeAbortsToo) {
    for (const char* value : {"null", "true", "false", "{}", "[]", "[\"x\"]", "1.5"}) {
        NetworkJson model;
        const std::string text =
            std::string(R"({"network_config":{"priority":{"a":"1","a":)") + value + "}}}";
        EXPECT_EXIT(model.FromJsonText(text), testing::KilledBySignal(SIGABRT), "IsString") << value;
    }
}

TEST(NetworkJson, PriorityIsDumpedInKeyOrder) {
    const std::string dump = DumpOf(ReadConfig(R"({"priority":{"b":"1","a":"2"}})"));
    EXPECT_NE(std::string::npos, dump.find("\n  priority: \n     a: 2\n     b: 1\nLteConfig: \n")) << dump;
}

TEST(NetworkJson, PriorityOrdersBytewise) {
    const NetworkJson model = ReadConfig(R"({"priority":{"é":"4","a":"3","Z":"2","":"1"}})");
    Texts values;
    for (const auto& entry : model.network_config.priority) values.push_back(entry.second);
    EXPECT_EQ((Texts{"1", "2", "3", "4"}), values);
}

TEST(NetworkJson, LteAsTextStaysAndAsNullIsEmptied) {
    NetworkJson model =
        ReadConfig(R"({"lte":{"enable":"e","apn":"a","username":"u","passwd":"p","pin":"n"}})");
    ASSERT_EQ(1, model.FromJsonText(R"({"network_config":{"lte":"text"}})"));
    const LteConfig& lte = model.network_config.lte;
    EXPECT_EQ("eaupn", lte.enable + lte.apn + lte.username + lte.passwd + lte.pin);
    ASSERT_EQ(1, model.FromJsonText(R"({"network_config":{"lte":null}})"));
    EXPECT_EQ("", lte.enable + lte.apn + lte.username + lte.passwd + lte.pin);
}

TEST(NetworkJson, EscapedNulEndsFieldsAndListElements) {
    const NetworkJson model = Read(R"({"customer_name":"ab\u0000cd","module_name":["x\u0000y","\u0000z"],
        "whitelist":{"userSettings":{"moduleName":{"allowedValues":["\u0000","m\u0000n"]}}},
        "network_config":{"lte":{"apn":"\u0000a"},"priority":{"k\u0000l":"v\u0000w","k":"second"}}})");
    EXPECT_EQ("ab", model.customer_name);
    EXPECT_EQ(Texts{"x"}, model.module_name);
    EXPECT_EQ(Texts{"m"}, model.whitelist.allowedValues);
    EXPECT_EQ("", model.network_config.lte.apn);
    EXPECT_EQ((std::map<std::string, std::string>{{"k", "v"}}), model.network_config.priority);
}

TEST(NetworkJson, KeyWithEscapedNulIsAnotherKey) {
    EXPECT_EQ("", Read(R"({"customer_name\u0000":"x"})").customer_name);
}

TEST(NetworkJson, FirstOfTwoEqualKeysIsTaken) {
    const NetworkJson model = Read(R"({"customer_name":"first","customer_name":"second",
        "network_config":{"priority":{"k":"1","k":"2"}},"network_config":{"work_mode":"x"}})");
    EXPECT_EQ("first", model.customer_name);
    EXPECT_EQ("1", model.network_config.priority.at("k"));
    EXPECT_EQ("", model.network_config.work_mode);
}

TEST(NetworkJson, KeysAreComparedWithCase) {
    EXPECT_EQ("", Read(R"({"Customer_Name":"x"})").customer_name);
    EXPECT_EQ("", ReadConfig(R"({"currentmode":"x"})").network_config.CurrentMode);
}

/// What a value does to a text field that held "old".
struct TextRule {
    const char* value;  // null: the key is missing
    const char* expected;
};

const TextRule kTextRules[] = {{nullptr, ""}, {"null", ""},   {"\"new\"", "new"},  {"\"\"", ""},
                               {"1", "old"},  {"1.5", "old"}, {"true", "old"},     {"false", "old"},
                               {"{}", "old"}, {"[]", "old"},  {"[\"new\"]", "old"}};

/// `wrap` puts the object that holds the field under test into its place in the file.
template <typename Wrap>
void ExpectTextRules(const std::string& key, std::string& field, NetworkJson& model, Wrap wrap) {
    for (const TextRule& rule : kTextRules) {
        field = "old";
        const std::string object = rule.value == nullptr ? "{}" : "{\"" + key + "\":" + rule.value + "}";
        ASSERT_EQ(1, model.FromJsonText(wrap(object))) << object;
        EXPECT_EQ(rule.expected, field) << wrap(object);
    }
}

TEST(NetworkJson, EveryTextOfTheRootFollowsTheRules) {
    NetworkJson model;
    for (const auto& field : NetworkJson::kFields) {
        ExpectTextRules(field.key, model.*field.member, model, [](const std::string& o) { return o; });
    }
}

TEST(NetworkJson, EveryTextOfTheNetworkConfigFollowsTheRules) {
    NetworkJson model;
    for (const auto& field : NetworkConfig::kFields) {
        ExpectTextRules(field.key, model.network_config.*field.member, model,
                        [](const std::string& o) { return "{\"network_config\":" + o + "}"; });
    }
}

TEST(NetworkJson, EveryTextOfEveryRecordFollowsTheRules) {
    NetworkJson model;
    int records = 0;
    NetworkConfig::ForEachRecord(model.network_config, [&](const std::string& name, auto& record) {
        ++records;
        for (const auto& field : std::decay_t<decltype(record)>::kFields) {
            ExpectTextRules(field.key, record.*field.member, model, [&](const std::string& o) {
                return "{\"network_config\":{\"" + name + "\":" + o + "}}";
            });
        }
    });
    EXPECT_EQ(9, records);
}

TEST(NetworkJson, EveryRecordFollowsTheRules) {
    NetworkJson model;
    NetworkConfig::ForEachRecord(model.network_config, [&](const std::string& name, auto& record) {
        for (const TextRule& rule : kTextRules) {
            const bool is_object = rule.value != nullptr && std::string(rule.value) == "{}";
            const bool emptied = rule.value == nullptr || std::string(rule.value) == "null" || is_object;
            for (const auto& field : std::decay_t<decltype(record)>::kFields) record.*field.member = "old";
            const std::string config = rule.value == nullptr ? "{}" : "{\"" + name + "\":" + rule.value + "}";
            ASSERT_EQ(1, model.FromJsonText("{\"network_config\":" + config + "}"));
            for (const auto& field : std::decay_t<decltype(record)>::kFields) {
                EXPECT_EQ(emptied ? "" : "old", record.*field.member) << config << " " << field.key;
            }
        }
    });
}

TEST(NetworkJson, ModuleNameIsEmptiedByEverythingButAnArray) {
    NetworkJson model;
    for (const TextRule& rule : kTextRules) {
        model.module_name = {"old"};
        const std::string text =
            rule.value == nullptr ? "{}" : std::string("{\"module_name\":") + rule.value + "}";
        ASSERT_EQ(1, model.FromJsonText(text));
        const bool one = rule.value != nullptr && std::string(rule.value) == "[\"new\"]";
        EXPECT_EQ(one ? Texts{"new"} : Texts{}, model.module_name) << text;
    }
}

struct WhitelistCase {
    const char* whitelist;
    Texts expected;
};

TEST(NetworkJson, WhitelistChangesOnlyBehindItsThreeObjects) {
    const WhitelistCase cases[] = {
        {"null", {"old"}},
        {"1", {"old"}},
        {"\"x\"", {"old"}},
        {"[]", {"old"}},
        {"{}", {"old"}},
        {R"({"userSettings":null})", {"old"}},
        {R"({"userSettings":[]})", {"old"}},
        {R"({"userSettings":{}})", {"old"}},
        {R"({"userSettings":{"moduleName":null}})", {"old"}},
        {R"({"userSettings":{"moduleName":"x"}})", {"old"}},
        {R"({"userSettings":{"moduleName":{}}})", {}},
        {R"({"userSettings":{"moduleName":{"allowedValues":null}}})", {}},
        {R"({"userSettings":{"moduleName":{"allowedValues":"x"}}})", {}},
        {R"({"userSettings":{"moduleName":{"allowedValues":{}}}})", {}},
        {R"({"userSettings":{"moduleName":{"allowedValues":[]}}})", {}},
        {R"({"userSettings":{"moduleName":{"allowedValues":["b",null,"",1,"a","b"]}}})", {"b", "a", "b"}},
    };
    for (const WhitelistCase& test : cases) {
        NetworkJson model;
        model.whitelist.allowedValues = {"old"};
        ASSERT_EQ(1, model.FromJsonText(std::string("{\"whitelist\":") + test.whitelist + "}"));
        EXPECT_EQ(test.expected, model.whitelist.allowedValues) << test.whitelist;
    }
    NetworkJson model;
    model.whitelist.allowedValues = {"old"};
    ASSERT_EQ(1, model.FromJsonText("{}"));
    EXPECT_EQ(Texts{"old"}, model.whitelist.allowedValues);
}

TEST(NetworkJson, NetworkConfigThatIsNoObjectStays) {
    for (const char* value : {"null", "1", "\"x\"", "[]", "true"}) {
        NetworkJson model = ReadConfig(R"({"work_mode":"old","lte":{"apn":"a"}})");
        ASSERT_EQ(1, model.FromJsonText(std::string("{\"network_config\":") + value + "}"));
        EXPECT_EQ("old", model.network_config.work_mode) << value;
        EXPECT_EQ("a", model.network_config.lte.apn) << value;
    }
    NetworkJson model = ReadConfig(R"({"work_mode":"old"})");
    ASSERT_EQ(1, model.FromJsonText("{}"));
    EXPECT_EQ("old", model.network_config.work_mode);
}

TEST(NetworkJson, PriorityThatIsNoObjectStaysAndAnObjectReplacesIt) {
    NetworkJson model;
    for (const char* config : {"{}", R"({"priority":null})", R"({"priority":"x"})", R"({"priority":[1]})"}) {
        model.network_config.priority = {{"k", "v"}};
        ASSERT_EQ(1, model.FromJsonText(std::string("{\"network_config\":") + config + "}"));
        EXPECT_EQ(1u, model.network_config.priority.size()) << config;
    }
    ASSERT_EQ(1, model.FromJsonText(R"({"network_config":{"priority":{}}})"));
    EXPECT_TRUE(model.network_config.priority.empty());
}

TEST(NetworkJson, DumpOfTheWorkedFileIsTheGoldenOne) {
    EXPECT_EQ(ReadFile(kWorkedDump), DumpOf(Read(ReadFile(kWorkedFile))));
}

TEST(NetworkJson, WorkedFileHasEveryKey) {
    const NetworkJson model = Read(ReadFile(kWorkedFile));
    for (const auto& field : NetworkJson::kFields) EXPECT_NE("", model.*field.member) << field.key;
    EXPECT_FALSE(model.module_name.empty());
    EXPECT_FALSE(model.whitelist.allowedValues.empty());
    EXPECT_FALSE(model.network_config.priority.empty());
    for (const auto& field : NetworkConfig::kFields) {
        EXPECT_NE("", model.network_config.*field.member) << field.key;
    }
    NetworkConfig::ForEachRecord(model.network_config, [](const std::string& name, const auto& record) {
        for (const auto& field : std::decay_t<decltype(record)>::kFields) {
            EXPECT_NE("", record.*field.member) << name << " " << field.key;
        }
    });
}

/// Whether one line of `text` names the key and the record that it belongs to, both in code spelling.
bool LineNames(const std::string& text, const std::string& record, const std::string& key) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool has_record = line.find("network_config." + record + "`") != std::string::npos ||
                                line.find("`." + record + "`") != std::string::npos;
        if (has_record && line.find("`" + key + "`") != std::string::npos) return true;
    }
    return false;
}

TEST(NetworkJson, DocumentationNamesEveryKey) {
    const std::string text = ReadFile(RAVELIN_SOURCE_DIR "/docs/configuration.md");
    for (const auto& field : NetworkJson::kFields) {
        EXPECT_NE(std::string::npos, text.find("`" + std::string(field.key) + "`")) << field.key;
    }
    for (const auto& field : NetworkConfig::kFields) {
        EXPECT_NE(std::string::npos, text.find("." + std::string(field.key) + "`")) << field.key;
    }
    NetworkConfig config;
    NetworkConfig::ForEachRecord(config, [&](const std::string& name, auto& record) {
        for (const auto& field : std::decay_t<decltype(record)>::kFields) {
            EXPECT_TRUE(LineNames(text, name, field.key)) << name << " " << field.key;
        }
    });
}

TEST(NetworkJson, DumpOfAnEmptyModelShowsLabelsWithTheirBlank) {
    const std::string dump = DumpOf(NetworkJson{});
    EXPECT_EQ(
        "NetworkJson: \n  customer_name: \n  product_name: \n  vendor_name: \n  platform_name: \n"
        "  board_name: \n  version_: \n  module_name: \nwhitelist: \n",
        dump.substr(0, dump.find("  userSettings")));
}

// Every field has a text of its own, named after its place: a row that points to a wrong field shows.
TEST(NetworkJson, EveryKeyReachesItsOwnField) {
    const NetworkJson model = Read(R"({
        "customer_name":"c", "product_name":"p", "vendor_name":"v", "platform_name":"pl", "board_name":"b",
        "version":"ve",
        "network_config":{
            "work_mode":"w", "CurrentMode":"cm", "APswitchEnable":"as", "ApAutoCloseEnable":"ac",
            "ApDurationTime":"ad",
            "lte":{"enable":"l1","apn":"l2","username":"l3","passwd":"l4","pin":"l5"},
            "wireless":{"enable":"wi"},
            "firstap":{"enable":"f1","channel":"f2","channelSwitchMode":"f3","ssid":"f4","auth":"f5",
                "secure_passwd":"f6","bootproto":"f7","ip":"f8","netmask":"f9","gateway":"f10"},
            "eth0":{"enable":"e1","bootproto":"e2","ip":"e3","netmask":"e4","gateway":"e5"},
            "eth0_2":{"enable":"x1","bootproto":"x2","ip":"x3","netmask":"x4","gateway":"x5"},
            "wlan0":{"enable":"y1","bootproto":"y2","ip":"y3","netmask":"y4","gateway":"y5"},
            "br0":{"enable":"z1","bootproto":"z2","ip":"z3","netmask":"z4","gateway":"z5"},
            "dhcpd":{"enable":"d1","start":"d2","end":"d3","netmask":"d4","gateway":"d5","dns1":"d6","dns2":"d7"},
            "dns":{"enable":"n"}}})");
    EXPECT_EQ("c p v pl b ve", model.customer_name + " " + model.product_name + " " + model.vendor_name +
                                   " " + model.platform_name + " " + model.board_name + " " + model.version_);
    const NetworkConfig& config = model.network_config;
    EXPECT_EQ("w cm as ac ad", config.work_mode + " " + config.CurrentMode + " " + config.APswitchEnable +
                                   " " + config.ApAutoCloseEnable + " " + config.ApDurationTime);
    EXPECT_EQ("l1l2l3l4l5",
              config.lte.enable + config.lte.apn + config.lte.username + config.lte.passwd + config.lte.pin);
    EXPECT_EQ("wi", config.wireless.enable);
    const FirstAPConfig& ap = config.firstap;
    EXPECT_EQ("f1f2f3f4f5f6f7f8f9f10", ap.enable + ap.channel + ap.channelSwitchMode + ap.ssid + ap.auth +
                                           ap.secure_passwd + ap.bootproto + ap.ip + ap.netmask + ap.gateway);
    const auto join = [](const InterfaceConfig& i) {
        return i.enable + i.bootproto + i.ip + i.netmask + i.gateway;
    };
    EXPECT_EQ("e1e2e3e4e5", join(config.eth0));
    EXPECT_EQ("x1x2x3x4x5", join(config.eth0_2));
    EXPECT_EQ("y1y2y3y4y5", join(config.wlan0));
    EXPECT_EQ("z1z2z3z4z5", join(config.br0));
    const DhcpdConfig& dhcpd = config.dhcpd;
    EXPECT_EQ("d1d2d3d4d5d6d7", dhcpd.enable + dhcpd.start + dhcpd.end + dhcpd.netmask + dhcpd.gateway +
                                    dhcpd.dns1 + dhcpd.dns2);
    EXPECT_EQ("n", config.dns.enable);
}

TEST(NetworkJson, NestingOfAnyDepthCostsNoStack) {
    for (const size_t depth : {1000u, 200000u}) {
        for (const char* const brackets : {"[]", "{}"}) {
            const bool object = brackets[0] == '{';
            std::string open, close(depth, brackets[1]);
            for (size_t i = 0; i < depth; ++i) open += object ? "{\"a\":" : "[";
            EXPECT_EQ("y", Read(R"({"customer_name":"y","x":)" + open + "1" + close + "}").customer_name);
            EXPECT_EQ(object ? 1 : 0, NetworkJson{}.FromJsonText(open + "1" + close));
            EXPECT_EQ(0, NetworkJson{}.FromJsonText(open));  // cut
        }
    }
}

TEST(NetworkJson, HugeTextIsTakenWhole) {
    const std::string megabytes(16 * 1024 * 1024, 'x');
    EXPECT_EQ(megabytes, Read(R"({"customer_name":")" + megabytes + "\"}").customer_name);
}

TEST(NetworkJson, LongListIsTakenWhole) {
    std::string list = "\"a\"";
    for (int i = 0; i < 99999; ++i) list += ",\"a\"";
    EXPECT_EQ(100000u, Read("{\"module_name\":[" + list + "]}").module_name.size());
}

TEST(NetworkJson, EveryCutOfTheWorkedFileIsRefused) {
    std::string text = ReadFile(kWorkedFile);
    text.erase(text.find_last_of('}'));  // only the line end follows it
    ASSERT_GT(text.size(), 1000u);
    for (size_t size = 0; size <= text.size(); ++size) {
        ASSERT_EQ(0, NetworkJson{}.FromJsonText(text.substr(0, size))) << size;
    }
}

struct GrammarCase {
    const char* name;
    std::string text;
    int expected;
};

TEST(NetworkJson, GrammarIsStrictAndBytesOfTextsAreTakenAsTheyAre) {
    const GrammarCase cases[] = {
        {"a byte order mark", "\xEF\xBB\xBF{}", 0},
        {"a comment", "/* */{}", 0},
        {"a trailing comma in an object", R"({"a":1,})", 0},
        {"a trailing comma in an array", R"({"a":[1,]})", 0},
        {"single quotes", "{'a':1}", 0},
        {"NaN", R"({"a":NaN})", 0},
        {"a number beyond double", R"({"a":1e999})", 0},
        {"half a surrogate pair", R"({"a":"\ud800"})", 0},
        {"a control character in a text", "{\"a\":\"\x01\"}", 0},
        {"a second root", "{}{}", 0},
        {"a byte that isn't UTF-8", "{\"customer_name\":\"\xFF\"}", 1},
        {"an overlong form", "{\"customer_name\":\"\xC0\x80\"}", 1},
        {"a cut character", "{\"customer_name\":\"\xE2\x82\"}", 1},
        {"white space around", " \t\r\n{} \n", 1},
        {"an escaped character", R"({"customer_name":"\u00e9\ud83d\ude00"})", 1},
    };
    for (const GrammarCase& test : cases) {
        EXPECT_EQ(test.expected, NetworkJson{}.FromJsonText(test.text)) << test.name;
    }
    EXPECT_EQ("\xFF", Read("{\"customer_name\":\"\xFF\"}").customer_name);
    EXPECT_EQ("é😀", Read(R"({"customer_name":"\u00e9\ud83d\ude00"})").customer_name);
}

}  // namespace
