// What the suites of the drivers share: a driver of class Driver behind a scripted modem, the answers that
// every SIM check wants, and a check of where a driver's lines say that they come from.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "tests/support/test_world.h"
#include "text_util.h"

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";

/// One line of information and "OK", as modems frame them.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n\r\nOK\r\n";
}

/// A line of the log: who says it, how loud, and what it begins with.
struct LinePlace {
    std::string function;
    unsigned level;
    std::string beginning;
};

template <class Driver>
class DriverTest : public testing::Test {
  protected:
    void SetUp() override {
        cc_cell::CellBase::m_ModuleName.clear();
        modem.SetInit();
    }

    cc_cell::AtResult Parse(const std::string& answer) {
        text = answer;
        return cell.ParseAtResult(text.data());
    }

    /// Exchanges of the base's SIM check, beside those under test.
    void AnswerSimCheck() {
        modem.On("AT+CGSN", Answer("860000000000001"));
        modem.On("AT+CGSN=1", Answer("+CGSN: \"860000000000001\""));
        modem.On("AT+CIMI", Answer("460010000000001"));
        modem.On("AT+CPIN?", Answer("+CPIN: READY"));
        modem.On("AT+SIMTEST?", kError);
        modem.On("AT^ICCID?", kError);
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    }

    /// The same without a SIM.
    void AnswerSimCheckWithoutSim() {
        AnswerSimCheck();
        modem.On("AT+CPIN?", "\r\n+CME ERROR: SIM not inserted\r\n");
    }

    /// Texts that the source file said, in order.
    Texts LogIn(const std::string& file) const {
        Texts texts;
        for (const test_support::World::LogLine& line : world.log) {
            if (line.file == file) texts.push_back(line.text);
        }
        return texts;
    }

    /// Every line of `file` is one of `expected`, each of which was said, and no line names a file that
    /// drivers share.
    void ExpectOwnLines(const std::string& file, const std::vector<LinePlace>& expected) const {
        std::vector<bool> was_said(expected.size());
        for (const test_support::World::LogLine& line : world.log) {
            const bool is_own = line.file == file;
            EXPECT_TRUE(is_own || line.file.find("CellSubClass") == std::string::npos) << line.file;
            if (!is_own) continue;
            const auto place = std::find_if(expected.begin(), expected.end(), [&line](const LinePlace& each) {
                return each.function == line.function && each.level == line.level &&
                       line.text.compare(0, each.beginning.size(), each.beginning) == 0;
            });
            ASSERT_NE(expected.end(), place) << line.function << " " << line.level << " " << line.text;
            was_said[place - expected.begin()] = true;
        }
        for (size_t i = 0; i < expected.size(); ++i) EXPECT_TRUE(was_said[i]) << expected[i].beginning;
    }

    test_support::World world;
    test_support::ScriptedModem modem{world};
    Driver cell{modem.fd()};
    std::string text;
};
