// What the suites of the drivers start from: the driver of a family behind a scripted modem, the exchanges
// that families have in common, and the lines of the log that name the driver's own file.
#pragma once

#include <cctype>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "network_daemon/cellular.h"
#include "support/text_util.h"
#include "tests/support/driver_families.h"
#include "tests/support/test_world.h"

namespace cc_cell {

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";
constexpr char kNoSim[] = "\r\n+CME ERROR: SIM not inserted\r\n";

/// One line of information and "OK", as a modem without echo frames them.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n" + kOk;
}

/// An answer that is too long: of `text` at its end an exchange takes only the first `kept` characters.
inline std::string CutAfter(size_t kept, const std::string& text) {
    return std::string(kAnswerLimit - kept, 'x') + text;
}

/// Small letters for capitals and the other way round.
inline std::string InOtherCase(std::string text) {
    for (char& letter : text) {
        if (isalpha(letter) != 0) letter = static_cast<char>(letter ^ ('a' - 'A'));
    }
    return text;
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

/// What stands in the settings file about the call.
struct CallSettings {
    std::string apn, username, password, pin;
    int32_t auth_type;
};

/// The driver that the factory has for a family, on the port of a scripted modem.
class DriverTest : public testing::Test {
  protected:
    explicit DriverTest(VendorType family)
        : file(FileOf(family)), driver_(BuildDriver(family, modem.fd())), cell(*driver_) {}

    void SetUp() override {
        CellBase::m_ModuleName = "Some";
        modem.SetInit();
    }

    /// Whatever the test: files that drivers share log in the name of their callers.
    void TearDown() override { EXPECT_EQ(Texts{}, LinesOfSharedFiles()); }

    // Exchanges

    /// What the modem answers to a command, which may have a line end of its own.
    void AnswerTo(const std::string& command, const std::string& answer) {
        modem.On(command.substr(0, command.find('\r')), answer);
    }

    /// What the base's SIM check asks of a modem with a ready SIM and a carrier, whichever family it is.
    void AnswerSimCheck() {
        modem.On("AT+CGSN", Answer("860000000000001"));
        modem.On("AT+CIMI", Answer("460010000000001"));
        modem.On("AT+CPIN?", Answer("+CPIN: READY"));
        modem.On("AT+SIMTEST?", kError);
        modem.On("AT^ICCID?", kError);
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    }

    /// The settings of the call, and a carrier for whom an empty APN means "3GNET".
    void Set(const CallSettings& settings) {
        CopyText(cell.m_apn, settings.apn.c_str());
        CopyText(cell.m_username, settings.username.c_str());
        CopyText(cell.m_password, settings.password.c_str());
        CopyText(cell.m_card_pin, settings.pin.c_str());
        cell.m_auth_type = settings.auth_type;
        cell.m_carrier_code = 2;
    }

    /// Seconds from the exchange `index` to the one after it, or until now after the last.
    double GapAfter(size_t index) const {
        const bool is_last = index + 1 == modem.exchanges.size();
        return (is_last ? world.now_seconds() : modem.exchanges.at(index + 1).at_seconds) -
               modem.exchanges.at(index).at_seconds;
    }

    // Parser

    AtResult Parse(const std::string& answer) {
        text_ = answer;
        return cell.ParseAtResult(text_.data());
    }

    /// What Task does with an unsolicited text.
    int32_t Hear(const std::string& unsolicited) { return cell.DealHint(Parse(unsolicited)); }

    // Log

    /// What the driver's own file logged, in order, as "5 Initialize: text".
    Texts Lines() const {
        Texts lines;
        for (const LogLine& line : world.log) {
            if (line.file == file) lines.push_back(Placed(line));
        }
        return lines;
    }

    /// The same since the last call.
    Texts TakeLines() {
        Texts lines = Lines();
        world.log.clear();
        return lines;
    }

    /// What one operation of the driver logged, as "5 text".
    Texts LinesOf(const std::string& operation) const {
        Texts lines;
        for (const LogLine& line : world.log) {
            if (line.file == file && line.function == operation) lines.push_back(Levelled(line));
        }
        return lines;
    }

  private:
    using LogLine = test_support::World::LogLine;

    static std::string Levelled(const LogLine& line) { return std::to_string(line.level) + " " + line.text; }
    static std::string Placed(const LogLine& line) {
        return std::to_string(line.level) + " " + line.function + ": " + line.text;
    }

    Texts LinesOfSharedFiles() const {
        Texts lines;
        for (const LogLine& line : world.log) {
            const bool is_shared = line.file.find("CellDriver") != std::string::npos ||
                                   line.file.find("Dialect") != std::string::npos;
            if (is_shared || line.line <= 0) lines.push_back(line.file + " " + Placed(line));
        }
        return lines;
    }

  protected:
    test_support::World world;
    test_support::ScriptedModem modem{world};
    const std::string file;

  private:
    const std::unique_ptr<CellBase> driver_;
    std::string text_;

  protected:
    CellBase& cell;
};

/// A check that runs for each family of the factory, with the family's row of a table: `struct Row` begins
/// with the family. A family that has no row fails.
template <class Row>
class FamilyTest : public DriverTest, public testing::WithParamInterface<VendorType> {
  protected:
    template <size_t N>
    explicit FamilyTest(const Row (&rows)[N]) : DriverTest(GetParam()) {
        for (const Row& each : rows) {
            if (each.family == GetParam()) row = &each;
        }
    }

    void SetUp() override {
        DriverTest::SetUp();
        ASSERT_NE(nullptr, row) << "no row for " << GetParam() << " in the table of this suite";
    }

    const Row* row = nullptr;
};

/// The families whose row `holds`, and those that have none, so that the test tells of them.
template <class Row, size_t N, class Condition>
std::vector<VendorType> FamiliesWhere(const Row (&rows)[N], Condition holds) {
    std::vector<VendorType> families;
    for (const VendorType family : EachFamily()) {
        bool is_left_out = false;
        for (const Row& row : rows) is_left_out |= row.family == family && !holds(row);
        if (!is_left_out) families.push_back(family);
    }
    return families;
}

inline std::string FamilyOfTest(const testing::TestParamInfo<VendorType>& info) {
    return NameOf(info.param);
}

}  // namespace cc_cell
