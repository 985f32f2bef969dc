// Costs of what the OCPP service asks for: frames, items, and a whole status answer from request to reply.
// Run by hand, build/bench/bus_bench; bench/bus gives the figures of the real bus.
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/silent_output.h"
#include "network_daemon/cellular.h"
#include "network_daemon/main.h"
#include "platform/busglue/busglue.h"
#include "support/dbus_util.h"
#include "support/text_util.h"
#include "support/tlv.h"

// What the bus library does is not ours to measure here.
int dbs_connect_init(const char*, const busglue_descriptor*) {
    return 0;
}
int dbs_send_method_async(busglue_send_record*, busglue_send_reply) {
    return 0;
}
void log_send(const char* text) {
    benchmark::DoNotOptimize(text);
}

namespace {

constexpr int kFrameLimit = kBusFrameOverhead + kBusDataLimit;

std::vector<unsigned char> Pattern(size_t size) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
    return bytes;
}

void Crc(benchmark::State& state) {
    const std::vector<unsigned char> bytes = Pattern(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(BusFrameCrc(bytes.data(), static_cast<uint16_t>(bytes.size())));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Crc)->Arg(16)->Arg(kBusDataLimit);

void EncodeFrame(benchmark::State& state) {
    const std::vector<unsigned char> data = Pattern(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> frame(kFrameLimit);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            EncodeDbusMsg(frame.data(), kFrameLimit, 7, 0x7603, data.data(), static_cast<int>(data.size())));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(EncodeFrame)->Arg(16)->Arg(kBusDataLimit);

/// A small frame costs the clearing of a large record, too.
void DecodeFrame(benchmark::State& state) {
    const std::vector<unsigned char> data = Pattern(static_cast<size_t>(state.range(0)));
    std::vector<unsigned char> bytes(kFrameLimit);
    const int length =
        EncodeDbusMsg(bytes.data(), kFrameLimit, 7, 0x7603, data.data(), static_cast<int>(data.size()));
    BusFrame frame;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DecodeDbusMsg(bytes.data(), length, &frame));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DecodeFrame)->Arg(16)->Arg(kBusDataLimit);

TlvList FifteenItems() {
    TlvList list;
    for (uint8_t type = 1; type <= 15; ++type) AddTlvItem(list, type, 15, "867698041122330");
    return list;
}

void EncodeFifteenItems(benchmark::State& state) {
    const TlvList list = FifteenItems();
    for (auto _ : state) benchmark::DoNotOptimize(EncodeTlvList(list));
}
BENCHMARK(EncodeFifteenItems);

void ParseFifteenItems(benchmark::State& state) {
    const ByteArray bytes = EncodeTlvList(FifteenItems());
    for (auto _ : state) benchmark::DoNotOptimize(ParseTlvBytes(bytes));
}
BENCHMARK(ParseFifteenItems);

class BaseCell : public cc_cell::CellBase {
  public:
    BaseCell() : CellBase(-1) {}
    const char* GetInterfaceName() override { return ""; }
    int32_t CheckConnection() override { return 0; }
};

void TakeAnswer(int length, unsigned char* bytes, void* context) {
    benchmark::DoNotOptimize(bytes);
    *static_cast<int*>(context) = length;
}

/// Its one line of the log included.
void StatusAnswer(benchmark::State& state) {
    const SilentOutput silent;
    BaseCell cell;
    CopyText(cell.m_vendor_name, "Qcom");
    CopyText(cell.m_fw_version, "EG25GGBR07A08M2G");
    CopyText(cell.m_csIMEI, "867698041122330");
    CopyText(cell.m_card_iccid, "89860012317001122334");
    CopyText(cell.m_carrier, "\"CHINA MOBILE\"");
    CopyText(cell.m_card_imsi, "460001112223334");
    pCell = &cell;
    unsigned char query[] = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x04, 0x76, 0x03, 0x7B, 0x92};
    int length = 0;
    for (auto _ : state) ravelin_deal_dbus_message(sizeof query, query, &length, TakeAnswer);
    if (length < 100) state.SkipWithError("not the status");
    pCell = nullptr;
}
BENCHMARK(StatusAnswer);

}  // namespace

BENCHMARK_MAIN();
