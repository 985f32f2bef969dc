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
#include "tests/support/driver_facts.h"
#include "tests/support/driver_families.h"
#include "tests/support/test_world.h"

namespace cc_cell {

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

/// A check that runs for each family of the factory, with a part of the family's facts. A family that has
/// none fails.
template <class Part>
class FamilyTest : public DriverTest, public testing::WithParamInterface<VendorType> {
  protected:
    explicit FamilyTest(Part DriverFacts::*part) : DriverTest(GetParam()) {
        const DriverFacts* facts = FactsOf(GetParam());
        if (facts != nullptr) row = &(facts->*part);
    }

    /// For relatives that share a source: with a table of their suite, whose rows begin with the family.
    template <size_t N>
    explicit FamilyTest(const Part (&table)[N]) : DriverTest(GetParam()) {
        for (const Part& each : table) {
            if (each.family == GetParam()) row = &each;
        }
    }

    void SetUp() override {
        DriverTest::SetUp();
        ASSERT_NE(nullptr, row) << "no facts: tests/unit/drivers/facts/" << GetParam() << ".cpp is missing";
    }

    const Part* row = nullptr;
};

/// The families whose part of the facts `holds`, and those that have no facts, so that the test tells of
/// them.
template <class Part, class Condition>
std::vector<VendorType> FamiliesWhere(Part DriverFacts::*part, Condition holds) {
    std::vector<VendorType> families;
    for (const VendorType family : EachFamily()) {
        const DriverFacts* facts = FactsOf(family);
        if (facts == nullptr || holds(facts->*part)) families.push_back(family);
    }
    return families;
}

inline std::string FamilyOfTest(const testing::TestParamInfo<VendorType>& info) {
    return NameOf(info.param);
}

}  // namespace cc_cell
