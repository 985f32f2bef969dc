#include "network_daemon/config/ConfigController.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/support/captured_log.h"

namespace {

using Texts = std::vector<std::string>;

class Config : public testing::Test {
  protected:
    Config() {
        logged.clear();
        char name[] = "/tmp/config_test_XXXXXX";
        folder_ = mkdtemp(name);
        path_ = folder_ + "/network.json";
    }
    ~Config() override {
        unlink(path_.c_str());
        rmdir(folder_.c_str());
    }

    void Write(const std::string& text) { std::ofstream(path_) << text; }
    std::string Read() {
        std::ostringstream text;
        text << std::ifstream(path_).rdbuf();
        return text.str();
    }
    /// Result of loading the file; the dump goes to `dump_`.
    int Load() {
        testing::internal::CaptureStdout();
        const int result = controller_.LoadNetworkJson(path_);
        dump_ = testing::internal::GetCapturedStdout();
        return result;
    }
    static std::string EmptyDump() {
        testing::internal::CaptureStdout();
        NetworkJson{}.Dump();
        return testing::internal::GetCapturedStdout();
    }
    void Allow(const Texts& values) { controller_.m_network_json.whitelist.allowedValues = values; }

    std::string folder_, path_, dump_;
    ConfigController controller_;
};

TEST_F(Config, MissingFileGivesZeroWithTheOpenLineAndNoDump) {
    EXPECT_EQ(0, Load());
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]ReadJsonFile Failed to open network.json file: " + path_ + "\n", logged[0].text);
    EXPECT_EQ(3u, logged[0].level);
    EXPECT_EQ("network_daemon/config/ConfigController.cpp", logged[0].file);
    EXPECT_EQ("ReadJsonFile", logged[0].function);
    EXPECT_EQ("", dump_);
}

TEST_F(Config, EmptyFileIsAParseFailureWithoutDump) {
    Write("");
    EXPECT_EQ(0, Load());
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]Failed to parse the JSON", logged[0].text);
    EXPECT_EQ(3u, logged[0].level);
    EXPECT_EQ("network_daemon/config/ConfigController.cpp", logged[0].file);
    EXPECT_EQ("ReadJsonFile", logged[0].function);
    EXPECT_EQ("", dump_);
}

TEST_F(Config, TwoObjectsOneBehindTheOtherAreAParseFailure) {
    Write("{\"customer_name\":\"a\"}\n{}");
    EXPECT_EQ(0, Load());
    EXPECT_EQ(Texts{"[Config]Failed to parse the JSON"}, LoggedTexts(3));
    EXPECT_EQ("", dump_);
}

TEST_F(Config, ArrayGivesZeroWithoutALineAndDumpsAnEmptyModel) {
    Write("{\"customer_name\":\"a\"}");
    ASSERT_EQ(1, Load());
    Write("[]");
    EXPECT_EQ(0, Load());
    EXPECT_TRUE(logged.empty());
    EXPECT_EQ(EmptyDump(), dump_);
    EXPECT_EQ("", controller_.m_network_json.customer_name);
}

TEST_F(Config, AllowedValuesAreLoggedUpToTheEqualOne) {
    Allow({"x", "ec200a", "y"});
    EXPECT_EQ(1, controller_.CheckWhitelistLimitModule("EC200A"));
    EXPECT_EQ((Texts{"[whitelist] limitModuleName:  x\n", "[whitelist] limitModuleName:  ec200a\n"}),
              LoggedTexts(5));
    EXPECT_EQ("CheckWhitelistLimitModule", logged[0].function);
}

TEST_F(Config, EmptyNameIsNeverInAListThatIsNotEmpty) {
    Write(R"({"whitelist":{"userSettings":{"moduleName":{"allowedValues":["","EC200A"]}}}})");
    ASSERT_EQ(1, Load());
    EXPECT_EQ(0, controller_.CheckWhitelistLimitModule(""));
}

TEST_F(Config, EmptyListAdmitsEverything) {
    EXPECT_EQ(1, controller_.CheckWhitelistLimitModule("anything"));
    EXPECT_EQ(Texts{"[whitelist] moduleName allowedValues is empty allow to run\n"}, LoggedTexts(5));
}

TEST_F(Config, ComparisonIgnoresCaseAndNothingElse) {
    const struct {
        const char *value, *name;
        int expected;
    } cases[] = {{"EC200", "ec200", 1},  {"ec200", "EC200", 1},  {"EC200T", "EC200", 0},
                 {"EC200", "EC200T", 0}, {" EC200", "EC200", 0}, {"EC200 ", "EC200", 0},
                 {"\xC9", "\xE9", 0},    {"\xC9", "\xC9", 1}};
    for (const auto& test : cases) {
        Allow({test.value});
        EXPECT_EQ(test.expected, controller_.CheckWhitelistLimitModule(test.name))
            << test.value << " " << test.name;
    }
}

TEST_F(Config, ListWithoutEqualValueRefusesAndLogsEachAsWritten) {
    Allow({"Ab", "cD"});
    EXPECT_EQ(0, controller_.CheckWhitelistLimitModule("ef"));
    EXPECT_EQ((Texts{"[whitelist] limitModuleName:  Ab\n", "[whitelist] limitModuleName:  cD\n"}),
              LoggedTexts(5));
}

TEST_F(Config, LoadFillsTheModelAndDumpsIt) {
    Write(R"({"customer_name":"halden","product_name":"Quillbox","module_name":["A"]})");
    EXPECT_EQ(1, Load());
    EXPECT_EQ("halden", controller_.m_network_json.customer_name);
    EXPECT_EQ("Quillbox", controller_.m_network_json.product_name);
    EXPECT_NE(std::string::npos, dump_.find("  customer_name: halden\n  product_name: Quillbox\n"));
    EXPECT_TRUE(logged.empty());
}

TEST_F(Config, SecondLoadForgetsTheFirst) {
    Write(
        R"({"customer_name":"a","module_name":["A"],"network_config":{"priority":{"k":"v"},"lte":{"apn":"x"}},
        "whitelist":{"userSettings":{"moduleName":{"allowedValues":["A"]}}}})");
    ASSERT_EQ(1, Load());
    Write(R"({"customer_name":1,"network_config":{"lte":"x"}})");
    ASSERT_EQ(1, Load());
    EXPECT_EQ(EmptyDump(), dump_);
}

TEST_F(Config, FileThatCannotBeReadOrParsedLeavesTheModel) {
    Write(R"({"customer_name":"a"})");
    ASSERT_EQ(1, Load());
    Write("{");
    EXPECT_EQ(0, Load());
    EXPECT_EQ("a", controller_.m_network_json.customer_name);
    unlink(path_.c_str());
    EXPECT_EQ(0, Load());
    EXPECT_EQ("a", controller_.m_network_json.customer_name);
}

TEST_F(Config, FolderInPlaceOfTheFileIsAParseFailure) {
    mkdir(path_.c_str(), 0700);
    EXPECT_EQ(0, Load());
    EXPECT_EQ(Texts{"[Config]Failed to parse the JSON"}, LoggedTexts(3));
    rmdir(path_.c_str());
}

TEST_F(Config, DeepNestingIsReadFromAFile) {
    Write("{\"customer_name\":\"a\",\"x\":" + std::string(200000, '[') + std::string(200000, ']') + "}");
    EXPECT_EQ(1, Load());
    EXPECT_EQ("a", controller_.m_network_json.customer_name);
    Write(std::string(200000, '['));
    EXPECT_EQ(0, Load());
}

TEST_F(Config, NulByteEndsTheFile) {
    Write(std::string("{\"customer_name\":\"a\"}\0garbage", 29));
    EXPECT_EQ(1, Load());
    EXPECT_EQ("a", controller_.m_network_json.customer_name);
}

// Written over and over in place, as a careless editor does: what is read is an old, a new or a broken text.
TEST_F(Config, FileThatChangesWhileItIsReadGivesARealTextOrAFailure) {
    const std::string old_text = "{\"customer_name\":\"" + std::string(20000, 'o') + "\"}";
    const std::string new_text = "{\"customer_name\":\"" + std::string(30000, 'n') + "\"}";
    Write(old_text);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            Write(new_text);
            Write(old_text);
        }
    });
    int failures = 0;
    for (int i = 0; i < 200; ++i) {
        rapidjson::Document document;
        const bool usable = controller_.ReadJsonFile(path_, document) != 0;
        failures += usable ? 0 : 1;
        EXPECT_EQ(usable, !document.HasParseError());
        if (!usable) continue;
        const std::string name = document["customer_name"].GetString();
        EXPECT_EQ(std::string::npos, name.find_first_not_of("on"));
    }
    stop = true;
    writer.join();
    EXPECT_EQ(static_cast<size_t>(failures), logged.size());
}

TEST_F(Config, ReadKeepsTheParseErrorInTheDocument) {
    Write("[1,");
    rapidjson::Document document;
    EXPECT_EQ(0, controller_.ReadJsonFile(path_, document));
    EXPECT_TRUE(document.HasParseError());
}

TEST_F(Config, WriteIndentsByFourBlanks) {
    Write("something longer that must go away: something longer that must go away");
    rapidjson::Document document;
    document.Parse(R"({"a":[1,"x"],"b":{},"c":null,"d":"\u0000\u00e9"})");
    EXPECT_NE(0, controller_.WriteJsonFile(path_, document));
    EXPECT_EQ(
        "{\n    \"a\": [\n        1,\n        \"x\"\n    ],\n    \"b\": {},\n    \"c\": null,\n"
        "    \"d\": \"\\u0000é\"\n}",
        Read());
    EXPECT_TRUE(logged.empty());
}

TEST_F(Config, WrittenFileReadsBack) {
    rapidjson::Document document, read_back;
    document.Parse(R"({"a":[1,-2,3.5,true,false,null,18446744073709551615],"b":{"c":"d"}})");
    EXPECT_NE(0, controller_.WriteJsonFile(path_, document));
    EXPECT_NE(0, controller_.ReadJsonFile(path_, read_back));
    EXPECT_TRUE(document == read_back);
}

TEST_F(Config, DocumentNestedAThousandLevelsIsWritten) {
    rapidjson::Document document;
    document.Parse<kJsonParseFlags>((std::string(1000, '[') + std::string(1000, ']')).c_str());
    EXPECT_NE(0, controller_.WriteJsonFile(path_, document));
    const std::string text = Read();
    EXPECT_EQ(1000, std::count(text.begin(), text.end(), '['));
    EXPECT_EQ(1000, std::count(text.begin(), text.end(), ']'));
}

TEST_F(Config, FileThatCannotBeWrittenIsTold) {
    rapidjson::Document document;
    const std::string path = folder_ + "/no/such/folder";
    EXPECT_EQ(0, controller_.WriteJsonFile(path, document));
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]WriteJsonFile Failed to open network.json file:  " + path + "\n", logged[0].text);
    EXPECT_EQ(5u, logged[0].level);
    EXPECT_EQ("WriteJsonFile", logged[0].function);
}

TEST_F(Config, ErrorsOfWritingAreNotLookedAt) {
    rapidjson::Document document;
    document.Parse(("{\"a\":\"" + std::string(100000, 'x') + "\"}").c_str());
    EXPECT_NE(0, controller_.WriteJsonFile("/dev/full", document));
}

}  // namespace
