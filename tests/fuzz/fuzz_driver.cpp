// Any answers to what a driver asks beside the identity: the first byte picks the family, the second what the
// driver does, and the rest are answers; of a dial the first three are APN, user and password. Whatever
// comes, every text ends within its array, every command fits, the status answer made of it can be read by a
// peer, and the same answers give the same object.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "simulator/bus_peer/status.h"
#include "tests/fuzz/cell_texts.h"
#include "tests/fuzz/fake_port.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"

using cc_cell::CellBase;

namespace {

using Texts = std::vector<std::string>;

constexpr size_t kMostCommands = 60;
constexpr size_t kHeads = 2;  // bytes in front of the answers

/// What an exchange has left behind.
struct Outcome {
    int32_t result = 0;
    Texts texts;
    std::vector<int32_t> numbers;
    Texts commands;

    bool operator==(const Outcome& other) const {
        return result == other.result && texts == other.texts && numbers == other.numbers &&
               commands == other.commands;
    }
};

/// Takes the first text off the answers; empty when there is none.
std::string TakeFirst(Texts* answers) {
    if (answers->empty()) return "";
    const std::string first = answers->front();
    answers->erase(answers->begin());
    return first;
}

int32_t Dial(CellBase& cell, const Texts& settings) {
    cell.SetAPN(settings[0].c_str());
    cell.SetUsername(settings[1].c_str());
    cell.SetPassword(settings[2].c_str());
    cell.SetAuthType(static_cast<int32_t>(settings[1].size() % 4));
    return cell.DoConnect();
}

/// What Task does with what the modem says by itself: answers are then those to the questions that follow.
int32_t Hear(CellBase& cell, const std::string& text) {
    Texts block = {text.substr(0, cc_cell::kAnswerLimit)};
    return cell.DealHint(cell.ParseAtResult(block[0].data()));
}

int32_t Act(CellBase& cell, char what, const Texts& settings) {
    switch (what) {
        case 'c':
            return cell.CheckConnection();
        case 'd':
            return Dial(cell, settings);
        case 'e':
            return cell.DisConnect();
        case 'h':
            return Hear(cell, settings[0]);
        case 'l':
            cell.ConfigThermalLimit();
            return 0;
        case 'n':
            cell.CheckNeighbourSignal();
            return 0;
        case 'q':
            return cell.ReadCSQ();
        case 'r':
            cell.SoftReset();
            return 0;
        case 's':
            return cell.CheckServiceStatus();
        case 't':
            cell.CheckTempStatus();
            return 0;
        case 'w':
            cell.CheckSignalStatus();
            return 0;
        default:
            return cell.Initialize();
    }
}

void CheckStatusAnswer(CellBase& cell) {
    pCell = &cell;
    ByteArray data = BuildStatusTlv();
    pCell = nullptr;
    data.insert(data.begin(), uint8_t{15});
    std::vector<bus_peer::StatusItem> items;
    FUZZ_CHECK(bus_peer::ReadStatus(data, &items).empty());
}

Outcome Exchange(int vendor, char what, Texts answers) {
    Outcome outcome;
    Texts settings(3);
    for (size_t i = 0; i < (what == 'd' ? 3 : what == 'h' ? 1 : 0); ++i) settings[i] = TakeFirst(&answers);
    FakePort port(answers);
    const std::unique_ptr<CellBase> cell(BuildDriver(vendor, FakePort::kDescriptor));
    if (cell == nullptr) return outcome;
    TellVendor(*cell, vendor);
    cell->m_sim_ready = 1;

    outcome.result = Act(*cell, what, settings);
    FUZZ_CHECK(outcome.result >= -1 && outcome.result <= 1);
    outcome.texts = TextsOf(*cell);
    outcome.numbers = {cell->m_CGREG,        cell->m_CEREG,           cell->m_Tempture, cell->m_nCSQ,
                       cell->m_carrier_code, cell->m_reconnect_times, cell->m_sim_type, cell->m_online};
    FUZZ_CHECK(cell->GetNetworkGeneration() >= 0 && cell->GetNetworkGeneration() <= 3);
    outcome.commands = port.commands;
    FUZZ_CHECK(port.commands.size() <= kMostCommands);
    for (const std::string& command : port.commands) FUZZ_CHECK(command.size() < cc_cell::kCommandSize);
    CheckStatusAnswer(*cell);
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size < kHeads) return 0;
    const int vendor = bytes[0] % kVendorCodes;
    const char what = static_cast<char>(bytes[1]);
    const Texts answers = SplitInput(bytes + kHeads, size - kHeads, kRecordSeparator);
    FUZZ_CHECK(Exchange(vendor, what, answers) == Exchange(vendor, what, answers));
    return 0;
}
