#include "network_daemon/config/ConfigController.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/captured_log.h"

namespace {

using Texts = std::vector<std::string>;

class Config : public testing::Test {
  protected:
    Config() {
        logged.clear();
        char name[] = "/tmp/config_test_XXXXXX";
        folder = mkdtemp(name);
        test_path = folder + "/network.json";
    }
    ~Config() override {
        unlink(test_path.c_str());
        rmdir(folder.c_str());
    }

    void Write(const std::string& text) { std::ofstream(test_path) << text; }
    std::string Read() {
        std::ostringstream text;
        text << std::ifstream(test_path).rdbuf();
        return text.str();
    }
    /// Result of loading the file; the dump goes to `dump_`.
    int Load() {
        testing::internal::CaptureStdout();
        const int result = controller.LoadNetworkJson(test_path);
        dump = testing::internal::GetCapturedStdout();
        return result;
    }
    static std::string EmptyDump() {
        testing::internal::CaptureStdout();
        NetworkJson{}.Dump();
        return testing::internal::GetCapturedStdout();
    }
    void Allow(const Texts& values) { controller.m_network_json.whitelist.allowedValues = values; }

    std::string folder, test_path, dump;
    ConfigController controller;
};

TEST_F(Config, MissingFileGivesZeroWithTheOpenLineAndNoDump) {
    EXPECT_EQ(0, Load());
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]ReadJsonFile Failed to open network.json file: " + test_path + "\n", logged[0].text);
    EXPECT_EQ(3u, logged[0].level);
    EXPECT_EQ("network_daemon/config/ConfigController.cpp", logged[0].file);
    EXPECT_EQ("ReadJsonFile", logged[0].function);
    EXPECT_EQ("", dump);
}

TEST_F(Config, EmptyFileIsAParseFailureWithoutDump) {
    Write("");
    EXPECT_EQ(0, Load());
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]Failed to parse the JSON", logged[0].text);
    EXPECT_EQ(3u, logged[0].level);
    EXPECT_EQ("network_daemon/config/ConfigController.cpp", logged[0].file);
    EXPECT_EQ("ReadJsonFile", logged[0].function);
    EXPECT_EQ("", dump);
}

TEST_F(Config, TwoObjectsOneBehindTheOtherAreAParseFailure) {
    Write("{\"customer_name\":\"a\"}\n{}");
    EXPECT_EQ(0, Load());
    EXPECT_EQ(Texts{"[Config]Failed to parse the JSON"}, LoggedTexts(3));
    EXPECT_EQ("", dump);
}

TEST_F(Config, ArrayGivesZeroWithoutALineAndDumpsAnEmptyModel) {
    Write("{\"customer_name\":\"a\"}");
    ASSERT_EQ(1, Load());
    Write("[]");
    EXPECT_EQ(0, Load());
    EXPECT_TRUE(logged.empty());
    EXPECT_EQ(EmptyDump(), dump);
    EXPECT_EQ("", controller.m_network_json.customer_name);
}

TEST_F(Config, AllowedValuesAreLoggedUpToTheEqualOne) {
    Allow({"x", "ec200a", "y"});
    EXPECT_EQ(1, controller.CheckWhitelistLimitModule("EC200A"));
    EXPECT_EQ((Texts{"[whitelist] limitModuleName:  x\n", "[whitelist] limitModuleName:  ec200a\n"}),
              LoggedTexts(5));
    EXPECT_EQ("CheckWhitelistLimitModule", logged[0].function);
}

TEST_F(Config, EmptyNameIsNeverInAListThatIsNotEmpty) {
    Write(R"({"whitelist":{"userSettings":{"moduleName":{"allowedValues":["","EC200A"]}}}})");
    ASSERT_EQ(1, Load());
    EXPECT_EQ(0, controller.CheckWhitelistLimitModule(""));
}

TEST_F(Config, EmptyListAdmitsEverything) {
    EXPECT_EQ(1, controller.CheckWhitelistLimitModule("anything"));
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
        EXPECT_EQ(test.expected, controller.CheckWhitelistLimitModule(test.name))
            << test.value << " " << test.name;
    }
}

TEST_F(Config, ListWithoutEqualValueRefusesAndLogsEachAsWritten) {
    Allow({"Ab", "cD"});
    EXPECT_EQ(0, controller.CheckWhitelistLimitModule("ef"));
    EXPECT_EQ((Texts{"[whitelist] limitModuleName:  Ab\n", "[whitelist] limitModuleName:  cD\n"}),
              LoggedTexts(5));
}

TEST_F(Config, LoadFillsTheModelAndDumpsIt) {
    Write(R"({"customer_name":"halden","product_name":"Quillbox","module_name":["A"]})");
    EXPECT_EQ(1, Load());
    EXPECT_EQ("halden", controller.m_network_json.customer_name);
    EXPECT_EQ("Quillbox", controller.m_network_json.product_name);
    EXPECT_NE(std::string::npos, dump.find("  customer_name: halden\n  product_name: Quillbox\n"));
    EXPECT_TRUE(logged.empty());
}

TEST_F(Config, SecondLoadForgetsTheFirst) {
    Write(
        R"({"customer_name":"a","module_name":["A"],"network_config":{"priority":{"k":"v"},"lte":{"apn":"x"}},
        "whitelist":{"userSettings":{"moduleName":{"allowedValues":["A"]}}}})");
    ASSERT_EQ(1, Load());
    Write(R"({"customer_name":1,"network_config":{"lte":"x"}})");
    ASSERT_EQ(1, Load());
    EXPECT_EQ(EmptyDump(), dump);
}

TEST_F(Config, FileThatCannotBeReadOrParsedLeavesTheModel) {
    Write(R"({"customer_name":"a"})");
    ASSERT_EQ(1, Load());
    Write("{");
    EXPECT_EQ(0, Load());
    EXPECT_EQ("a", controller.m_network_json.customer_name);
    unlink(test_path.c_str());
    EXPECT_EQ(0, Load());
    EXPECT_EQ("a", controller.m_network_json.customer_name);
}

TEST_F(Config, FolderInPlaceOfTheFileIsAParseFailure) {
    mkdir(test_path.c_str(), 0700);
    EXPECT_EQ(0, Load());
    EXPECT_EQ(Texts{"[Config]Failed to parse the JSON"}, LoggedTexts(3));
    rmdir(test_path.c_str());
}

TEST_F(Config, DeepNestingIsReadFromAFile) {
    Write("{\"customer_name\":\"a\",\"x\":" + std::string(200000, '[') + std::string(200000, ']') + "}");
    EXPECT_EQ(1, Load());
    EXPECT_EQ("a", controller.m_network_json.customer_name);
    Write(std::string(200000, '['));
    EXPECT_EQ(0, Load());
}

TEST_F(Config, NulByteEndsTheFile) {
    Write(std::string("{\"customer_name\":\"a\"}\0garbage", 29));
    EXPECT_EQ(1, Load());
    EXPECT_EQ("a", controller.m_network_json.customer_name);
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
        const bool usable = controller.ReadJsonFile(test_path, document) != 0;
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
    EXPECT_EQ(0, controller.ReadJsonFile(test_path, document));
    EXPECT_TRUE(document.HasParseError());
}

TEST_F(Config, WriteIndentsByFourBlanks) {
    Write("something longer that must go away: something longer that must go away");
    rapidjson::Document document;
    document.Parse(R"({"a":[1,"x"],"b":{},"c":null,"d":"\u0000\u00e9"})");
    EXPECT_NE(0, controller.WriteJsonFile(test_path, document));
    EXPECT_EQ(
        "{\n    \"a\": [\n        1,\n        \"x\"\n    ],\n    \"b\": {},\n    \"c\": null,\n"
        "    \"d\": \"\\u0000é\"\n}",
        Read());
    EXPECT_TRUE(logged.empty());
}

TEST_F(Config, WrittenFileReadsBack) {
    rapidjson::Document document, read_back;
    document.Parse(R"({"a":[1,-2,3.5,true,false,null,18446744073709551615],"b":{"c":"d"}})");
    EXPECT_NE(0, controller.WriteJsonFile(test_path, document));
    EXPECT_NE(0, controller.ReadJsonFile(test_path, read_back));
    EXPECT_TRUE(document == read_back);
}

TEST_F(Config, DocumentNestedAThousandLevelsIsWritten) {
    rapidjson::Document document;
    document.Parse<kJsonParseFlags>((std::string(1000, '[') + std::string(1000, ']')).c_str());
    EXPECT_NE(0, controller.WriteJsonFile(test_path, document));
    const std::string text = Read();
    EXPECT_EQ(1000, std::count(text.begin(), text.end(), '['));
    EXPECT_EQ(1000, std::count(text.begin(), text.end(), ']'));
}

TEST_F(Config, FileThatCannotBeWrittenIsTold) {
    rapidjson::Document document;
    const std::string path = folder + "/no/such/folder";
    EXPECT_EQ(0, controller.WriteJsonFile(path, document));
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ("[Config]WriteJsonFile Failed to open network.json file:  " + path + "\n", logged[0].text);
    EXPECT_EQ(5u, logged[0].level);
    EXPECT_EQ("WriteJsonFile", logged[0].function);
}

TEST_F(Config, ErrorsOfWritingAreNotLookedAt) {
    rapidjson::Document document;
    document.Parse(("{\"a\":\"" + std::string(100000, 'x') + "\"}").c_str());
    EXPECT_NE(0, controller.WriteJsonFile("/dev/full", document));
}

}  // namespace
