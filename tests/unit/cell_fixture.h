// What the suites of drivers start from: a world, a modem that takes the engine's set-up, the driver on its
// port, and the lines that the driver logged itself.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cellular.h"
#include "tests/support/test_world.h"

namespace cc_cell {

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";

/// One information line and its result, as a modem frames them.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n\r\nOK\r\n";
}

/// What the base's Initialize sends.
inline Texts BaseSetUp() {
    return {"ATZ", "AT&F", "ATE0", "AT+CFUN=0", "AT+CFUN=1", "AT+MODODR=2", "AT+MEID"};
}

/// What the base's CheckSimCard sends to a modem with a ready SIM.
inline Texts BaseSimCheck() {
    return {"AT+CFUN=1", "AT+CGSN", "AT+CIMI", "AT+CPIN?", "AT+SIMTEST?", "AT^ICCID?", "AT+COPS?"};
}

inline Texts Joined(Texts first, const Texts& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

template <class Driver>
class DriverTest : public testing::Test {
  protected:
    void SetUp() override {
        CellBase::m_ModuleName = "Some";
        modem.SetInit();
    }

    AtResult Parse(const std::string& answer) {
        text = answer;
        return cell.ParseAtResult(text.data());
    }

    /// What Task does with a text that comes unasked.
    int32_t Hear(const std::string& unsolicited) { return cell.DealHint(Parse(unsolicited)); }

    /// A modem with a ready SIM and a carrier.
    void AnswerSimCheck() {
        modem.On("AT+CGSN", Answer("860000000000001"));
        modem.On("AT+CIMI", Answer("460010000000001"));
        modem.On("AT+CPIN?", Answer("+CPIN: READY"));
        modem.On("AT+SIMTEST?", kError);
        modem.On("AT^ICCID?", kError);
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    }

    /// Lines of one source file, in order, as "5 Initialize: text".
    Texts LogOfFile(const std::string& file) const {
        Texts lines;
        for (const test_support::World::LogLine& line : world.log) {
            if (line.file != file) continue;
            EXPECT_GT(line.line, 0) << line.text;
            lines.push_back(std::to_string(line.level) + " " + line.function + ": " + line.text);
        }
        return lines;
    }

    /// Lines that a helper logged under its own name, which none may.
    Texts LogOfHelpers() const {
        return Joined(LogOfFile("CellSubClass/src/CellDriver.cpp"),
                      LogOfFile("CellSubClass/src/DataStatusDialect.cpp"));
    }

    test_support::World world;
    test_support::ScriptedModem modem{world};
    Driver cell{modem.fd()};
    std::string text;
};

}  // namespace cc_cell
