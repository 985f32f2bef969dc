// The commands of commands.inc.
#pragma once

#include "tools/ctl/command.h"

namespace ctl {

#define COMMAND(Name) Command Name##Command();
#include "tools/ctl/commands.inc"
#undef COMMAND

}  // namespace ctl
