// Any answers to the questions for the SIM and the identity of the modem, through every family's driver: the
// first byte picks the family, the rest are answers. Texts stay within their arrays, readiness and identity
// fit each other, and the same answers give the same object.
#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "tests/fuzz/cell_texts.h"
#include "tests/fuzz/fake_port.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"

using cc_cell::CellBase;

namespace {

using Texts = std::vector<std::string>;

constexpr int kMostCommands = 40;

/// What the checks of the SIM leave in a driver.
struct Identity {
    std::vector<int32_t> results;
    Texts texts;
    std::vector<int32_t> numbers;
    Texts commands;

    bool operator==(const Identity& other) const {
        return results == other.results && texts == other.texts && numbers == other.numbers &&
               commands == other.commands;
    }
};

bool IsSimResult(int32_t result) {
    return result == cc_cell::kSimReady || result == cc_cell::kSimNotReady;
}

void CheckReadiness(const CellBase& cell, int32_t result) {
    FUZZ_CHECK(IsSimResult(result));
    FUZZ_CHECK((cell.m_sim_ready == 1) == (result == cc_cell::kSimReady));
    if (cell.m_sim_ready == 1) return;
    for (const char* text : {cell.m_csIMEI, cell.m_card_imsi, cell.m_card_iccid, cell.m_carrier}) {
        FUZZ_CHECK(text[0] == '\0');
    }
}

Identity CheckSim(int vendor, const Texts& answers) {
    Identity identity;
    FakePort port(answers);
    const std::unique_ptr<CellBase> cell(BuildDriver(vendor, FakePort::kDescriptor));
    if (cell == nullptr) return identity;
    TellVendor(*cell, vendor);

    identity.results.push_back(cell->CheckSimCard());
    CheckReadiness(*cell, identity.results.back());
    identity.results.push_back(cell->CheckCardIMEI());
    identity.results.push_back(cell->CheckCardIMSI());
    for (const int32_t result : {identity.results[1], identity.results[2]}) {
        FUZZ_CHECK(result == 0 || result == 1);
    }
    FUZZ_CHECK(identity.results[2] == 1 || cell->m_card_imsi[0] == '\0');
    identity.results.push_back(cell->CheckIfSimCardReady());
    CheckReadiness(*cell, identity.results.back());

    identity.texts = TextsOf(*cell);
    for (const std::string text : {cell->m_csIMEI, cell->m_card_imsi}) {
        FUZZ_CHECK(text.find_first_of("\r\n") == std::string::npos);
    }
    FUZZ_CHECK(cell->m_carrier_code >= 0 && cell->m_carrier_code <= 4);
    FUZZ_CHECK(cell->GetIMSI() == cell->m_card_imsi && cell->GetICCID() == cell->m_card_iccid);
    identity.numbers = {cell->m_carrier_code, cell->m_carrier_valid, cell->m_sim_type, cell->m_sim_ready};
    identity.commands = port.commands;
    FUZZ_CHECK(port.commands.size() <= kMostCommands);
    return identity;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    const Texts answers = SplitInput(bytes + 1, size - 1, kRecordSeparator);
    const int vendor = bytes[0] % kVendorCodes;
    FUZZ_CHECK(CheckSim(vendor, answers) == CheckSim(vendor, answers));
    return 0;
}
