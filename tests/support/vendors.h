// Every vendor code that is given out, for suites that go over all families.
#pragma once

#include "network_daemon/at_table.h"

namespace test_support {

struct Vendor {
    cc_cell::VendorType code;
    const char* name;  // as the code has it
};

constexpr Vendor kVendors[] = {
#define VENDOR(code, name) {cc_cell::name, #name},
#include "network_daemon/families.def"
};

}  // namespace test_support
