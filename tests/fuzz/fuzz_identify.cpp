// Any answers to the questions for maker and model. Whatever a modem says, it is asked a known number of
// times, and taken for a family only when a word of that family was in an answer.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "tests/fuzz/fake_port.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"

using cc_cell::CellBase;

namespace {

using Texts = std::vector<std::string>;

constexpr char kNoModule[] = "nothing";
constexpr size_t kWakeUpTries = 9;
constexpr int64_t kMostWait_ms = 45000;

// The words that makers and models are known by, and the families that they can stand for: those of the first
// thirteen, held here a second time.
struct Word {
    const char* text;
    std::vector<int> vendors;
    bool is_module;
};
const Word kWords[] = {
    {"LONGSUNG", {cc_cell::kVendorLongSung}, true},
    {"Innofidei", {cc_cell::kVendorChuangYi}, true},
    {"Nodecom", {cc_cell::kVendorNodeCom}, true},
    {"Huawei", {cc_cell::kVendorHuaWei}, true},
    {"GOSUNCN", {cc_cell::kVendorZte}, true},
    {"Fibocom", {cc_cell::kVendorFibocom, cc_cell::kVendorFibocomLe}, false},
    {"Quectel",
     {cc_cell::kVendorQuectelQcom, cc_cell::kVendorQuectelUnisoc, cc_cell::kVendorQuectelAsr},
     false},
    {"SIMCOM", {cc_cell::kVendorSimCom}, true},
    {"Cinterion", {cc_cell::kVendorCinterion}, true},
    {"LYNQ", {cc_cell::kVendorLynq}, true},
    {"ME3630", {cc_cell::kVendorZte}, true},
    {"GM196H", {cc_cell::kVendorZte}, true},
    {"GM196", {cc_cell::kVendorZte}, true},
    {"LE370", {cc_cell::kVendorFibocomLe}, true},
    {"NL668", {cc_cell::kVendorFibocom}, true},
    {"MC116", {cc_cell::kVendorFibocom}, true},
    {"EC200G", {cc_cell::kVendorQuectelUnisoc}, true},
    {"EC200U", {cc_cell::kVendorQuectelUnisoc}, true},
    {"EC200A", {cc_cell::kVendorQuectelAsr}, true},
    {"EC600M", {cc_cell::kVendorQuectelAsr}, true},
    {"EG800K", {cc_cell::kVendorQuectelAsr}, true},
    {"EC800K", {cc_cell::kVendorQuectelAsr}, true},
    {"EG21", {cc_cell::kVendorQuectelQcom}, true},
    {"EG25", {cc_cell::kVendorQuectelQcom}, true},
};

bool IsSaid(const std::string& answers, const Word& word) {
    return answers.find(word.text) != std::string::npos;
}

bool StandsFor(const Word& word, int vendor) {
    return std::find(word.vendors.begin(), word.vendors.end(), vendor) != word.vendors.end();
}

void CheckCommands(const FakePort& port) {
    const Texts& commands = port.commands;
    const auto wake_ups = static_cast<size_t>(std::count(commands.begin(), commands.end(), "AT"));
    FUZZ_CHECK(wake_ups >= 1 && wake_ups <= kWakeUpTries);
    const Texts rest(commands.begin() + static_cast<std::ptrdiff_t>(wake_ups), commands.end());
    FUZZ_CHECK(rest == Texts({"AT+CGMI", "AT+CGMI"}) || rest == Texts({"AT+CGMI", "AT+CGMI", "ATI"}));
    FUZZ_CHECK(wake_ups == commands.size() - rest.size());
}

void CheckResult(int vendor, const std::string& answers) {
    const std::string& module = CellBase::m_ModuleName;
    const bool is_named = module != kNoModule;
    if (vendor == cc_cell::kVendorUnknown) {
        FUZZ_CHECK(!is_named);
        return;
    }
    const std::unique_ptr<CellBase> cell(BuildDriver(vendor, FakePort::kDescriptor));
    FUZZ_CHECK(cell != nullptr);
    const auto stands_for_it = [&](const Word& word) { return StandsFor(word, vendor); };
    if (std::none_of(std::begin(kWords), std::end(kWords), stands_for_it)) return;  // a later family
    const auto says_vendor = [&](const Word& word) {
        return IsSaid(answers, word) && StandsFor(word, vendor);
    };
    FUZZ_CHECK(std::any_of(std::begin(kWords), std::end(kWords), says_vendor));
    if (!is_named) return;
    FUZZ_CHECK(std::any_of(std::begin(kWords), std::end(kWords), [&](const Word& word) {
        return word.is_module && module == word.text && says_vendor(word);
    }));
}

int Identify(const Texts& answers, std::string* module) {
    FakePort port(answers);
    CellBase::m_ModuleName = kNoModule;
    const int vendor = cc_cell::CheckDevType(FakePort::kDescriptor);
    CheckCommands(port);
    int64_t read_ms = 0;  // 5 ms a block, and the flush waits anew after each
    for (const std::string& answer : answers) read_ms += static_cast<int64_t>(answer.size()) * 5;
    FUZZ_CHECK(port.waited_ms <= kMostWait_ms + read_ms);
    *module = CellBase::m_ModuleName;
    return vendor;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const Texts answers = SplitInput(bytes, size, kRecordSeparator);
    std::string module;
    const int vendor = Identify(answers, &module);

    // A word may stand across two answers, one of them late; it is never looked for in what was cut out.
    std::string all;
    for (const std::string& answer : answers) {
        for (const char c : answer) {
            if (c != FakePort::kLate) all += c;
        }
    }
    CheckResult(vendor, all);

    std::string again;
    FUZZ_CHECK(Identify(answers, &again) == vendor && again == module);
    return 0;
}
