// The page of the timeline, cut where its data go: made from the files of tools/ctl/page/ at build time.
#pragma once

namespace ctl {

extern const char kPageBeforeData[];
extern const char kPageAfterData[];

}  // namespace ctl
