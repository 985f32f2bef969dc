// Any text of a modem, as long as one read brings, through the parsers of all drivers.
#include <algorithm>
#include <cstring>
#include <memory>

#include "network_daemon/main.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/support/vendors.h"

using cc_cell::AtResult;
using cc_cell::CellBase;

namespace {

constexpr int kNoPort = -1;

template <size_t N>
bool IsTerminated(const char (&text)[N]) {
    return memchr(text, '\0', N) != nullptr;
}

void ParseWith(int vendor, const uint8_t* bytes, size_t size) {
    const std::unique_ptr<CellBase> cell(BuildDriver(vendor, kNoPort));
    if (cell == nullptr) return;
    // A block of its own size, so that a read or write beyond the terminator shows.
    const auto text = std::make_unique<char[]>(size + 1);
    std::copy_n(bytes, size, text.get());
    text[size] = '\0';
    const AtResult result = cell->ParseAtResult(text.get());
    FUZZ_CHECK(result.type >= 0 && result.type < cc_cell::kAtPrefixRows);
    // The one report whose text may fill the record to its last byte, without a terminator. Others are not
    // dealt with: they may lead to questions, and there is no port.
    if (vendor == cc_cell::kVendorHuaWei && result.type == cc_cell::kHintHcsq) cell->DealHint(result);
    FUZZ_CHECK(IsTerminated(cell->m_NetworkType));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    size = std::min<size_t>(size, cc_cell::kAnswerLimit);
    for (const test_support::Vendor& vendor : test_support::kVendors) ParseWith(vendor.code, bytes, size);
    return 0;
}
