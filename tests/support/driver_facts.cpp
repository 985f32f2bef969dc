#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

/// Filled before main, by the entries of all files.
std::vector<DriverFacts>& Entries() {
    static std::vector<DriverFacts> entries;
    return entries;
}

}  // namespace

FactsEntry::FactsEntry(const DriverFacts& facts) {
    Entries().push_back(facts);
}

const std::vector<DriverFacts>& AllFacts() {
    return Entries();
}

const DriverFacts* FactsOf(VendorType family) {
    for (const DriverFacts& facts : Entries()) {
        if (facts.family == family) return &facts;
    }
    return nullptr;
}

}  // namespace cc_cell
