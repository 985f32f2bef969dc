// Any bytes as a message of the OCPP service, and as a request whose frame is right: the first byte tells
// whether there is a driver, an upgrade and a caller, the next two are the command. Each message gets one
// answer at most, which the other end of the bus can read, and starts an upgrade only if it asks for one.
#include <pthread.h>

#include <algorithm>
#include <string>
#include <vector>

#include "network_daemon/cellular_report.h"
#include "network_daemon/main.h"
#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/status.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/support/plain_cell.h"

namespace {

using bus_peer::Bytes;
using bus_peer::Frame;
using cc_cell::PlainCell;

constexpr size_t kHeads = 3;  // bytes in front of the data
constexpr uint8_t kAsksForUpgrade = 1;

int upgrades_started = 0;

void Keep(int length, unsigned char* bytes, void* answers) {
    static_cast<std::vector<Bytes>*>(answers)->emplace_back(bytes, bytes + length);
}

/// A driver whose texts are full, as those of a modem that says a lot.
struct TalkativeCell : PlainCell {
    TalkativeCell();
};

TalkativeCell::TalkativeCell() : PlainCell(-1) {
    const auto fill = [](auto& text) {
        std::fill(std::begin(text), std::end(text) - 1, 'x');
        *(std::end(text) - 1) = '\0';
    };
    fill(m_vendor_name);
    fill(m_fw_version);
    fill(m_csIMEI);
    fill(m_card_iccid);
    fill(m_carrier);
    fill(m_card_imsi);
}

void CheckAnswer(const Frame& request, const Bytes& bytes, bool has_driver) {
    if (bytes.empty()) return;
    Frame answer;
    FUZZ_CHECK(DecodeFrame(bytes, &answer).empty());
    FUZZ_CHECK(answer.msg_id == request.msg_id);
    if (has_driver && request.cmd == kOcppStatus) {
        std::vector<bus_peer::StatusItem> items;
        FUZZ_CHECK(answer.cmd == kOcppStatus && ReadStatus(answer.data, &items).empty());
        return;
    }
    FUZZ_CHECK(answer.cmd == kOcppUpgrade && answer.data.size() == 1 && answer.data[0] <= 3);
    FUZZ_CHECK((answer.data[0] == 3) == !has_driver);
}

void CheckMessage(Bytes bytes, uint8_t switches) {
    static TalkativeCell cell;
    const bool has_driver = (switches & 1) == 0;
    const bool is_running = (switches & 2) != 0;
    const bool has_caller = (switches & 4) == 0;
    pCell = has_driver ? &cell : nullptr;
    cell.m_ota_running = is_running ? 1 : 0;
    upgrades_started = 0;
    std::vector<Bytes> answers;
    FUZZ_CHECK(ravelin_deal_dbus_message(static_cast<int>(bytes.size()), bytes.data(), &answers,
                                         has_caller ? Keep : nullptr) == 0);
    pCell = nullptr;

    Frame request;
    const bool is_request =
        DecodeFrame(bytes, &request).empty() && request.data.size() <= bus_peer::kDataLimit;
    FUZZ_CHECK(answers.size() == (has_caller ? 1 : 0));
    if (!is_request) FUZZ_CHECK(answers.empty() || answers[0].empty());
    if (is_request && has_caller) CheckAnswer(request, answers[0], has_driver);
    const bool starts = is_request && has_driver && !is_running && request.cmd == kOcppUpgrade &&
                        !request.data.empty() && request.data[0] == kAsksForUpgrade;
    FUZZ_CHECK(upgrades_started == (starts ? 1 : 0));
    FUZZ_CHECK((cell.m_ota_running != 0) == (is_running || starts));
    for (const ParameterText* text : {&supportModule, &otatool, &otaPath}) {
        FUZZ_CHECK((*text)[sizeof *text - 1] == '\0');
    }
}

}  // namespace

extern "C" int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*entry)(void*), void* argument);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*entry)(void*), void* argument) {
    if (entry != thread_function_ota) return __real_pthread_create(thread, attributes, entry, argument);
    FUZZ_CHECK(argument == pCell);
    *thread = pthread_self();
    ++upgrades_started;
    return 0;
}

extern "C" int __real_pthread_detach(pthread_t thread);
extern "C" int __wrap_pthread_detach(pthread_t thread) {
    return pthread_equal(thread, pthread_self()) != 0 ? 0 : __real_pthread_detach(thread);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    CheckMessage(Bytes(bytes, bytes + size), 0);
    if (size < kHeads) return 0;
    Frame frame;
    frame.msg_id = 0x1234;
    frame.cmd = static_cast<unsigned>(bytes[1]) << 8 | bytes[2];
    frame.data.assign(bytes + kHeads, bytes + size);
    if (frame.data.size() <= bus_peer::kDataLimit) CheckMessage(EncodeFrame(frame), bytes[0]);
    return 0;
}
