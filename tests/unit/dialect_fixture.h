// What the suites of drivers share: a driver on a scripted modem, the exchanges of the base's SIM check, and
// the check of who logged what.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "tests/support/test_world.h"

namespace cc_cell {

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";
constexpr char kNoSim[] = "\r\n+CME ERROR: 10\r\n";

/// An information line and its OK, as a modem without echo frames them.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n" + kOk;
}

/// A row of the parser: what an answer is recognised as, and the text or the number that it fills.
struct TextCase {
    std::string answer;
    int32_t type;
    std::string text;
};

struct NumberCase {
    std::string answer;
    int32_t type;
    int32_t value;
};

/// One line that a driver logs, by its beginning.
struct OwnLine {
    const char* function;
    unsigned level;
    std::string beginning;
};

template <class Driver>
class DialectTest : public testing::Test {
  protected:
    void SetUp() override {
        CellBase::m_ModuleName.clear();
        modem.SetInit();
    }

    AtResult Parse(const std::string& answer) {
        std::string text = answer;
        return cell.ParseAtResult(text.data());
    }

    void ExpectTexts(const std::vector<TextCase>& cases) {
        for (const TextCase& test : cases) {
            const AtResult result = Parse(test.answer);
            EXPECT_EQ(test.type, result.type) << test.answer;
            EXPECT_EQ(test.text, result.common_str) << test.answer;
        }
    }

    void ExpectNumbers(const std::vector<NumberCase>& cases) {
        for (const NumberCase& test : cases) {
            const AtResult result = Parse(test.answer);
            EXPECT_EQ(test.type, result.type) << test.answer;
            EXPECT_EQ(test.value, result.val) << test.answer;
        }
    }

    /// The exchanges of CheckSimCard of the base, with a SIM that is ready.
    void AnswerSimCheck() {
        modem.On("AT+CPIN?", Answer("+CPIN: READY"));
        modem.On("AT+CGSN", Answer("860000000000001"));
        modem.On("AT+CGSN=1", Answer("+CGSN: \"860000000000001\""));
        modem.On("AT+CIMI", Answer("+CIMI: 460010000000001"));
        modem.On("AT+SIMTEST?", kError);
        modem.On("AT^ICCID?", kError);
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    }

    /// The registration of LTE alone is enough; without it the packet registration decides, and each stat
    /// that came is kept.
    void ExpectTwoStepRegistration() {
        const struct {
            std::string eps, packet;
            int32_t expected, cereg, cgreg;
        } cases[] = {
            {Answer("+CEREG: 0,1"), kError, 1, 1, 9},
            {Answer("+CEREG: 0,5"), kError, 1, 5, 9},
            {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,1"), 1, 2, 1},
            {Answer("+CEREG: 0,3"), Answer("+CGREG: 0,5"), 1, 3, 5},
            {Answer("+CEREG: 0,0"), Answer("+CGREG: 0,3"), 0, 0, 3},
            {Answer("+CEREG: 1"), Answer("+CGREG: 1"), 0, 0, 0},
            {kError, Answer("+CGREG: 0,1"), 1, 9, 1},
            {Answer("+CGREG: 0,1"), Answer("+CEREG: 0,1"), 0, 9, 9},
            {Answer("+CEREG: 0,2"), kError, 0, 2, 9},
            {"", "", 0, 9, 9},
        };
        for (const auto& test : cases) {
            modem.exchanges.clear();
            cell.m_CEREG = cell.m_CGREG = 9;
            modem.On("AT+CEREG?", test.eps);
            modem.On("AT+CGREG?", test.packet);
            EXPECT_EQ(test.expected, cell.CheckServiceStatus()) << test.eps << test.packet;
            EXPECT_EQ(test.cereg, cell.m_CEREG) << test.eps << test.packet;
            EXPECT_EQ(test.cgreg, cell.m_CGREG) << test.eps << test.packet;
            const bool is_first_enough = test.cgreg == 9 && test.expected == 1;
            EXPECT_EQ(is_first_enough ? Texts{"AT+CEREG?"} : (Texts{"AT+CEREG?", "AT+CGREG?"}), modem.Sent());
        }
        EXPECT_TRUE(world.LogOf("CheckServiceStatus").empty());
    }

    /// The ICCID is asked by `command` behind the base's check, and 20 characters behind `prefix` are kept;
    /// whatever the answer, the result is the base's. What stands behind the 256th byte isn't seen.
    void ExpectIccidFrom(const std::string& command, const std::string& prefix) {
        const std::string filler(256, ' ');
        const size_t seen_digits = 3;
        const struct {
            std::string answer, iccid;
        } cases[] = {
            {Answer(prefix + "89860011223344556677F"), "89860011223344556677"},
            {Answer(prefix + "8986"), "8986"},
            {Answer(prefix), ""},
            {kError, ""},
            {"", ""},
            {filler.substr(prefix.size() + seen_digits) + prefix + "8986" + kOk, "898"},
            {filler.substr(prefix.size() - 1) + prefix + "8986" + kOk, ""},
        };
        AnswerSimCheck();
        for (const auto& test : cases) {
            modem.On(command, test.answer);
            EXPECT_EQ(kSimReady, cell.CheckSimCard()) << test.answer;
            EXPECT_EQ(test.iccid, cell.m_card_iccid) << test.answer;
            EXPECT_EQ(command, modem.Sent().back());
        }
        modem.On("AT+CPIN?", kNoSim);
        EXPECT_EQ(kSimNotReady, cell.CheckSimCard());
        EXPECT_EQ("AT+CPIN?", modem.Sent().back());
    }

    /// What the driver itself logged, whichever operation did.
    Texts LogOfFile(const std::string& file) const {
        Texts texts;
        for (const auto& line : world.log) {
            if (line.file == file) texts.push_back(line.text);
        }
        return texts;
    }

    /// Each line of `file` is one of the expected, with its function and level, and none of them is missing;
    /// and nobody logs in the name of a file that drivers share.
    void ExpectOwnLines(const std::string& file, const std::vector<OwnLine>& expected) {
        std::vector<int> met(expected.size(), 0);
        for (const auto& line : world.log) {
            EXPECT_EQ(std::string::npos, line.file.find("CellDriver")) << line.text;
            EXPECT_EQ(std::string::npos, line.file.find("Dialect")) << line.text;
            if (line.file != file) continue;
            bool is_known = false;
            for (size_t i = 0; i < expected.size(); ++i) {
                const OwnLine& each = expected[i];
                if (line.function != each.function || line.level != each.level) continue;
                if (line.text.compare(0, each.beginning.size(), each.beginning) != 0) continue;
                is_known = true;
                ++met[i];
            }
            EXPECT_TRUE(is_known) << line.function << " " << line.level << " " << line.text;
        }
        for (size_t i = 0; i < expected.size(); ++i) {
            EXPECT_GT(met[i], 0) << expected[i].function << " " << expected[i].beginning;
        }
    }

    /// Seconds from the exchange `index` to the one behind it.
    double GapBehind(size_t index) const {
        return modem.exchanges.at(index + 1).at_seconds - modem.exchanges.at(index).at_seconds;
    }

    test_support::World world;
    test_support::ScriptedModem modem{world};
    Driver cell{modem.fd()};
};

}  // namespace cc_cell
