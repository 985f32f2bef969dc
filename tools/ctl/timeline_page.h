// The timeline as a page: one file with everything in it, that needs no network and takes what the log says
// for text and nothing more.
#pragma once

#include <string>

#include "tools/log/reader.h"
#include "tools/log/timeline.h"

namespace ctl {

/// The data of the page, as JSON that may stand within a <script> of any page: ASCII, without <, > and &.
/// Where the log is so large that a bound is met, what was left out is counted in it.
std::string TimelineData(const ravelin_log::Timeline& timeline, const ravelin_log::Reader& reader);

/// The whole page.
std::string TimelinePage(const std::string& data);

}  // namespace ctl
