// What the suites of the drivers start from: a driver of class Driver behind a scripted modem, the exchanges
// that families have in common, tables of answers for the parser, and checks of where a driver's lines say
// that they come from.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "support/text_util.h"
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

/// An answer to a question of its row, and what the parser takes it for.
struct CutCase {
    std::string prefix;
    std::string value;
    int32_t type;
};

/// A line of the log: who says it, how loud, and what it begins with.
struct OwnLine {
    std::string function;
    unsigned level;
    std::string beginning;
};

template <class Driver>
class DriverTest : public testing::Test {
  protected:
    void SetUp() override {
        CellBase::m_ModuleName = "Some";
        modem.SetInit();
    }

    // Exchanges

    /// What the base's SIM check asks of a modem with a ready SIM and a carrier, whichever family it is.
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
        modem.On("AT+CPIN?", kNoSim);
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
            {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,5"), 1, 2, 5},
            {Answer("+CEREG: 0,3"), Answer("+CGREG: 0,5"), 1, 3, 5},
            {Answer("+CEREG: 0,2"), Answer("+CGREG: 0,3"), 0, 2, 3},
            {Answer("+CEREG: 0,0"), Answer("+CGREG: 0,3"), 0, 0, 3},
            {Answer("+CEREG: 1"), Answer("+CGREG: 1"), 0, 0, 0},
            {kError, Answer("+CGREG: 0,1"), 1, 9, 1},
            {"", Answer("+CGREG: 0,1"), 1, 9, 1},
            {Answer("+CGREG: 0,1"), Answer("+CEREG: 0,1"), 0, 9, 9},
            {Answer("+CREG: 0,1"), Answer("+CREG: 0,1"), 0, 9, 9},
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
            const bool is_first_enough = IsRegistered(test.cereg) && test.cgreg == 9;
            EXPECT_EQ(is_first_enough ? Texts{"AT+CEREG?"} : (Texts{"AT+CEREG?", "AT+CGREG?"}), modem.Sent());
        }
        EXPECT_TRUE(world.LogOf("CheckServiceStatus").empty());
    }

    /// The ICCID is asked by `command` after the base's check, and 20 characters after `prefix` are kept;
    /// whatever the answer, the result is the base's. What comes after the 256th byte isn't seen.
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

    /// The set-up keeps `limit` characters after "Revision:" as the firmware text, whatever they are, and
    /// `otherwise` without the word. What comes after the 256th byte isn't seen.
    void ExpectFirmwareBehindRevision(size_t limit, const std::string& otherwise) {
        const std::string digits = " 123456789012345678901234567890";
        const struct {
            std::string answer, firmware;
        } cases[] = {
            {"\r\nRevision:" + digits + "\r\n", digits.substr(0, limit)},
            {"\r\nRevision: X1\r\n\r\nOK\r\n", " X1\r\n\r\nOK\r\n"},
            {"\r\nRevision:", ""},
            {"\r\nRevision: \xff\xfe", " \xff\xfe"},
            {"\r\nrevision: 1\r\n", otherwise},
            {kError, otherwise},
            {"", otherwise},
            {std::string(246, 'x') + "Revision: 12", " "},  // the 256th byte is the blank
        };
        modem.AllowUnknown();
        for (const auto& test : cases) {
            modem.On("ATI", test.answer);
            EXPECT_EQ(1, cell.Initialize());
            EXPECT_EQ(test.firmware, cell.m_fw_version) << test.answer;
        }
    }

    /// Seconds from the exchange `index` to the one after it.
    double GapBehind(size_t index) const {
        return modem.exchanges.at(index + 1).at_seconds - modem.exchanges.at(index).at_seconds;
    }

    // Parser

    AtResult Parse(const std::string& answer) {
        text = answer;
        return cell.ParseAtResult(text.data());
    }

    /// What Task does with an unsolicited text.
    int32_t Hear(const std::string& unsolicited) { return cell.DealHint(Parse(unsolicited)); }

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

    /// An exchange keeps 256 bytes: each answer stands after so many others that its end, its value, its
    /// prefix or all of it is lost. A row whose prefix isn't whole leaves nothing; any other one leaves what
    /// an answer that ends there leaves.
    void ExpectCutAt256Bytes(const std::vector<CutCase>& cases) {
        for (const CutCase& test : cases) {
            const std::string row = test.prefix + test.value;
            for (size_t kept = 0; kept <= row.size(); ++kept) {
                const std::string answer = std::string(256 - kept, 'x') + row;
                modem.On("AT+LONG", answer + kOk);
                const Reading cut = Read(cell.AtRequest("AT+LONG"));
                const bool is_known = kept >= test.prefix.size();
                const std::string seen = row.substr(0, kept);
                EXPECT_EQ(is_known ? test.type : 0, cut.record.type) << seen;
                EXPECT_EQ(is_known, !cut.log.empty()) << seen;

                text = answer.substr(0, 256);
                const Reading whole = Read(text.data());
                EXPECT_EQ(0, memcmp(&whole.record, &cut.record, sizeof cut.record)) << seen;
                EXPECT_EQ(whole.network, cut.network) << seen;
                EXPECT_EQ(whole.log, cut.log) << seen;
            }
        }
    }

    // Log

    /// Texts that the source file logged, in order.
    Texts TextsOfFile(const std::string& file) const {
        Texts texts;
        for (const test_support::World::LogLine& line : world.log) {
            if (line.file == file) texts.push_back(line.text);
        }
        return texts;
    }

    /// The same with level and function, as "5 Initialize: text".
    Texts LinesOfFile(const std::string& file) const {
        Texts lines;
        for (const test_support::World::LogLine& line : world.log) {
            if (line.file == file) lines.push_back(Placed(line));
        }
        return lines;
    }

    /// Lines that a file which drivers share logged under its own name, which none may.
    Texts LinesOfHelpers() const {
        Texts lines;
        for (const test_support::World::LogLine& line : world.log) {
            const bool is_shared = line.file.find("CellDriver") != std::string::npos ||
                                   line.file.find("Dialect") != std::string::npos;
            if (is_shared) lines.push_back(line.file + " " + Placed(line));
        }
        return lines;
    }

    /// Every line of `file` is one of `expected`, each of which was said, and no line names a file that
    /// drivers share.
    void ExpectOwnLines(const std::string& file, const std::vector<OwnLine>& expected) const {
        std::vector<bool> was_said(expected.size());
        for (const test_support::World::LogLine& line : world.log) {
            if (line.file != file) continue;
            const auto own = std::find_if(expected.begin(), expected.end(), [&line](const OwnLine& each) {
                return each.function == line.function && each.level == line.level &&
                       line.text.compare(0, each.beginning.size(), each.beginning) == 0;
            });
            EXPECT_NE(expected.end(), own) << Placed(line);
            if (own != expected.end()) was_said[own - expected.begin()] = true;
        }
        for (size_t i = 0; i < expected.size(); ++i) {
            EXPECT_TRUE(was_said[i]) << expected[i].function << " " << expected[i].beginning;
        }
        EXPECT_EQ(Texts{}, LinesOfHelpers());
    }

    test_support::World world;
    test_support::ScriptedModem modem{world};
    Driver cell{modem.fd()};
    std::string text;

  private:
    /// All that parsing leaves.
    struct Reading {
        AtResult record;
        std::string network;
        Texts log;
    };

    Reading Read(char* answer) {
        world.log.clear();
        copy_text(cell.m_NetworkType, "before");
        const AtResult record = cell.ParseAtResult(answer);
        return {record, cell.m_NetworkType, world.LogOf("ParseAtResult")};
    }

    static std::string Placed(const test_support::World::LogLine& line) {
        EXPECT_GT(line.line, 0) << line.text;
        return std::to_string(line.level) + " " + line.function + ": " + line.text;
    }
};

}  // namespace cc_cell
