// Any bytes as the items of an upgrade request.
#include <algorithm>

#include "support/tlv.h"
#include "tests/fuzz/fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const ByteArray input(bytes, bytes + size);
    const TlvList list = ParseTlvBytes(input);
    for (const TlvItem& item : list) FUZZ_CHECK(item.value.size() == item.length);

    // What was understood is the front of the input, and what follows is less than an item.
    const ByteArray encoded = EncodeTlvList(list);
    FUZZ_CHECK(encoded.size() <= size && std::equal(encoded.begin(), encoded.end(), input.begin()));
    const size_t rest = size - encoded.size();
    FUZZ_CHECK(rest < 2 || rest < size_t{2} + input[encoded.size() + 1]);

    PrintTlvBytes(input);
    for (const TlvItem& item : list) PrintTlvItemHex(item);
    return 0;
}
