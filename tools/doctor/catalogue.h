// Everything that the doctor can find: one table, from which the report, the JSON and the page take their
// words.
#pragma once

#include <cstddef>

#include "tools/doctor/report.h"

namespace doctor {

struct Group {
    const char* name;
    const char* title;
};

extern const Group kGroups[];
extern const size_t kGroupCount;

extern const Complaint kCatalogue[];
extern const size_t kComplaintCount;

/// The row of this name; null when there is none.
const Complaint* FindComplaint(const char* name);

}  // namespace doctor
