// Where people read on.
#pragma once

namespace ravelin_log {

constexpr char kBringUpPage[] = "docs/board-bring-up.md";
constexpr char kConfigurationPage[] = "docs/configuration.md";
constexpr char kExplainingPage[] = "docs/explaining.md";
constexpr char kLogPage[] = "docs/log.md";
constexpr char kRecoveryPage[] = "docs/recovery.md";
constexpr char kSupervisionPage[] = "docs/supervision.md";

}  // namespace ravelin_log
