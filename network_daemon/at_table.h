// What modems are known by: vendor codes; the table of response prefixes of all families, the hint codes that
// number its rows, and the record that a parse yields. The contract between identification and factory, and
// between parser, drivers and readers of a record. Names and numbers stand in families.def.
#pragma once

#include <cstdint>

namespace cc_cell {

/// Vendor codes as CheckDevType returns them.
enum VendorType : int {
    kVendorUnknown = 0,
#define VENDOR(code, name) name = (code),
#include "network_daemon/families.def"
};

/// What a text of the modem was recognised as: the row of AtPrefixTable whose prefix it holds, and the values
/// after that prefix. The forms share the same storage: a reader that doesn't test `type` first sees
/// whatever form was filled. Cleared to zero before every parse; returned and passed by value.
struct AtResult {
    int32_t type;  // a hint code, see AtHint; 0 means that nothing was recognised
    union {
        char common_str[128];  // text form, at most 127 characters
        struct {
            int32_t val;  // number forms
            int32_t val2;
            union {
                struct {
                    int32_t val3;
                    int32_t val4;
                    int32_t val5;
                    int32_t val6;
                };
                struct {
                    char carrier[64];  // operator form, at most 63 characters, quotes included
                    int32_t act;
                    int32_t extra;
                };
            };
        };
    };
};

/// Hint codes: rows of AtPrefixTable. Rows of placeholders have no name.
enum AtHint : int32_t {
#define ROW(number, prefix, hint) hint = (number),
#include "network_daemon/families.def"
};

/// Response prefixes of all families, indexed by hint code. Found by substring search anywhere in a text.
/// "ReSeRvEd" rows only keep the numbering.
constexpr char AtPrefixTable[][64] = {
#define ROW(number, prefix, hint) prefix,
#define GAP(number, prefix) prefix,
#include "network_daemon/families.def"
};

constexpr int kAtPrefixRows = sizeof AtPrefixTable / sizeof AtPrefixTable[0];

/// Whether the rows of families.def are numbered as they stand, and its vendor codes grow.
constexpr bool FamiliesAreNumbered() {
    constexpr int kRows[] = {
#define ROW(number, prefix, hint) number,
#define GAP(number, prefix) number,
#include "network_daemon/families.def"
    };
    constexpr int kVendors[] = {
#define VENDOR(code, name) code,
#include "network_daemon/families.def"
    };
    for (int row = 0; row < kAtPrefixRows; ++row) {
        if (kRows[row] != row) return false;
    }
    int last = kVendorUnknown;
    for (const int vendor : kVendors) {
        if (vendor <= last) return false;
        last = vendor;
    }
    return true;
}
static_assert(FamiliesAreNumbered(), "families.def: a number is missing, stands twice or is out of order");

}  // namespace cc_cell
